// Simulation engine: request dispatch, raw-file names, lazy caches, node lists,
// status-bar texts with their throttle, the rate estimator and result pages.
#include "engine/compound_commands.h"
#include "engine/simulation_engine.h"
#include "tests/support/circuit_engine.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// What dispatched entries saw, so tests can check the split and the sink.
struct Seen {
    std::string keyword;
    CString record;
    CEventSink* sinkDuringRun = nullptr;
    Analyses* analyses = nullptr;
};
std::vector<Seen> g_seen;

template <int Result>
int RecordingEntry(const char* keyword, CASimulationEngine& engine, Analyses* analyses,
                   const CPropertyList& record) {
    static CEventSink sink("test", "test sink");
    AnalysisSinkScope scope(engine, &sink);
    g_seen.push_back(Seen{keyword, record.GetList(), engine.GetAnalysisEventSink(), analyses});
    return Result;
}

int MonteEntry(CASimulationEngine& e, Analyses* a, const CPropertyList& r) {
    return RecordingEntry<7>("MONTE", e, a, r);
}
int FirstPsweep(CASimulationEngine& e, Analyses* a, const CPropertyList& r) {
    return RecordingEntry<1>("psweep#1", e, a, r);
}
int SecondPsweep(CASimulationEngine& e, Analyses* a, const CPropertyList& r) {
    return RecordingEntry<2>("psweep#2", e, a, r);
}
// An entry that leaves its sink behind, as a careless analysis might.
int LeakySink(CASimulationEngine& e, Analyses*, const CPropertyList&) {
    static CEventSink sink;
    e.SetAnalysisEventSink(&sink);
    return 3;
}

constexpr CompoundCommand kTable[] = {
    {"psweep", &FirstPsweep},
    {"MONTE", &MonteEntry},
    {"psweep", &SecondPsweep},
    {"WORST", &LeakySink},
};

struct TestCollection : Analyses {};

} // namespace

TEST(EngineDispatch, SplitsKeywordFromRecordAndRunsTheFirstMatchingEntry) {
    CASimulationEngine engine;
    TestCollection analyses;
    g_seen.clear();

    EXPECT_EQ(DispatchCompoundCommand(kTable, engine, &analyses,
                                      "  \t psweep  SweepType:int{1} Ac:list{FSTART:double{10}}"),
              1);
    ASSERT_EQ(g_seen.size(), 1u) << "only the first matching entry runs";
    EXPECT_EQ(g_seen[0].keyword, "psweep#1");
    EXPECT_EQ(g_seen[0].record, "SweepType:int{1} Ac:list{FSTART:double{10}}");
    EXPECT_EQ(g_seen[0].analyses, &analyses);
    EXPECT_NE(g_seen[0].sinkDuringRun, nullptr);
    EXPECT_EQ(engine.GetAnalysisEventSink(), nullptr);

    EXPECT_EQ(DispatchCompoundCommand(kTable, engine, &analyses, "MONTE"), 7)
        << "a keyword without a record runs with an empty record";
    EXPECT_EQ(g_seen.back().keyword, "MONTE");
    EXPECT_EQ(g_seen.back().record, "");

    // A record that breaks off keeps what was read before the fault.
    EXPECT_EQ(DispatchCompoundCommand(kTable, engine, nullptr, "MONTE NumRuns:int{5} Bad:int{"), 7);
    EXPECT_EQ(g_seen.back().record, "NumRuns:int{5}");

    EXPECT_EQ(DispatchCompoundCommand(kTable, engine, &analyses, "WORST x:int{1}"), 3);
    EXPECT_EQ(engine.GetAnalysisEventSink(), nullptr) << "the sink never outlives the call";
}

TEST(EngineDispatch, BlankUnknownAndMiscasedKeywordsRunNothing) {
    CASimulationEngine engine;
    TestCollection analyses;
    g_seen.clear();
    CEventSink stale;
    for (const char* command : {"", "   \t ", "monte NumRuns:int{5}", "Psweep", "PSWEEP",
                                "MONTE\tNumRuns:int{5}", "psweepx a:int{1}", "orvo psweep"}) {
        engine.SetAnalysisEventSink(&stale);
        EXPECT_EQ(DispatchCompoundCommand(kTable, engine, &analyses, command), 0) << command;
        EXPECT_EQ(engine.GetAnalysisEventSink(), nullptr) << command;
    }
    EXPECT_TRUE(g_seen.empty()) << "only a blank ends the keyword; case counts";

    // The engine's own table has no compound analyses yet.
    EXPECT_TRUE(CompoundCommands().empty());
    EXPECT_EQ(engine.ExecuteCommand(&analyses, "MONTE NumRuns:int{5}"), 0);
    EXPECT_EQ(engine.ExecuteCommand(&analyses, ""), 0);
    EXPECT_EQ(engine.GetAnalysisEventSink(), nullptr);
}

