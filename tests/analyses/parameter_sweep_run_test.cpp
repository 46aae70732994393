// Sweep runs on the scripted engine: requests in order with names from the circuit, the value
// put back afterwards, the traces each inner analysis leaves, nested levels, failures, stops
// and pages, and the engine request that runs a copy of the collection's sweep.
#include "analyses/compound/psweep.h"
#include "analyses/core/analysis_text.h"
#include "tests/support/scripted_engine.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

using canal_test::ScriptedAnswer;
using canal_test::ScriptedEngine;
using canal_test::ScriptedPlot;
using Lines = std::vector<std::string>;
using Values = std::vector<double>;

// The last temperature set before the current command (300.15 without one).
double Temperature(const ScriptedEngine& engine) {
    const auto& commands = engine.Commands();
    for (auto it = commands.rbegin(); it != commands.rend(); ++it)
        if (it->view().starts_with("set temp = "))
            return std::atof(it->c_str() + 11);
    return 300.15;
}

// A plot of v(out) = `value` (and i(v1)) for an operating point; over a scale of two points
// for a transient, complex for an AC sweep.
ScriptedPlot Plot(const CString& command, double value) {
    ScriptedPlot plot;
    if (command == "op;") {
        plot.vectors = {"v(out)", "i(v1)"};
        plot.rows = {{value, -0.001}};
        return plot;
    }
    const bool ac = command.Find("ac  -env-options") >= 0;
    plot.vectors = {ac ? "frequency" : "time", "v(out)"};
    plot.scaleIndex = 0;
    plot.rows = {{1, value}, {2, 2 * value}};
    if (ac)
        plot.imagRows = {{0, -value}, {0, -2 * value}};
    return plot;
}

