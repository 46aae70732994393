// Simulation engine: request dispatch, raw-file names, lazy caches, node lists, status-bar
// texts with their throttle, the rate estimator, result pages and the plot-event protocol.
#include "engine/compound_commands.h"
#include "engine/plot_event_sink.h"
#include "engine/simulation_engine.h"
#include "tests/support/circuit_engine.h"
#include "tests/support/scripted_engine.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// What the dispatched entries saw: which entry, the record text, the sink.
std::vector<std::string> g_seen;

int Record(const char* entry, CASimulationEngine& engine, const CPropertyList& record, int result) {
    static CEventSink sink;
    AnalysisSinkScope scope(engine, &sink);
    g_seen.push_back(std::string(entry) + "|" + record.GetList().str() +
                     (engine.GetAnalysisEventSink() == &sink ? "|sink" : "|none"));
    return result;
}

constexpr CompoundCommand kTable[] = {
    {"psweep", [](CASimulationEngine& e, Analyses*,
                  const CPropertyList& r) { return Record("psweep#1", e, r, 1); }},
    {"MONTE", [](CASimulationEngine& e, Analyses*,
                 const CPropertyList& r) { return Record("MONTE", e, r, 7); }},
    {"psweep", [](CASimulationEngine& e, Analyses*,
                  const CPropertyList& r) { return Record("psweep#2", e, r, 2); }},
    // An entry that leaves its sink behind, as a careless analysis might.
    {"WORST",
     [](CASimulationEngine& e, Analyses*, const CPropertyList&) {
         static CEventSink sink;
         e.SetAnalysisEventSink(&sink);
         return 3;
     }},
};

struct TestCollection : Analyses {};

/// "name/kind" of every entry, blank-separated.
std::string Joined(const CSpiceNodeNameList& list) {
    std::string text;
    list.ForEach([&](const CSpiceNodeName& n) {
        text += (text.empty() ? "" : " ") + n.GetName().str() + "/" + std::to_string(n.GetKind());
    });
    return text;
}

} // namespace

