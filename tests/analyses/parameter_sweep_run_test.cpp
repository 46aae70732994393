// Sweep runs on the scripted engine: the requests in order for every walk and inner analysis,
// nested levels, stops, the value put back afterwards, and the traces each run leaves.
#include "analyses/compound/psweep.h"
#include "tests/support/scripted_engine.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

using canal_test::ScriptedAnswer;
using canal_test::ScriptedEngine;
using canal_test::ScriptedParameterSet;
using canal_test::ScriptedPlot;
using Lines = std::vector<std::string>;

std::string ParamLine(const ScriptedParameterSet& set) {
    std::string line = "param " + std::to_string(set.id);
    for (const CString& name : set.names)
        line += " " + (name.IsEmpty() ? std::string("-") : name.str());
    return line + " = " + set.value.str();
}

// The last temperature set before the current command, in kelvin (300.15 without one).
double Temperature(const ScriptedEngine& engine) {
    const auto& commands = engine.Commands();
    for (auto it = commands.rbegin(); it != commands.rend(); ++it)
        if (it->view().starts_with("set temp = "))
            return std::atof(it->c_str() + 11);
    return 300.15;
}

// One operating point: v(out) follows `value`, i(v1) is fixed; no scale.
ScriptedPlot OpPlot(double value) {
    ScriptedPlot plot;
    plot.name = "op1";
    plot.type = AT_OP;
    plot.vectors = {"v(out)", "i(v1)"};
    plot.rows = {{value, -0.001}};
    return plot;
}

// Two points over a scale: a transient (real) or, with `complex`, an AC sweep.
ScriptedPlot ScalePlot(const char* scale, double value, bool complex) {
    ScriptedPlot plot;
    plot.name = complex ? "ac1" : "tran1";
    plot.type = complex ? AT_AC : AT_TRAN;
    plot.vectors = {scale, "v(out)"};
    plot.scaleIndex = 0;
    plot.rows = {{1, value}, {2, 2 * value}};
    if (complex)
        plot.imagRows = {{0, -value}, {0, -2 * value}};
    return plot;
}

// A collection on a scripted engine over a small circuit, and the requests of a run in the
// order they reached the engine: "exec: " per command, "param ..." per snap-in change.
class SweepRun : public ::testing::Test {
protected:
    void SetUp() override {
        CSpiceCircuit circuit = engine_.Circuit();
        circuit.AddDevice("Resistor")
            .AddModel("rmod")
            .AddInstance("r1", {{"resistance", 1e3, "Resistance", "InputOutput"}})
            .AddInstance("r2", {{"resistance", 2e3, "Resistance", "InputOutput"}});
        circuit.AddDevice("Diode").AddModel("dmod", {{"is", 1e-14, "Saturation current"}});
        // Every inner run answers with a plot whose values tell the run apart.
        Answer([](const CString& command, const ScriptedEngine& e) {
            ScriptedAnswer answer;
            if (command == "op;")
                answer.plots.push_back(OpPlot(Temperature(e)));
            else if (command.Find("ac  -env-options") >= 0)
                answer.plots.push_back(ScalePlot("frequency", Temperature(e), true));
            else if (command.Find("tran  -env-options") >= 0)
                answer.plots.push_back(ScalePlot("time", Temperature(e), false));
            return answer;
        });
    }

    void Answer(ScriptedEngine::Script script) {
        engine_.SetScript([this, script](const CString& command, const ScriptedEngine& e) {
            Flush();
            requests_.push_back("exec: " + command.str());
            return script(command, e);
        });
    }
    void Flush() {
        const auto& sets = engine_.ParameterSets();
        for (; seenSets_ < sets.size(); ++seenSets_)
            requests_.push_back(ParamLine(sets[seenSets_]));
    }
    Lines Requests() {
        Flush();
        return requests_;
    }
    const CGrapherPage& OnlyPage() {
        EXPECT_EQ(engine_.GetGrapherPages().size(), 1u);
        return engine_.GetGrapherPages().front();
    }
    Lines LogLines(const CGrapherPage& page) {
        Lines lines;
        for (const ChartLog& log : page.GetChartLogs())
            for (const ChartLog::Entry& e : log.GetEntries())
                lines.push_back(std::string(2 * static_cast<size_t>(e.indent), ' ') + e.text.str());
        return lines;
    }