// A collection on a scripted engine over a small circuit. Every inner run answers with a plot
// that tells the temperature; Requests() lists "exec: ..." and "param ..." in the order they
// reached the engine.
class SweepRun : public ::testing::Test {
protected:
    void SetUp() override {
        CSpiceCircuit circuit = engine_.Circuit();
        circuit.AddDevice("Resistor")
            .AddModel("rmod")
            .AddInstance("r1", {{"resistance", 1e3}})
            .AddInstance("r2", {{"resistance", 2e3}});
        circuit.AddDevice("Diode").AddModel("dmod", {{"is", 1e-14}});
        Answer([](const CString& command, const ScriptedEngine& e) {
            ScriptedAnswer answer;
            if (!command.view().starts_with("set "))
                answer.plots.push_back(Plot(command, Temperature(e)));
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
    Lines Requests() {
        Flush();
        return requests_;
    }
    const CGrapherPage& OnlyPage() {
        EXPECT_EQ(engine_.GetGrapherPages().size(), 1u);
        return engine_.GetGrapherPages().front();
    }

    ScriptedEngine engine_;
    Analyses analyses_{&engine_};
    ParameterSweep& sweep_ = analyses_.GetPsweep().GetParameterSweep();

private:
    void Flush() {
        for (; sets_ < engine_.ParameterSets().size(); ++sets_) {
            const auto& set = engine_.ParameterSets()[sets_];
            std::string line = "param " + std::to_string(set.id);
            for (const CString& name : set.names)
                line += " " + name.str();
            requests_.push_back(line + " = " + set.value.str());
        }
    }
    Lines requests_;
    size_t sets_ = 0;
};

// A page as one text: title, x axis and unit, then per trace its name and points (x,re[,im]).
std::string PageText(const CGrapherPage& page) {
    std::string text = page.GetTitle().str() + " | " + page.GetXAxisName().str() + " [" +
                       page.GetXAxisUnit().str() + "]\n";
    for (const CGrapherTrace& t : page.GetTraces()) {
        text += t.name.str() + ":";
        for (size_t i = 0; i < t.x.size(); ++i)
            text += " " + FormatNumber(t.x[i]).str() + "," + FormatNumber(t.re[i]).str() +
                    (t.IsComplex() ? "," + FormatNumber(t.im[i]).str() : "");
        text += "\n";
    }
    return text;
}

void Configure(ParameterSweep& sweep, const char* record) {
    ASSERT_EQ(sweep.fromPropertyList(CPropertyList(CString(record))), 1) << record;
}

const char* const kTemperatures = "SweepType:int{2} AnalysisType:int{0} "
                                  "TemperatureSweep:list{Variation:int{3} List:array{250 350}}";

TEST_F(SweepRun, TemperatureOverOperatingPointPlotsOnePointPerValue) {
    Configure(sweep_, kTemperatures);
    engine_.SetIPlot("V(OUT)"); // names compare ignoring case; i(v1) is not asked for

    EXPECT_EQ(sweep_.ExecuteAnalysis(nullptr, nullptr), 1);
    // No value stored for the temperature: the circuit's own comes back with "set -temp".
    EXPECT_EQ(Requests(), (Lines{"exec: set temp = 250", "exec: op;", "exec: set temp = 350",
                                 "exec: op;", "exec: set -temp"}));
    EXPECT_EQ(PageText(OnlyPage()), "Parameter Sweep | Temperature [K]\nv(out): 250,250 350,350\n");
    EXPECT_EQ(OnlyPage().GetFontName(), "Times New Roman");
    EXPECT_EQ(OnlyPage().GetKeepPageOpen(), 0) << "cleared when the page is finished";
    EXPECT_EQ(sweep_.GetCurrentLabel(), "Temperature=350");
    EXPECT_EQ(sweep_.GetSweepIterLabel(), "TEMP=350");
    EXPECT_EQ(engine_.GetAnalysisEventSink(), nullptr) << "the sink before the run is back";
    EXPECT_FALSE(engine_.HasOpenGrapherPage());
}

TEST_F(SweepRun, InstanceSweepOverAcAddsAComplexTracePerValueAndRestoresTheStoredValue) {
    Configure(sweep_, "AnalysisType:int{1} InstToSweep:list{name:string{r2}} "
                      "InstParamToSweep:list{name:string{resistance} value:double{1500}} "
                      "DeviceSweep:list{Variation:int{0} Start:double{1000} Stop:double{1e5} "
                      "NumItems:double{0}}");
    long counter = 0;
    EXPECT_EQ(sweep_.ExecuteAnalysis(nullptr, &counter), 1);
    EXPECT_EQ(counter, 3);
    // Names come from the circuit; values travel as items, in their shortest exact text.
    const std::string ac = "exec: " + sweep_.GetAc().toNutmegCommand().str();
    EXPECT_EQ(Requests(), (Lines{"param 2018 Resistor rmod r2 resistance = 1000", ac,
                                 "param 2018 Resistor rmod r2 resistance = 10000", ac,
                                 "param 2018 Resistor rmod r2 resistance = 1e+05", ac,
                                 "param 2018 Resistor rmod r2 resistance = 1500"}));
    // Every vector but the scale without an iplot.
    EXPECT_EQ(PageText(OnlyPage()),
              "Parameter Sweep | frequency [Hz]\n"
              "v(out), r2[resistance]=1000: 1,300.15,-300.15 2,600.3,-600.3\n"
              "v(out), r2[resistance]=10000: 1,300.15,-300.15 2,600.3,-600.3\n"
              "v(out), r2[resistance]=100000: 1,300.15,-300.15 2,600.3,-600.3\n");
    EXPECT_EQ(sweep_.GetTraceName(2), "v(out), r2[resistance]=100000");
    EXPECT_EQ(sweep_.GetRealPlotFlag(), 0);
}

TEST_F(SweepRun, ModelSweepOverTransientRestoresTheCircuitsValueAndNeedsASnapIn) {
    // The parameter record holds no value: the circuit's present one is put back.
    Configure(sweep_, "SweepType:int{1} ModelToSweep:list{model:string{dmod} isinst:int{0}} "
                      "ModelParamToSweep:list{name:string{is}} "
                      "ModelSweep:list{Variation:int{2} Start:double{1e-12} Stop:double{4e-12} "
                      "NumItems:double{0}}");
    engine_.SetIPlot("v(out) time nosuch");
    EXPECT_EQ(sweep_.ExecuteAnalysis(nullptr, nullptr), 1);
    const std::string tran = "exec: " + sweep_.GetTran().toNutmegCommand().str();
    EXPECT_EQ(
        Requests(),
        (Lines{"param 2019 Diode dmod is = 1e-12", tran, "param 2019 Diode dmod is = 2e-12", tran,
               "param 2019 Diode dmod is = 4e-12", tran, "param 2019 Diode dmod is = 1e-14"}));
    // The scale and unknown names are no traces.
    EXPECT_EQ(PageText(OnlyPage()), "Parameter Sweep | time [s]\n"
                                    "v(out), dmod[is]=1e-12: 1,300.15 2,600.3\n"
                                    "v(out), dmod[is]=2e-12: 1,300.15 2,600.3\n"
                                    "v(out), dmod[is]=4e-12: 1,300.15 2,600.3\n");

    engine_.SetSimulatorSnapIn(nullptr);
    EXPECT_EQ(sweep_.ExecuteAnalysis(nullptr, nullptr), 1);
    EXPECT_EQ(Requests().size(), 10u) << "three more runs, no parameter changes";
}

TEST_F(SweepRun, NestedSweepRunsInFullForEveryOuterValue) {
    Configure(sweep_, "AnalysisType:int{3} InstToSweep:list{name:string{r1}} "
                      "InstParamToSweep:list{name:string{resistance} value:double{1000}} "
                      "DeviceSweep:list{Variation:int{3} List:array{1000 2000}}");
    Configure(*sweep_.GetNestedSweep(), kTemperatures);
    engine_.SetIPlot("v(out)");

    long counter = 10;
    EXPECT_EQ(sweep_.ExecuteAnalysis(nullptr, &counter), 1);
    EXPECT_EQ(counter, 16) << "one count per value at every level";
    // The inner level puts its value back after every outer value, the outer one last.
    const Lines inner = {"exec: set temp = 250", "exec: op;", "exec: set temp = 350", "exec: op;",
                         "exec: set -temp"};
    Lines expected = {"param 2018 Resistor rmod r1 resistance = 1000"};
    expected.insert(expected.end(), inner.begin(), inner.end());
    expected.push_back("param 2018 Resistor rmod r1 resistance = 2000");
    expected.insert(expected.end(), inner.begin(), inner.end());
    expected.push_back("param 2018 Resistor rmod r1 resistance = 1000");
    EXPECT_EQ(Requests(), expected);

    // The innermost level's x.
    EXPECT_EQ(PageText(OnlyPage()), "Parameter Sweep | Temperature [K]\n"
                                    "v(out), r1[resistance]=1000: 250,250 350,350\n"
                                    "v(out), r1[resistance]=2000: 250,250 350,350\n");
    EXPECT_EQ(OnlyPage().GetChartLogs()[0].GetEntries()[3].text, "SWEEP#14: r1[resistance]=2000");
    EXPECT_EQ(sweep_.GetNestedSweep()->GetCurrentLabel(), "r1[resistance]=2000, Temperature=350");
}

TEST_F(SweepRun, FailedCommandOrStopPollEndsEveryLevelWhichStillRestores) {
    Configure(sweep_, "AnalysisType:int{3} InstToSweep:list{name:string{r1}} "
                      "InstParamToSweep:list{name:string{resistance} value:double{1000}} "
                      "DeviceSweep:list{Variation:int{3} List:array{1 2 3}}");
    Configure(*sweep_.GetNestedSweep(), kTemperatures);
    int runs = 0;
    Answer([&](const CString& command, const ScriptedEngine& e) {
        ScriptedAnswer answer;
        if (command == "op;") {
            answer.result = ++runs == 3 ? 0 : 1;
            answer.plots.push_back(Plot(command, Temperature(e)));
        }
        return answer;
    });
    // clang-format off
    const Lines expected = {
        "param 2018 Resistor rmod r1 resistance = 1",
        "exec: set temp = 250", "exec: op;", "exec: set temp = 350", "exec: op;", "exec: set -temp",
        "param 2018 Resistor rmod r1 resistance = 2",
        "exec: set temp = 250", "exec: op;", "exec: set -temp",
        "param 2018 Resistor rmod r1 resistance = 1000"};
    // clang-format on
    EXPECT_EQ(sweep_.ExecuteAnalysis(nullptr, nullptr), 0);
    EXPECT_EQ(Requests(), expected);
    EXPECT_EQ(engine_.GetGrapherPages()[0].GetChartLogs()[0].GetEntries().back().text,
              "A simulator command failed; the sweep stopped.");

    // The same walk stopped by the poll during the third run: the same requests.
    runs = -100;
    engine_.StopAfterPolls(engine_.StopPolls() + 2);
    EXPECT_EQ(sweep_.ExecuteAnalysis(nullptr, nullptr), 0);
    EXPECT_TRUE(sweep_.IsStopRequested());
    Lines twice = expected;
    twice.insert(twice.end(), expected.begin(), expected.end());
    EXPECT_EQ(Requests(), twice);
    EXPECT_EQ(engine_.GetGrapherPages()[1].GetChartLogs()[0].GetEntries().back().text,
              "Stopped on request.");
}

TEST_F(SweepRun, WithoutGroupingEachValueGetsAPageOfItsOwn) {
    Configure(sweep_, "SweepType:int{2} GroupTraces:int{0} "
                      "TemperatureSweep:list{Variation:int{3} List:array{250 350}}");
    sweep_.SetNickName("TSWEEP");
    EXPECT_EQ(sweep_.ExecuteAnalysis(nullptr, nullptr), 1);
    const auto& pages = engine_.GetGrapherPages();
    ASSERT_EQ(pages.size(), 2u);
    EXPECT_EQ(PageText(pages[1]), "Temperature Sweep: TEMP=350 | time [s]\n"
                                  "v(out), Temperature=350: 1,350 2,700\n");
}

TEST_F(SweepRun, EngineRunsACopyOfTheCollectionsSweepWithTheRecordReadOverIt) {
    ParameterSweep& tsweep = analyses_.GetTsweep().GetParameterSweep();
    Configure(tsweep, kTemperatures);
    ParameterSweep request(tsweep);
    Configure(request, "TemperatureSweep:list{List:array{300 400}}");
    const CString command = request.toNutmegCommand();
    ASSERT_TRUE(command.view().starts_with("orvo tsweep ") && command.view().ends_with("}; "));
    const CString keyAndRecord = command.Mid(5, command.GetLength() - 7);

    EXPECT_EQ(engine_.ExecuteCommand(&analyses_, keyAndRecord), 1);
    EXPECT_EQ(engine_.Commands(), (std::vector<CString>{"set temp = 300", "op;", "set temp = 400",
                                                        "op;", "set -temp"}));
    EXPECT_EQ(tsweep.GetVariation().GetNthListItem(0), 250) << "the collection's stays";
    EXPECT_EQ(engine_.GetAnalysisEventSink(), nullptr);
    EXPECT_EQ(OnlyPage().GetTraces()[0].x, (Values{300, 400}));

    // Keywords are case-sensitive; without a collection there is nothing to copy; a sweep
    // of no collection has no engine.
    EXPECT_EQ(engine_.ExecuteCommand(&analyses_, "TSWEEP" + keyAndRecord.Mid(6)), 0);
    EXPECT_EQ(engine_.ExecuteCommand(nullptr, keyAndRecord), 0);
    EXPECT_EQ(ParameterSweep().ExecuteAnalysis("outer", nullptr), 0);
    EXPECT_EQ(engine_.Commands().size(), 5u);
}

} // namespace
