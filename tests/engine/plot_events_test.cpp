// The plot-event protocol: which events reach the callbacks, what the host is
// answered, the stop poll, and a scripted simulator driving a sink end to end.
#include "engine/plot_event_sink.h"
#include "tests/support/scripted_engine.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct TestCollection : Analyses {};

// A compound analysis in miniature: records its callbacks, answers as told,
// and collects the scale and one vector like a sweep would.
class RecordingAnalysis : public CPlotEventSink {
public:
    explicit RecordingAnalysis(const Analyses* owner)
        : CPlotEventSink("Recording", "Recording Event Sink", owner) {}

    int answer = 1;
    std::vector<std::string> calls;
    std::vector<double> x;
    std::vector<double> y;

private:
    int OUTpBeginPlot(const CSpiceArgs& args) override {
        plot_ = *args.GetPlotInfo();
        calls.push_back("begin " + plot_.name.str());
        return answer;
    }
    int OUTpData(const CSpiceArgs& args) override {
        const CSpiceDataRow& row = *args.GetDataRow();
        calls.push_back("data");
        x.push_back(row.GetScaleValue(plot_));
        const int out = plot_.FindVector("V(OUT)");
        if (out >= 0)
            y.push_back(row.real[static_cast<size_t>(out)]);
        return answer;
    }
    int OUTendPlot(const CSpiceArgs& args) override {
        calls.push_back("end " + args.GetPlotInfo()->name.str());
        return answer;
    }

    CSpicePlotInfo plot_;
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

    // A callback above 0 means "go on": the host is answered 0.
    EXPECT_EQ(Send(analysis, &source, 4004, &begin), 0);
    EXPECT_EQ(Send(analysis, &source, 4005, &data), 0);
    EXPECT_EQ(Send(analysis, &source, 4006, &end), 0);
    EXPECT_EQ(analysis.calls, (std::vector<std::string>{"begin tran1", "data", "end tran1"}));

    // 0 or less means "abort": the host is answered 1.
    for (const int answer : {0, -3}) {
        analysis.answer = answer;
        EXPECT_EQ(Send(analysis, &source, 4004, &begin), 1);
        EXPECT_EQ(Send(analysis, &source, 4005, &data), 1);
        EXPECT_EQ(Send(analysis, &source, 4006, &end), 1);
    }
    EXPECT_EQ(analysis.calls.size(), 9u);

    // Mismatched kinds and missing payloads answer 0 and never reach the analysis.
    analysis.calls.clear();
    const CSpiceArgs noPayload(CSpiceArgs::BeginPlot, nullptr);
    EXPECT_EQ(Send(analysis, &source, 4004, &data), 0);
    EXPECT_EQ(Send(analysis, &source, 4004, &noPayload), 0);
    EXPECT_EQ(Send(analysis, &source, 4005, &begin), 0);
    EXPECT_EQ(Send(analysis, &source, 4006, &data), 0);
    EXPECT_EQ(Send(analysis, &source, 4004, IITVariant(5L)), 0);
    // Without a source, event data or variant, or outside 4004-4007, the event is passed on.
    EXPECT_EQ(Send(analysis, nullptr, 4004, &begin), 0);
    EXPECT_EQ(Send(analysis, &source, 4004, IITVariant()), 0);
    EXPECT_EQ(analysis.HandleEventIndirect(&source, nullptr), 0);
    EXPECT_EQ(Send(analysis, &source, 4003, &begin), 0);
    EXPECT_EQ(Send(analysis, &source, 4008, &data), 0);
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

TEST(ScriptedEngine, DeliversPlotsAsEventsAndRecordsRequests) {
    canal_test::ScriptedEngine engine;
    engine.Circuit()
        .AddDevice("Resistor")
        .AddModel("rmod")
        .AddInstance("r1", {{"resistance", 1e3}});
    TestCollection analyses;
    analyses.SetAsimEng(&engine);
    RecordingAnalysis analysis(&analyses);

    // The script answers a transient with v(out) scaled by the resistance set so far.
    engine.SetScript([](const CString& command, const canal_test::ScriptedEngine& e) {
        canal_test::ScriptedAnswer answer;
        if (command.Find("tran") < 0)
            return answer;
        const CString r = e.LastValue({"Resistor", "rmod", "r1", "resistance"});
        const double scale = r.IsEmpty() ? 1.0 : IITVariant(r).GetDouble() / 1e3;
        canal_test::ScriptedPlot plot;
        plot.name = "tran1";
        plot.type = AT_TRAN;
        plot.vectors = {"time", "v(out)"};
        plot.scaleIndex = 0;
        plot.rows = {{0.0, 0.0}, {1e-3, 1.0 * scale}, {2e-3, 2.0 * scale}};
        answer.plots.push_back(plot);
        return answer;
    });

    CInstrumentInterface* snapIn = engine.GetSimulatorSnapIn();
    ASSERT_NE(snapIn, nullptr);
    const CStringArray names = {"Resistor", "rmod", "r1", "resistance"};
    EXPECT_EQ(snapIn->SetProperty(SNAPIN_INSTANCE_PARAMETER, IITVariant(names),
                                  IITVariant(CPropertyItem("value", 2e3)), nullptr),
              1);
    const CSpiceModel rmod = engine.Circuit().FindDevice("Resistor").GetModel(0);
    EXPECT_EQ(rmod.FindInstance("r1").GetParameters()[0].value.GetDouble(), 2e3)
        << "the change reaches the circuit";

    {
        AnalysisSinkScope scope(engine, &analysis);
        EXPECT_EQ(engine.SilentExecuteSimulatorCommand("set temp = 300.15"), 1);
        EXPECT_EQ(engine.SilentExecuteSimulatorCommand("tran 1m 2m"), 1);
    }
    EXPECT_EQ(engine.Commands(), (std::vector<CString>{"set temp = 300.15", "tran 1m 2m"}));
    ASSERT_EQ(engine.ParameterSets().size(), 1u);
    EXPECT_EQ(engine.ParameterSets()[0].id, 2018);
    EXPECT_EQ(engine.ParameterSets()[0].value, "2000");
    EXPECT_EQ(analysis.calls,
              (std::vector<std::string>{"begin tran1", "data", "data", "data", "end tran1"}));
    EXPECT_EQ(analysis.x, (std::vector<double>{0.0, 1e-3, 2e-3}));
    EXPECT_EQ(analysis.y, (std::vector<double>{0.0, 2.0, 4.0}));
    std::vector<long> ids;
    for (const canal_test::ScriptedEvent& e : engine.Events())
        ids.push_back(e.id);
    EXPECT_EQ(ids, (std::vector<long>{4004, 4005, 4007, 4005, 4007, 4005, 4007, 4006}));
    EXPECT_EQ(engine.StopPolls(), 3);

    // An aborting callback ends the rows; a stop ends them after the poll that asked.
    analysis.calls.clear();
    analysis.answer = 0;
    {
        AnalysisSinkScope scope(engine, &analysis);
        engine.SilentExecuteSimulatorCommand("tran 1m 2m");
        analysis.answer = 1;
        engine.StopAfterPolls(engine.StopPolls());
        engine.SilentExecuteSimulatorCommand("tran 1m 2m");
    }
    EXPECT_EQ(analysis.calls, (std::vector<std::string>{"begin tran1", "data", "end tran1",
                                                        "begin tran1", "data", "end tran1"}));
    EXPECT_TRUE(analysis.IsStopRequested());

    // Without a sink the plots go nowhere.
    const size_t events = engine.Events().size();
    engine.SilentExecuteSimulatorCommand("tran 1m 2m");
    EXPECT_EQ(engine.Events().size(), events);
}