    ScriptedEngine engine_;
    Analyses analyses_{&engine_};
    ParameterSweep& psweep_ = analyses_.GetPsweep().GetParameterSweep();
    ParameterSweep& tsweep_ = analyses_.GetTsweep().GetParameterSweep();

private:
    Lines requests_;
    size_t seenSets_ = 0;
};

void SetList(SweepVariation& v, std::vector<double> values) {
    v.SetVariation(SweepVariation::list);
    v.SetNumListItems(static_cast<int>(values.size()));
    for (size_t i = 0; i < values.size(); ++i)
        v.SetNthListItem(static_cast<int>(i), values[i]);
}

void SetWalk(SweepVariation& v, SweepVariation::Variation kind, double start, double stop,
             double points) {
    v.SetVariation(kind);
    v.SetStart(start);
    v.SetStop(stop);
    v.SetNumPoints(points);
}

void SetMember(ParameterSweep& sweep, ParameterSweep::SweepType type, const char* record,
               const char* parameter) {
    sweep.SetSweepType(type);
    sweep.GetMemberToSweep(type).fromPropertyList(CPropertyList(CString(record)),
                                                  CSpiceDevice_generic_iterator_wrapper());
    sweep.GetMemberParameterToSweep(type).fromPropertyList(CPropertyList(CString(parameter)));
}

TEST_F(SweepRun, TemperatureListOverOperatingPointPlotsOnePointPerValue) {
    tsweep_.SetSweepType(ParameterSweep::TemperatureSweep);
    tsweep_.SetSweepAnalysisType(ParameterSweep::InnerOp);
    SetList(tsweep_.GetVariation(), {250, 300.15, 350});
    engine_.SetIPlot("V(OUT)"); // names compare ignoring case; i(v1) is not asked for

    EXPECT_EQ(tsweep_.ExecuteAnalysis(nullptr, nullptr), 1);
    // The temperature had no value of its own: the circuit's is restored with "set -temp".
    EXPECT_EQ(Requests(),
              (Lines{"exec: set temp = 250", "exec: op;", "exec: set temp = 300.15", "exec: op;",
                     "exec: set temp = 350", "exec: op;", "exec: set -temp"}));
    const CGrapherPage& page = OnlyPage();
    EXPECT_EQ(page.GetTitle(), "Temperature Sweep");
    EXPECT_EQ(page.GetFontName(), "Times New Roman");
    EXPECT_EQ(page.GetXAxisName(), "Temperature");
    EXPECT_EQ(page.GetXAxisUnit(), "K");
    EXPECT_EQ(page.GetKeepPageOpen(), 0) << "cleared when the page is finished";
    ASSERT_EQ(page.GetTraces().size(), 1u);
    const CGrapherTrace& trace = page.GetTraces().front();
    EXPECT_EQ(trace.name, "v(out)");
    EXPECT_EQ(trace.x, (std::vector<double>{250, 300.15, 350}));
    EXPECT_EQ(trace.re, (std::vector<double>{250, 300.15, 350}));
    EXPECT_FALSE(trace.IsComplex());
    EXPECT_EQ(LogLines(page),
              (Lines{"  TEMP=250: Temperature=250", "  TEMP=300.15: Temperature=300.15",
                     "  TEMP=350: Temperature=350"}));
    EXPECT_EQ(tsweep_.GetStopSimulationFlag(), 1);
    EXPECT_EQ(tsweep_.GetCurrentLabel(), "Temperature=350");
    EXPECT_EQ(tsweep_.GetSweepIterLabel(), "TEMP=350");
    EXPECT_EQ(tsweep_.GetPage(), nullptr);
    EXPECT_EQ(engine_.GetAnalysisEventSink(), nullptr) << "the sink before the run is back";
    EXPECT_FALSE(engine_.HasOpenGrapherPage());
}