TEST(Engine, NamesScratchRawFilesByUnsignedIndex) {
    CASimulationEngine engine;
    EXPECT_EQ(engine.GetAllocFile(0), "____0.raw");
    EXPECT_EQ(engine.GetAllocFile(12), "____12.raw");
    EXPECT_EQ(engine.GetAllocFile(-1), "____4294967295.raw");
}

TEST(Engine, DefaultsAnswerHarmlesslyWithoutASimulator) {
    CASimulationEngine engine;
    EXPECT_EQ(engine.PerformConsistencyCheck(AT_TRAN), 1);
    EXPECT_EQ(engine.WantStopNow(), 0);
    EXPECT_EQ(engine.IsSpecialNode("v(out)"), 0);
    EXPECT_EQ(engine.GetValueOfNode("v(out)"), CComplex(0.0, 0.0));
    EXPECT_EQ(engine.GetSessionDistributor(), nullptr);
    EXPECT_EQ(engine.SilentExecuteSimulatorCommand("op;"), 1);
    EXPECT_EQ(engine.GetSimulatorSnapIn(), nullptr);

    TestCollection analyses;
    CASimulationEngine* shared = analyses.GetAsimEng();
    ASSERT_NE(shared, nullptr);
    EXPECT_EQ(TestCollection().GetAsimEng(), shared) << "one static engine for all";
    analyses.SetAsimEng(&engine);
    EXPECT_EQ(analyses.GetAsimEng(), &engine);
    analyses.SetAsimEng(nullptr);
    EXPECT_EQ(analyses.GetAsimEng(), shared);
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
    engine.GetModelList();
    engine.GetInstanceList();
    engine.GetSimpleAnalysisNodes(OVC_CKTnames);
    engine.GetAnalysisNodes(OVC_CKTnames);
    EXPECT_EQ(engine.models + engine.instances + engine.simple[1] + engine.combined[1], 0)
        << "a new engine starts clean";

    engine.SetCircuitDataState(true);
    const CASimulationEngine& constEngine = engine;
    constEngine.GetModelList();
    engine.GetModelList();
    engine.GetInstanceList();
    constEngine.GetInstanceList();
    EXPECT_EQ(engine.models, 1);
    EXPECT_EQ(engine.instances, 1);

    // The combined list refreshes the simple list it copies when that is dirty too.
    CSpiceNodeNameList& combined = engine.GetAnalysisNodes(OVC_DCnames);
    EXPECT_EQ(engine.combined[2], 1);
    EXPECT_EQ(engine.simple[2], 1);
    ASSERT_EQ(combined.GetCount(), 1u);
    EXPECT_EQ(combined[0].GetName(), "sim1");
    engine.GetAnalysisNodes(OVC_DCnames);
    engine.GetSimpleAnalysisNodes(OVC_DCnames);
    EXPECT_EQ(engine.combined[2], 1);
    EXPECT_EQ(engine.simple[2], 1);
    EXPECT_EQ(engine.simple[1], 0) << "each class has its own flag";

    engine.SetCircuitDataState(true);
    EXPECT_EQ(engine.GetSimpleAnalysisNodes(OVC_DCnames)[0].GetName(), "sim2");
    engine.SetCircuitDataState(false);
    engine.GetModelList();
    engine.GetAnalysisNodes(OVC_ALL);
    EXPECT_EQ(engine.models, 1);
    EXPECT_EQ(engine.combined[7], 0);
}

TEST(Engine, UpdateNodeListWaitsForTheLastUnlock) {
    CASimulationEngine engine;
    engine.LockUpdateAnalysisNodeList(1);
    engine.LockUpdateAnalysisNodeList(1);
    engine.UpdateAnalysisNodeList();
    EXPECT_TRUE(engine.GetSimpleAnalysisNodes(OVC_CKTnames).IsEmpty());
    engine.LockUpdateAnalysisNodeList(0);
    engine.UpdateAnalysisNodeList();
    EXPECT_TRUE(engine.GetSimpleAnalysisNodes(OVC_CKTnames).IsEmpty()) << "one lock still held";
    engine.LockUpdateAnalysisNodeList(0);
    EXPECT_EQ(engine.GetUpdateLockCount(), 0);
    engine.UpdateAnalysisNodeList();
    EXPECT_EQ(engine.GetSimpleAnalysisNodes(OVC_CKTnames).GetCount(), 7u);
}