TEST(EngineDispatch, SplitsKeywordAndRecordAndRunsTheFirstExactMatchOnly) {
    CASimulationEngine engine;
    g_seen.clear();
    // A record that breaks off keeps what was read before the fault. Blank commands and
    // keywords that differ in case or run on do nothing; the sink never outlives the call.
    CEventSink stale;
    std::vector<int> results;
    for (const char* command :
         {"  \t psweep  SweepType:int{1} Ac:list{FSTART:double{10}}", "MONTE",
          "MONTE NumRuns:int{5} Bad:int{", "WORST x:int{1}", "", "   \t ", "monte NumRuns:int{5}",
          "Psweep", "PSWEEP", "MONTE\tNumRuns:int{5}", "psweepx a:int{1}", "orvo psweep"}) {
        engine.SetAnalysisEventSink(&stale);
        results.push_back(DispatchCompoundCommand(kTable, engine, nullptr, command));
        EXPECT_EQ(engine.GetAnalysisEventSink(), nullptr) << command;
    }
    EXPECT_EQ(results, (std::vector<int>{1, 7, 7, 3, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(g_seen,
              (std::vector<std::string>{"psweep#1|SweepType:int{1} Ac:list{FSTART:double{10}}|sink",
                                        "MONTE||sink", "MONTE|NumRuns:int{5}|sink"}));
}

TEST(Engine, NamesRawFilesByTheirNumber) {
    CASimulationEngine engine;
    EXPECT_EQ(engine.GetAllocFile(12), "____12.raw");
    EXPECT_EQ(engine.GetAllocFile(-1), "____4294967295.raw");
}

namespace {

// Counts the update operations the lazy getters call.
class CountingEngine : public CASimulationEngine {
public:
    int models = 0;
    int instances = 0;
    int simple[8] = {};
    int combined[8] = {};

protected:
    void UpdateModelList() override { ++models; }
    void UpdateInstanceList() override { ++instances; }
    void Update_analysisNodeList(OutputVariableClass c) override {
        ++simple[c];
        analysisNodes_[c].RemoveAll();
        analysisNodes_[c].AddName(CString::Formatted("sim%d", simple[c]));
    }
    void Update_userAndAnalysisNodeList(OutputVariableClass c) override {
        ++combined[c];
        CASimulationEngine::Update_userAndAnalysisNodeList(c);
    }
};

} // namespace

TEST(Engine, CachesRefreshOnceAfterTheCircuitChanges) {
    CountingEngine engine;
    const CASimulationEngine& constEngine = engine;
    engine.GetModelList();
    engine.GetAnalysisNodes(OVC_CKTnames);
    EXPECT_EQ(engine.models + engine.combined[1], 0) << "a new engine starts clean";

    engine.SetCircuitDataState(true);
    constEngine.GetModelList();
    engine.GetModelList();
    engine.GetInstanceList();
    constEngine.GetInstanceList();
    EXPECT_EQ(engine.models + engine.instances, 2);

    // The combined list refreshes the simple list it copies when that is dirty too.
    EXPECT_EQ(engine.GetAnalysisNodes(OVC_DCnames)[0].GetName(), "sim1");
    engine.GetAnalysisNodes(OVC_DCnames);
    engine.GetSimpleAnalysisNodes(OVC_DCnames);
    EXPECT_EQ(engine.combined[2] + engine.simple[2], 2);
    EXPECT_EQ(engine.simple[1], 0) << "each class has its own flag";

    engine.SetCircuitDataState(true);
    EXPECT_EQ(engine.GetSimpleAnalysisNodes(OVC_DCnames)[0].GetName(), "sim2");
    engine.SetCircuitDataState(false);
    engine.GetModelList();
    EXPECT_EQ(engine.models, 1);
}

TEST(Engine, SyntheticNodeNamesPerClassOnceTheLastLockIsReleased) {
    CASimulationEngine engine;
    engine.LockUpdateAnalysisNodeList(1);
    engine.LockUpdateAnalysisNodeList(1);
    engine.UpdateAnalysisNodeList();
    engine.LockUpdateAnalysisNodeList(0);
    engine.UpdateAnalysisNodeList();
    EXPECT_TRUE(engine.GetSimpleAnalysisNodes(OVC_CKTnames).IsEmpty()) << "one lock still held";
    engine.LockUpdateAnalysisNodeList(0);
    engine.UpdateAnalysisNodeList();
    engine.UpdateAnalysisNodeList(); // replaces the names, adds none

    EXPECT_TRUE(engine.GetSimpleAnalysisNodes(OVC_NONE).IsEmpty());
    EXPECT_TRUE(engine.GetSimpleAnalysisNodes(OVC_ALL).IsEmpty());
    EXPECT_EQ(Joined(engine.GetSimpleAnalysisNodes(OVC_CKTnames)),
              "v(CKTnames0)/3 v(CKTnames1)/3 v(CKTnames2)/3 v(CKTnames3)/3 v(CKTnames4)/3 "
              "vCKTnames0#branch/4 vCKTnames1#branch/4");
    EXPECT_EQ(engine.GetSimpleAnalysisNodes(OVC_SENS_CKTnames_op)[6].GetName(),
              "vSENS_CKTnames_op1#branch");
    EXPECT_EQ(engine.GetAnalysisNodes(OVC_DCnames).GetCount(), 7u) << "combined lists too";

    // The sample records of element values stay readable by the parameter reader.
    for (const char* text :
         {CASimulationEngine::SampleModelRecords(), CASimulationEngine::SampleInstanceRecords()}) {
        CPropertyList records;
        ASSERT_TRUE(records.Parse(text).ok);
        for (const CPropertyItem& element : records)
            for (const CPropertyItem& field : element.GetPropertyList())
                if (field.GetLabel() == "param") {
                    EXPECT_EQ(CSPICEparam().fromPropertyList(field.GetPropertyList()), 1);
                }
    }
}

TEST(Engine, SelectedDeviceUpdateKeepsOnlyLiveOutputParameters) {
    canal_test::CircuitEngine engine;
    engine.Circuit()
        .AddDevice("Resistor")
        .AddModel("rmod", {{"rsh", 50.0, "Sheet resistance", "Input"},
                           {"tnom", 300.15, "Nominal temperature", "InputOutput"}})
        .AddInstance("r1", {{"resistance", 1e3, "Resistance", "Input"},
                            {"i", 0.0, "Current", "Output"},
                            {"p", 0.0, "Power", "OUTPUT"}});
    engine.SetCircuitDataState(true);

    CParamNodeList& user = engine.GetUserNodes();
    user.AddNode(CParamNode("R1", "I", CParamNode::InstanceParam));          // kept: case ignored
    user.AddNode(CParamNode("r1", "resistance", CParamNode::InstanceParam)); // input only
    user.AddNode(CParamNode("r9", "i", CParamNode::InstanceParam));          // no such element
    user.AddNode(CParamNode("rmod", "tnom", CParamNode::ModelParam));        // kept
    user.AddNode(CParamNode("rmod", "rsh", CParamNode::ModelParam));         // input only
    user.AddNode(CParamNode("r1", "i", CParamNode::ModelParam));             // r1 is no model
    user.AddNode(CParamNode("out", "", CParamNode::PlainNode));              // not a parameter
    user.AddNode(CParamNode("gone", "x", CParamNode::InstanceParam), 1);     // flagged: pinned
    user.Add(CParamNodeEntry{});                                             // empty: untouched
    user.AddNode(CParamNode("r1", "p", CParamNode::InstanceParam));          // kept

    engine.UpdateAnalysisNodeList();

    std::vector<std::string> left;
    user.ForEach([&](const CParamNodeEntry& e) {
        left.push_back(e.node ? e.node->toString().str() + (e.flagged ? "!" : "") : "-");
    });
    EXPECT_EQ(left,
              (std::vector<std::string>{"@R1[I]", "@@rmod[tnom]", "@gone[x]!", "-", "@r1[p]"}));

    // The combined lists: the class's simulator names, then the user nodes.
    const std::string named = " @R1[I]/5 @@rmod[tnom]/5 @gone[x]/5 @r1[p]/5";
    ASSERT_EQ(CASimulationEngine::ParameterNode, 5);
    EXPECT_EQ(Joined(engine.GetAnalysisNodes(OVC_NONE)), named.substr(1));
    EXPECT_EQ(Joined(engine.GetAnalysisNodes(OVC_CKTnames)),
              Joined(engine.GetSimpleAnalysisNodes(OVC_CKTnames)) + named);
}

namespace {

// A front end that writes every property call as "id=value", with "@" for the indexed field.
class RecordingFrontEnd : public CGuiFE {
public:
    CString current;
    std::vector<std::string> sets;

    uint32_t GetStartTickCount() const override { return 1000; }
    int GetProperty(long id, IITVariant& out, const IITVariant*, CTreeInstance*) override {
        if (id == GUIFE_CURRENT_STATUS)
            out = IITVariant(current);
        return 1;
    }
    int SetProperty(long id, const IITVariant& value, const IITVariant* index,
                    CTreeInstance*) override {
        EXPECT_TRUE(!index || index->GetLong() == 1);
        const char* name = id == GUIFE_STATUS_TEXT        ? "text"
                           : id == GUIFE_SIMULATION_STATE ? "state"
                                                          : "?";
        sets.push_back(std::string(name) + (index ? "@" : "") + "=" + value.GetString().str());
        return 1;
    }
};

} // namespace

TEST(EngineStatusBar, ShowsSimulatingThenThrottledValuesThenClears) {
    CASimulationEngine engine;
    uint32_t now = 1000;
    engine.SetTickSource([&] { return now; });
    RecordingFrontEnd fe;
    fe.current = "Amplifier";
    engine.SetGuiFE(&fe);
    engine.SetStatusBarAnalysisType(AT_TRAN);
    engine.SetStatusBarAnalysisTime(0.0015);
    engine.StartUpdateStatusBarAnalysisData(); // the first update is forced

    // Unforced updates within 33 ms of the last one are dropped; forced ones never are.
    now += 32;
    engine.SetStatusBarAnalysisTime(0.002);
    engine.UpdateStatusBarAnalysisData(0);
    now += 1;
    engine.UpdateStatusBarAnalysisData(0);
    engine.UpdateStatusBarAnalysisData(1);

    // Own text and units replace the nickname and the default unit.
    engine.SetStatusBarAnalysisText("Temperature sweep");
    engine.SetStatusBarAnalysisUnits("K");
    engine.SetStatusBarAnalysisTime(300.15);
    now += 40;
    engine.UpdateStatusBarAnalysisData(0);
    engine.EndUpdateStatusBarAnalysisData(); // a last forced update, then the end

    // An empty current status gets no separator; a new type empties the units.
    fe.current = "";
    engine.SetStatusBarAnalysisType(AT_AC);
    now += 1;
    engine.StartUpdateStatusBarAnalysisData();
    EXPECT_EQ(fe.sets,
              (std::vector<std::string>{
                  "text@=Amplifier: Simulating...", "state=1", "text=TRAN: 1.500 ms",
                  "text=TRAN: 2.000 ms", "text=TRAN: 2.000 ms", "text=Temperature sweep: 300.150 K",
                  "text=Temperature sweep: 300.150 K", "state=2", "text@=", "text@=Simulating...",
                  "state=1", "text=AC: 300.150 s"}));

    EXPECT_EQ(CASimulationEngine::ConvertAnalysisToNickname(AT_DC), "DC_SWEEP");
    EXPECT_EQ(CASimulationEngine::ConvertAnalysisToNickname(AT_NONE), "");
    CASimulationEngine quiet; // without a front end nothing is said and nothing breaks
    quiet.StartUpdateStatusBarAnalysisData();
    quiet.UpdateStatusBarAnalysisData(1);
    quiet.EndUpdateStatusBarAnalysisData();
    EXPECT_EQ(quiet.GetLastRate(), 0.0);
}

TEST(ProgressRate, AveragesTheLast128StepsAndRefusesTinyXSums) {
    CProgressRate rate(128);
    rate.Reset(10.0, 100.0);
    EXPECT_EQ(rate.GetRate(), 0.0);
    for (int i = 1; i <= 128; ++i)
        rate.Add(10.0 + i, 100.0 + i);
    EXPECT_DOUBLE_EQ(rate.GetRate(), 1.0);
    // Half a window of steps three times as slow: (64 * 1 + 64 * 3) / 128.
    for (int i = 1; i <= 64; ++i)
        rate.Add(138.0 + i, 228.0 + 3.0 * i);
    EXPECT_DOUBLE_EQ(rate.GetRate(), 2.0);
    for (int i = 65; i <= 128; ++i)
        rate.Add(138.0 + i, 228.0 + 3.0 * i);
    EXPECT_DOUBLE_EQ(rate.GetRate(), 3.0) << "the first steps have left the window";

    rate.Reset(0.0, 0.0);
    rate.Add(5e-9, 1.0);
    EXPECT_EQ(rate.GetRate(), 0.0) << "an x sum below 1e-8 is no rate";
    rate.Add(1e-8, 2.0);
    EXPECT_DOUBLE_EQ(rate.GetRate(), 2e8);
}

TEST(EngineGrapher, KeepsFinishedPagesInOrderUntilTaken) {
    CASimulationEngine engine;
    engine.ReleaseGrapherPage(); // releasing nothing finishes nothing
    CGrapherPage& first = engine.OpenGrapherPage();
    first.SetTitle("Parameter Sweep");
    EXPECT_EQ(&engine.OpenGrapherPage(), &first) << "the open page is reused";
    engine.ReleaseGrapherPage();
    EXPECT_FALSE(engine.HasOpenGrapherPage());
    engine.OpenGrapherPage().SetTitle("Monte Carlo Analysis");
    engine.ReleaseGrapherPage();
    std::string titles;
    for (const CGrapherPage& page : engine.TakeGrapherPages())
        titles += page.GetTitle().str() + ";";
    EXPECT_EQ(titles, "Parameter Sweep;Monte Carlo Analysis;");
    EXPECT_TRUE(engine.GetGrapherPages().empty());
}

namespace {

// A compound analysis in miniature: records its callbacks and answers as told.
class RecordingAnalysis : public CPlotEventSink {
public:
    explicit RecordingAnalysis(const Analyses* owner)
        : CPlotEventSink("Recording", "Recording Event Sink", owner) {}

    int answer = 1;
    std::vector<std::string> calls;

private:
    int OUTpBeginPlot(const CSpiceArgs& args) override {
        calls.push_back("begin " + args.GetPlotInfo()->name.str());
        return answer;
    }
    int OUTpData(const CSpiceArgs&) override {
        calls.push_back("data");
        return answer;
    }
    int OUTendPlot(const CSpiceArgs& args) override {
        calls.push_back("end " + args.GetPlotInfo()->name.str());
        return answer;
    }
};

int Send(CEventSink& sink, CEventSource* source, long id, const IITVariant& value) {
    const EventData data{id, value};
    return sink.HandleEventIndirect(source, &data);
}

} // namespace

TEST(PlotEventSink, CallsBackOnlyForMatchingArgumentsAndAnswersByTheResult) {
    RecordingAnalysis analysis(nullptr);
    CEventSource source("host");
    CSpicePlotInfo plot;
    plot.name = "tran1";
    CSpiceDataRow row;
    const CSpiceArgs begin(CSpiceArgs::BeginPlot, &plot);
    const CSpiceArgs data(CSpiceArgs::Data, &row);
    const CSpiceArgs end(CSpiceArgs::EndPlot, &plot);

    // A callback above 0 means "go on": the host is answered 0; 0 or less means "abort": 1.
    for (const int answer : {1, 0, -3}) {
        analysis.answer = answer;
        for (const auto& [id, args] : {std::pair{4004L, &begin}, {4005L, &data}, {4006L, &end}})
            EXPECT_EQ(Send(analysis, &source, id, args), answer > 0 ? 0 : 1) << id << answer;
    }
    EXPECT_EQ(analysis.calls.size(), 9u);
    EXPECT_EQ(std::vector<std::string>(analysis.calls.begin(), analysis.calls.begin() + 3),
              (std::vector<std::string>{"begin tran1", "data", "end tran1"}));

    // Mismatched kinds, missing payloads, no source, event data or variant, and ids outside
    // 4004-4007 answer 0 and never reach the analysis.
    analysis.calls.clear();
    const CSpiceArgs noPayload(CSpiceArgs::BeginPlot, nullptr);
    const std::tuple<CEventSource*, long, IITVariant> ignored[] = {
        {&source, 4004, &data},        {&source, 4004, &noPayload},     {&source, 4005, &begin},
        {&source, 4006, &data},        {&source, 4004, IITVariant(5L)}, {nullptr, 4004, &begin},
        {&source, 4004, IITVariant()}, {&source, 4003, &begin},         {&source, 4008, &data}};
    for (const auto& [from, id, value] : ignored)
        EXPECT_EQ(Send(analysis, from, id, value), 0) << id;
    EXPECT_EQ(analysis.HandleEventIndirect(&source, nullptr), 0);
    EXPECT_TRUE(analysis.calls.empty());
}

TEST(PlotEventSink, StopPollStopsTheSessionWhenTheEngineSaysSo) {
    canal_test::ScriptedEngine engine;
    TestCollection analyses;
    analyses.SetAsimEng(&engine);
    RecordingAnalysis analysis(&analyses);
    CEventSource source("host");
    const CSpiceArgs poll(CSpiceArgs::StopPoll, &engine.Session());

    engine.StopAfterPolls(1);
    EXPECT_EQ(Send(analysis, &source, 4007, &poll), 0);
    EXPECT_FALSE(analysis.IsStopRequested());
    EXPECT_TRUE(engine.StoppedSessions().empty());

    EXPECT_EQ(Send(analysis, &source, 4007, &poll), 0) << "then passed on like any event";
    EXPECT_TRUE(analysis.IsStopRequested());
    EXPECT_EQ(engine.StoppedSessions(), std::vector<CSpiceSession*>{&engine.Session()});

    // A poll with other arguments, or for an analysis without a collection, asks nobody.
    CSpiceDataRow row;
    const CSpiceArgs data(CSpiceArgs::Data, &row);
    EXPECT_EQ(Send(analysis, &source, 4007, &data), 0);
    RecordingAnalysis orphan(nullptr);
    EXPECT_EQ(Send(orphan, &source, 4007, &poll), 0);
    EXPECT_FALSE(orphan.IsStopRequested());
    EXPECT_EQ(engine.StopPolls(), 2);
    EXPECT_TRUE(analysis.calls.empty());
}