TEST_F(SweepRun, InstanceDecadeOverAcAddsAComplexTracePerValue) {
    SetMember(psweep_, ParameterSweep::DeviceSweep, "name:string{r2} isinst:int{1}",
              "name:string{resistance} value:double{1500}");
    psweep_.SetSweepAnalysisType(ParameterSweep::InnerAc);
    SetWalk(psweep_.GetVariation(), SweepVariation::dec, 1000, 100000, 0);

    long counter = 0;
    EXPECT_EQ(psweep_.ExecuteAnalysis(nullptr, &counter), 1);
    EXPECT_EQ(counter, 3);
    const std::string ac = "exec: " + psweep_.GetAc().toNutmegCommand().str();
    // Names come from the circuit; the value stored with the parameter is put back. Values
    // travel as property items, in their shortest exact text.
    EXPECT_EQ(Requests(), (Lines{"param 2018 Resistor rmod r2 resistance = 1000", ac,
                                 "param 2018 Resistor rmod r2 resistance = 10000", ac,
                                 "param 2018 Resistor rmod r2 resistance = 1e+05", ac,
                                 "param 2018 Resistor rmod r2 resistance = 1500"}));
    const CGrapherPage& page = OnlyPage();
    EXPECT_EQ(page.GetTitle(), "Parameter Sweep");
    EXPECT_EQ(page.GetXAxisName(), "frequency");
    EXPECT_EQ(page.GetXAxisUnit(), "Hz");
    ASSERT_EQ(page.GetTraces().size(), 3u);
    const char* names[] = {"v(out), r2[resistance]=1000", "v(out), r2[resistance]=10000",
                           "v(out), r2[resistance]=100000"};
    for (size_t i = 0; i < 3; ++i) {
        const CGrapherTrace& trace = page.GetTraces()[i];
        EXPECT_EQ(trace.name, names[i]);
        EXPECT_EQ(psweep_.GetTraceName(static_cast<int>(i)), names[i]);
        EXPECT_EQ(trace.x, (std::vector<double>{1, 2}));
        ASSERT_TRUE(trace.IsComplex());
        EXPECT_EQ(trace.im, (std::vector<double>{-300.15, -600.3}));
    }
    EXPECT_EQ(psweep_.GetRealPlotFlag(), 0);
    EXPECT_EQ(LogLines(page),
              (Lines{"  SWEEP#1: r2[resistance]=1000", "  SWEEP#2: r2[resistance]=10000",
                     "  SWEEP#3: r2[resistance]=100000"}));
    const CSpiceInstance r2 = engine_.Circuit()
                                  .FindDevice("Resistor")
                                  .FindModel(engine_.Circuit(), "rmod")
                                  .FindInstance("r2");
    EXPECT_EQ(r2.GetParameters().front().value.GetDouble(), 1500);
}