TEST(Engine, SyntheticNodeNamesPerOutputClass) {
    CASimulationEngine engine;
    engine.UpdateAnalysisNodeList();
    EXPECT_TRUE(engine.GetSimpleAnalysisNodes(OVC_NONE).IsEmpty());
    EXPECT_TRUE(engine.GetSimpleAnalysisNodes(OVC_ALL).IsEmpty());

    const CSpiceNodeNameList& ckt = engine.GetSimpleAnalysisNodes(OVC_CKTnames);
    const char* expected[] = {"v(CKTnames0)",     "v(CKTnames1)", "v(CKTnames2)",
                              "v(CKTnames3)",     "v(CKTnames4)", "vCKTnames0#branch",
                              "vCKTnames1#branch"};
    ASSERT_EQ(ckt.GetCount(), 7u);
    for (size_t i = 0; i < 7; ++i) {
        EXPECT_EQ(ckt[i].GetName(), expected[i]);
        EXPECT_EQ(ckt[i].GetKind(), i < 5 ? 3 : 4) << expected[i];
    }
    EXPECT_EQ(engine.GetSimpleAnalysisNodes(OVC_NOISE_CKTnames_int)[4].GetName(),
              "v(NOISE_CKTnames_int4)");
    EXPECT_EQ(engine.GetSimpleAnalysisNodes(OVC_SENS_CKTnames_op)[6].GetName(),
              "vSENS_CKTnames_op1#branch");
    EXPECT_EQ(engine.GetAnalysisNodes(OVC_DCnames).GetCount(), 7u)
        << "the combined lists are rebuilt too";

    // A second update replaces the names instead of adding more.
    engine.UpdateAnalysisNodeList();
    EXPECT_EQ(engine.GetSimpleAnalysisNodes(OVC_DCnames).GetCount(), 7u);
}

TEST(Engine, SampleRecordsShowTheShapeOfElementValues) {
    CPropertyList models;
    ASSERT_TRUE(models.Parse(CASimulationEngine::SampleModelRecords()).ok);
    CPropertyList instances;
    ASSERT_TRUE(instances.Parse(CASimulationEngine::SampleInstanceRecords()).ok);
    EXPECT_EQ(models.GetCount(), 2);
    EXPECT_EQ(instances.GetCount(), 5);

    std::vector<std::string> names;
    for (const CPropertyList* list : {&models, &instances})
        for (const CPropertyItem& element : *list) {
            int params = 0;
            for (const CPropertyItem& field : element.GetPropertyList()) {
                if (field.GetLabel() == "name")
                    names.push_back(field.GetString().str());
                if (!(field.GetLabel() == "param"))
                    continue;
                CSPICEparam param;
                EXPECT_EQ(param.fromPropertyList(field.GetPropertyList()), 1) << field.GetField();
                EXPECT_FALSE(param.GetValue().IsEmpty());
                ++params;
            }
            EXPECT_GT(params, 0) << element.GetField();
        }
    EXPECT_EQ(names, (std::vector<std::string>{"Rinp_model", "R1inp_model", "Rinp", "V1", "V2",
                                               "R1inp", "C1"}));
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
    const CSpiceNodeNameList& combined = engine.GetAnalysisNodes(OVC_CKTnames);
    ASSERT_EQ(combined.GetCount(), 7u + 4u);
    EXPECT_EQ(combined[6].GetName(), "vCKTnames1#branch");
    EXPECT_EQ(combined[7].GetName(), "@R1[I]");
    EXPECT_EQ(combined[10].GetName(), "@r1[p]");
    EXPECT_EQ(combined[8].GetKind(), CASimulationEngine::ParameterNode);
    EXPECT_EQ(engine.GetAnalysisNodes(OVC_NONE).GetCount(), 4u);
}

namespace {

// A front end that records every property call.
class RecordingFrontEnd : public CGuiFE {
public:
    struct Call {
        long id;
        std::string value;
        bool hasIndex;
    };
    uint32_t start = 1000;
    CString current;
    std::vector<Call> sets;

    uint32_t GetStartTickCount() const override { return start; }
    int GetProperty(long id, IITVariant& out, const IITVariant*, CTreeInstance*) override {
        if (id == GUIFE_CURRENT_STATUS)
            out = IITVariant(current);
        return 1;
    }
    int SetProperty(long id, const IITVariant& value, const IITVariant* index,
                    CTreeInstance*) override {
        EXPECT_TRUE(!index || index->GetLong() == 1);
        sets.push_back(Call{id, value.GetString().str(), index != nullptr});
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

    engine.StartUpdateStatusBarAnalysisData();
    ASSERT_EQ(fe.sets.size(), 3u);
    EXPECT_EQ(fe.sets[0].id, GUIFE_STATUS_TEXT);
    EXPECT_EQ(fe.sets[0].value, "Amplifier: Simulating...");
    EXPECT_TRUE(fe.sets[0].hasIndex);
    EXPECT_EQ(fe.sets[1].id, GUIFE_SIMULATION_STATE);
    EXPECT_EQ(fe.sets[1].value, "1");
    EXPECT_EQ(fe.sets[2].value, "TRAN: 1.500 ms") << "the forced first update";
    EXPECT_FALSE(fe.sets[2].hasIndex);

    // Unforced updates within 33 ms of the last one are dropped.
    now += 32;
    engine.SetStatusBarAnalysisTime(0.002);
    engine.UpdateStatusBarAnalysisData(0);
    EXPECT_EQ(fe.sets.size(), 3u);
    now += 1;
    engine.UpdateStatusBarAnalysisData(0);
    ASSERT_EQ(fe.sets.size(), 4u);
    EXPECT_EQ(fe.sets[3].value, "TRAN: 2.000 ms");
    engine.UpdateStatusBarAnalysisData(1);
    EXPECT_EQ(fe.sets.size(), 5u) << "forced updates are never throttled";

    // Own text and units replace the nickname and the default unit.
    engine.SetStatusBarAnalysisText("Temperature sweep");
    engine.SetStatusBarAnalysisUnits("K");
    engine.SetStatusBarAnalysisTime(300.15);
    now += 40;
    engine.UpdateStatusBarAnalysisData(0);
    EXPECT_EQ(fe.sets.back().value, "Temperature sweep: 300.150 K");

    engine.EndUpdateStatusBarAnalysisData();
    ASSERT_EQ(fe.sets.size(), 9u);
    EXPECT_EQ(fe.sets[7].id, GUIFE_SIMULATION_STATE);
    EXPECT_EQ(fe.sets[7].value, "2");
    EXPECT_EQ(fe.sets[8].id, GUIFE_STATUS_TEXT);
    EXPECT_EQ(fe.sets[8].value, "");
    EXPECT_TRUE(fe.sets[8].hasIndex);

    // An empty current status gets no separator; a new type empties the units.
    fe.current = "";
    fe.sets.clear();
    engine.SetStatusBarAnalysisType(AT_AC);
    now += 1;
    engine.StartUpdateStatusBarAnalysisData();
    EXPECT_EQ(fe.sets[0].value, "Simulating...");
    EXPECT_EQ(fe.sets[2].value, "AC: 300.150 s");
}

TEST(EngineStatusBar, NicknamesOfSimulatorAnalysisTypes) {
    EXPECT_EQ(CASimulationEngine::ConvertAnalysisToNickname(AT_OP), "OP");
    EXPECT_EQ(CASimulationEngine::ConvertAnalysisToNickname(AT_AC), "AC");
    EXPECT_EQ(CASimulationEngine::ConvertAnalysisToNickname(AT_TRAN), "TRAN");
    EXPECT_EQ(CASimulationEngine::ConvertAnalysisToNickname(AT_DC), "DC_SWEEP");
    EXPECT_EQ(CASimulationEngine::ConvertAnalysisToNickname(AT_SENS), "SENS");
    EXPECT_EQ(CASimulationEngine::ConvertAnalysisToNickname(AT_NONE), "");

    // Without a front end nothing is shown and nothing breaks.
    CASimulationEngine engine;
    engine.StartUpdateStatusBarAnalysisData();
    engine.UpdateStatusBarAnalysisData(1);
    engine.EndUpdateStatusBarAnalysisData();
    EXPECT_EQ(engine.GetLastRate(), 0.0);
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
    EXPECT_FALSE(engine.HasOpenGrapherPage());
    engine.ReleaseGrapherPage();
    EXPECT_TRUE(engine.GetGrapherPages().empty()) << "releasing nothing finishes nothing";

    CGrapherPage& first = engine.OpenGrapherPage();
    first.SetTitle("Parameter Sweep");
    CGrapherTrace& trace = first.AddTrace("v(out) r1=1k");
    first.AddTrace("v(out) r1=2k");
    trace.AddPoint(0.0, 1.0);
    EXPECT_EQ(&engine.OpenGrapherPage(), &first) << "the open page is reused";
    engine.ReleaseGrapherPage();
    engine.OpenGrapherPage().SetTitle("Monte Carlo Analysis");
    engine.ReleaseGrapherPage();

    ASSERT_EQ(engine.GetGrapherPages().size(), 2u);
    EXPECT_EQ(engine.GetGrapherPages()[0].GetTitle(), "Parameter Sweep");
    EXPECT_EQ(engine.GetGrapherPages()[0].GetTraces()[0].re, std::vector<double>{1.0});
    const std::vector<CGrapherPage> taken = engine.TakeGrapherPages();
    EXPECT_EQ(taken.size(), 2u);
    EXPECT_EQ(taken[1].GetTitle(), "Monte Carlo Analysis");
    EXPECT_TRUE(engine.GetGrapherPages().empty());
}