TEST_F(SweepRun, ModelOctaveOverTransientPutsTheCircuitsValueBack) {
    // No value stored with the parameter: the circuit's own is the one restored.
    SetMember(psweep_, ParameterSweep::ModelSweep, "model:string{dmod} isinst:int{0}",
              "name:string{is}");
    psweep_.SetSweepAnalysisType(ParameterSweep::InnerTran);
    SetWalk(psweep_.GetVariation(), SweepVariation::oct, 1e-12, 4e-12, 0);
    engine_.SetIPlot("v(out) time nosuch");

    EXPECT_EQ(psweep_.ExecuteAnalysis(nullptr, nullptr), 1);
    const std::string tran = "exec: " + psweep_.GetTran().toNutmegCommand().str();
    EXPECT_EQ(
        Requests(),
        (Lines{"param 2019 Diode dmod is = 1e-12", tran, "param 2019 Diode dmod is = 2e-12", tran,
               "param 2019 Diode dmod is = 4e-12", tran, "param 2019 Diode dmod is = 1e-14"}));
    const CGrapherPage& page = OnlyPage();
    EXPECT_EQ(page.GetXAxisName(), "time");
    EXPECT_EQ(page.GetXAxisUnit(), "s");
    // The scale and unknown names of the iplot list are not traces.
    ASSERT_EQ(page.GetTraces().size(), 3u);
    EXPECT_EQ(page.GetTraces()[2].name, "v(out), dmod[is]=4e-12");
    EXPECT_EQ(page.GetTraces()[2].re, (std::vector<double>{300.15, 600.3}));
    EXPECT_FALSE(page.GetTraces()[2].IsComplex());
}

TEST_F(SweepRun, ParametersNeedASnapInAndLinearWalksEndOnTheStop) {
    engine_.SetSimulatorSnapIn(nullptr);
    SetMember(psweep_, ParameterSweep::DeviceSweep, "name:string{r1}", "name:string{resistance}");
    psweep_.SetSweepAnalysisType(ParameterSweep::InnerOp);
    SetWalk(psweep_.GetVariation(), SweepVariation::lin, 1000, 2000, 3);

    EXPECT_EQ(psweep_.ExecuteAnalysis(nullptr, nullptr), 1);
    EXPECT_EQ(Requests(), (Lines{"exec: op;", "exec: op;", "exec: op;"}));
    const CGrapherPage& page = OnlyPage();
    EXPECT_EQ(page.GetXAxisName(), "r1[resistance]");
    EXPECT_EQ(page.GetXAxisUnit(), "");
    ASSERT_EQ(page.GetTraces().size(), 2u) << "without an iplot list every vector is plotted";
    EXPECT_EQ(page.GetTraces()[1].name, "i(v1)");
    EXPECT_EQ(page.GetTraces()[1].x, (std::vector<double>{1000, 1500, 2000}));
}

TEST_F(SweepRun, NestedSweepRunsInFullForEveryOuterValue) {
    SetMember(psweep_, ParameterSweep::DeviceSweep, "name:string{r1}",
              "name:string{resistance} value:double{1000}");
    SetWalk(psweep_.GetVariation(), SweepVariation::lin, 1000, 2000, 2);
    psweep_.SetSweepAnalysisType(ParameterSweep::InnerSweep);
    ParameterSweep& inner = *psweep_.GetNestedSweep();
    inner.SetSweepType(ParameterSweep::TemperatureSweep);
    inner.SetSweepAnalysisType(ParameterSweep::InnerOp);
    SetList(inner.GetVariation(), {250, 350});
    engine_.SetIPlot("v(out)");

    long counter = 10;
    EXPECT_EQ(psweep_.ExecuteAnalysis(nullptr, &counter), 1);
    EXPECT_EQ(counter, 16) << "one count per value at every level";
    // Each level puts its own value back when its walk ends: the inner one after every
    // outer value, the outer one last.
    EXPECT_EQ(Requests(),
              (Lines{"param 2018 Resistor rmod r1 resistance = 1000", "exec: set temp = 250",
                     "exec: op;", "exec: set temp = 350", "exec: op;", "exec: set -temp",
                     "param 2018 Resistor rmod r1 resistance = 2000", "exec: set temp = 250",
                     "exec: op;", "exec: set temp = 350", "exec: op;", "exec: set -temp",
                     "param 2018 Resistor rmod r1 resistance = 1000"}));
    const CGrapherPage& page = OnlyPage();
    EXPECT_EQ(page.GetTitle(), "Parameter Sweep");
    EXPECT_EQ(page.GetXAxisName(), "Temperature") << "the innermost level's x";
    ASSERT_EQ(page.GetTraces().size(), 2u);
    EXPECT_EQ(page.GetTraces()[0].name, "v(out), r1[resistance]=1000");
    EXPECT_EQ(page.GetTraces()[1].name, "v(out), r1[resistance]=2000");
    EXPECT_EQ(page.GetTraces()[1].x, (std::vector<double>{250, 350}));
    EXPECT_EQ(LogLines(page), (Lines{"  SWEEP#11: r1[resistance]=1000",
                                     "    TEMP=250: r1[resistance]=1000, Temperature=250",
                                     "    TEMP=350: r1[resistance]=1000, Temperature=350",
                                     "  SWEEP#14: r1[resistance]=2000",
                                     "    TEMP=250: r1[resistance]=2000, Temperature=250",
                                     "    TEMP=350: r1[resistance]=2000, Temperature=350"}));
    EXPECT_EQ(inner.GetOuterLabel(), "r1[resistance]=2000");
    EXPECT_EQ(inner.GetCurrentLabel(), "r1[resistance]=2000, Temperature=350");
}

TEST_F(SweepRun, FailedCommandStopsEveryLevelAndStillRestores) {
    SetMember(psweep_, ParameterSweep::DeviceSweep, "name:string{r1}",
              "name:string{resistance} value:double{1000}");
    SetList(psweep_.GetVariation(), {1, 2, 3});
    psweep_.SetSweepAnalysisType(ParameterSweep::InnerSweep);
    ParameterSweep& inner = *psweep_.GetNestedSweep();
    inner.SetSweepType(ParameterSweep::TemperatureSweep);
    inner.SetSweepAnalysisType(ParameterSweep::InnerOp);
    SetList(inner.GetVariation(), {250, 350});
    int runs = 0;
    Answer([&](const CString& command, const ScriptedEngine&) {
        ScriptedAnswer answer;
        if (command == "op;" && ++runs == 3)
            answer.result = 0;
        return answer;
    });

    EXPECT_EQ(psweep_.ExecuteAnalysis(nullptr, nullptr), 0);
    EXPECT_EQ(
        Requests(),
        (Lines{"param 2018 Resistor rmod r1 resistance = 1", "exec: set temp = 250", "exec: op;",
               "exec: set temp = 350", "exec: op;", "exec: set -temp",
               "param 2018 Resistor rmod r1 resistance = 2", "exec: set temp = 250", "exec: op;",
               "exec: set -temp", "param 2018 Resistor rmod r1 resistance = 1000"}));
    const Lines log = LogLines(OnlyPage());
    EXPECT_EQ(log.back(), "  A simulator command failed; the sweep stopped.");
}

TEST_F(SweepRun, StopPollEndsTheSweepAfterTheRunItInterrupted) {
    tsweep_.SetSweepType(ParameterSweep::TemperatureSweep);
    tsweep_.SetSweepAnalysisType(ParameterSweep::InnerOp);
    SetList(tsweep_.GetVariation(), {250, 300, 350, 400});
    engine_.StopAfterPolls(1); // one row per operating point: the second run is stopped

    EXPECT_EQ(tsweep_.ExecuteAnalysis(nullptr, nullptr), 0);
    EXPECT_TRUE(tsweep_.IsStopRequested());
    EXPECT_EQ(engine_.StoppedSessions().size(), 1u);
    EXPECT_EQ(Requests(), (Lines{"exec: set temp = 250", "exec: op;", "exec: set temp = 300",
                                 "exec: op;", "exec: set -temp"}));
    EXPECT_EQ(LogLines(OnlyPage()).back(), "  Stopped on request.");

    // A stop seen by a nested level ends the outer walk too; a new run starts afresh.
    psweep_.SetSweepType(ParameterSweep::TemperatureSweep);
    SetList(psweep_.GetVariation(), {1, 2});
    psweep_.SetSweepAnalysisType(ParameterSweep::InnerSweep);
    psweep_.GetNestedSweep()->SetSweepType(ParameterSweep::TemperatureSweep);
    psweep_.GetNestedSweep()->SetSweepAnalysisType(ParameterSweep::InnerOp);
    SetList(psweep_.GetNestedSweep()->GetVariation(), {250, 350});
    engine_.StopAfterPolls(engine_.StopPolls());
    const size_t before = engine_.Commands().size();
    EXPECT_EQ(psweep_.ExecuteAnalysis(nullptr, nullptr), 0);
    EXPECT_EQ(
        std::vector<CString>(engine_.Commands().begin() + static_cast<long>(before),
                             engine_.Commands().end()),
        (std::vector<CString>{"set temp = 1", "set temp = 250", "op;", "set -temp", "set -temp"}));
}

TEST_F(SweepRun, WithoutGroupingEachValueGetsAPageOfItsOwn) {
    tsweep_.SetSweepType(ParameterSweep::TemperatureSweep);
    tsweep_.SetSweepAnalysisType(ParameterSweep::InnerTran);
    tsweep_.SetGroupAllTraces(0);
    SetList(tsweep_.GetVariation(), {250, 350});

    EXPECT_EQ(tsweep_.ExecuteAnalysis(nullptr, nullptr), 1);
    const auto& pages = engine_.GetGrapherPages();
    ASSERT_EQ(pages.size(), 2u);
    EXPECT_EQ(pages[0].GetTitle(), "Temperature Sweep: TEMP=250");
    EXPECT_EQ(pages[1].GetTitle(), "Temperature Sweep: TEMP=350");
    ASSERT_EQ(pages[1].GetTraces().size(), 1u);
    EXPECT_EQ(pages[1].GetTraces()[0].name, "v(out), Temperature=350");
    EXPECT_EQ(pages[1].GetXAxisName(), "time");
}

TEST_F(SweepRun, EngineRunsACopyOfTheCollectionsSweepWithTheRecordReadOverIt) {
    tsweep_.SetSweepType(ParameterSweep::TemperatureSweep);
    tsweep_.SetSweepAnalysisType(ParameterSweep::InnerOp);
    SetList(tsweep_.GetVariation(), {250});
    ParameterSweep request(tsweep_);
    SetList(request.GetVariation(), {300, 400});
    const CString command = request.toNutmegCommand();
    ASSERT_TRUE(command.view().starts_with("orvo tsweep ") && command.view().ends_with("}; "));
    const CString keyAndRecord = command.Mid(5, command.GetLength() - 7);

    // What follows "orvo" is the request; the collection's own settings stay as they were.
    EXPECT_EQ(engine_.ExecuteCommand(&analyses_, keyAndRecord), 1);
    EXPECT_EQ(engine_.Commands(), (std::vector<CString>{"set temp = 300", "op;", "set temp = 400",
                                                        "op;", "set -temp"}));
    EXPECT_EQ(tsweep_.GetVariation().GetNumListItems(), 1);
    EXPECT_EQ(engine_.GetAnalysisEventSink(), nullptr);
    ASSERT_EQ(engine_.GetGrapherPages().size(), 1u);
    EXPECT_EQ(engine_.GetGrapherPages()[0].GetTraces()[0].x, (std::vector<double>{300, 400}));

    // Keywords are case-sensitive, and there is nothing to copy without a collection.
    EXPECT_EQ(engine_.ExecuteCommand(&analyses_, "TSWEEP" + keyAndRecord.Mid(6)), 0);
    EXPECT_EQ(engine_.ExecuteCommand(nullptr, keyAndRecord), 0);
    EXPECT_EQ(engine_.Commands().size(), 5u);
    // A sweep that belongs to no collection has no engine to run on.
    ParameterSweep loose;
    EXPECT_EQ(loose.ExecuteAnalysis("outer", nullptr), 0);
    EXPECT_EQ(loose.GetOuterLabel(), "outer");
}

} // namespace
