// Monte Carlo on the scripted simulator: sequence, worst run, stop, statistics, logs, seeds.
#include "analyses/compound/wcmc_report.h"
#include "analyses/core/analysis_text.h"
#include "tests/analyses/wcmc_fixture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

using canal_test::ScriptedAnswer;
using canal_test::ScriptedEngine;
using namespace wcmc_test;

namespace {

struct MonteCarloTest : WcMcRun<Analyses::Monte> {
    MonteCarloTest() { Random::SetMasterSeed(1234); }
    /// Reads `settings` with v(out) as the output and the tolerances on r1 and bf.
    void Load(const std::string& settings) {
        WcMcRun::Load("OutputVariable:string{v(out)} " + settings + " " + UniqueR1AndLotBf());
    }
    Analyses::Monte& monte = analysis;
};

// Run k (in command order) peaks at peaks[k]; a NaN leaves v(out) out of the plot.
ScriptedEngine::Script PeaksByRun(std::vector<double> peaks) {
    return [peaks, k = size_t{0}](const CString&, const ScriptedEngine&) mutable {
        const double peak = peaks.at(k++);
        canal_test::ScriptedPlot plot = TranPeak(std::isnan(peak) ? 0.0 : peak);
        if (std::isnan(peak))
            plot.vectors[1] = "v(other)";
        return ScriptedAnswer{1, {plot}};
    };
}

} // namespace

TEST_F(MonteCarloTest, RunsNominalThenRandomRunsThenRepeatsTheWorstSet) {
    Load("NumRuns:int{4}");
    engine.SetScript(PeakFromParameters);
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(engine.Commands(), std::vector<CString>(6, monte.GetTran().toNutmegCommand()));
    // Two tolerances per run; the nominal run writes the nominal values.
    const auto& sets = engine.ParameterSets();
    ASSERT_EQ(sets.size(), 12u);
    EXPECT_EQ(std::to_string(sets[0].id) + "=" + sets[0].value.str() + " " +
                  std::to_string(sets[1].id) + "=" + sets[1].value.str(),
              "2018=1000 2019=100");
    ExpectNoPlaceholder(engine);

    const std::vector<WcMcRunData>& runs = monte.GetRuns();
    ASSERT_EQ(runs.size(), 6u);
    size_t worst = 1;
    for (size_t k = 1; k <= 4; ++k) {
        EXPECT_TRUE(runs[k].valid);
        EXPECT_NE(runs[k].y, runs[0].y) << "every random run moves the output";
        if (runs[k].y > runs[worst].y)
            worst = k;
    }
    // The last run repeats the highest one, with its very parameter values.
    EXPECT_EQ(runs[5].y, runs[worst].y);
    EXPECT_EQ(monte.GetAppliedSets()[5], monte.GetAppliedSets()[worst]);
    EXPECT_EQ(sets[10].value + sets[11].value, sets[2 * worst].value + sets[2 * worst + 1].value);

    // The draws do not depend on the simulation: drawing alone gives the same sets.
    Random::SetMasterSeed(1234);
    Analyses::Monte again(&analyses);
    again.WcMcAnalysis::fromPropertyList(monte.WcMcAnalysis::toPropertyList());
    std::vector<WcMcAnalysis::ParameterSet> drawn = again.DrawMcParameterSets();
    drawn.push_back(monte.GetAppliedSets()[worst]);
    EXPECT_EQ(drawn, monte.GetAppliedSets());

    const CGrapherPage& page = engine.GetGrapherPages().at(0);
    EXPECT_EQ(page.GetTitle() + "/" + page.GetFontName(), "Monte Carlo Analysis/Times New Roman");
    std::vector<CString> traces;
    for (const CGrapherTrace& t : page.GetTraces())
        traces.push_back(t.name);
    EXPECT_EQ(traces,
              (std::vector<CString>{"Nomimal", "Run #1", "Run #2", "Run #3", "Run #4", "Worst"}));
    const CGrapherChart& table = page.GetCharts().at(0);
    EXPECT_EQ(table.title, "Runs");
    EXPECT_EQ(table.columns, (std::vector<CString>{"index", "label", "value", "x", "valid",
                                                   "@r1[resistance]", "@@qn[bf]"}));
    ASSERT_EQ(table.rows.size(), 6u);
    EXPECT_EQ(table.rows[0],
              (std::vector<CString>{"0", "Nominal Run", "1", "0.5", "1", "1000", "100"}));
    // Tolerance values as the simulator was given them.
    EXPECT_EQ(table.rows[3][5], FormatNumber(monte.GetAppliedSets()[3][0]));
    EXPECT_EQ(LogText(engine, "Monte Carlo Results")
                  .find("Monte Carlo Results\nRandom seed: 1234\n"
                        "Output variable: v(out)\nFunction: MAX\n"
                        "Tolerances:\n  r1 resistance: Instance value: 10%, Distribution: "
                        "Uniform, Lot number: Unique\n"),
              0u);
}

TEST_F(MonteCarloTest, StatisticsSkipInvalidRunsButKeepTheDivisorAndTheLogSaysHowEachRunWent) {
    Load("NumRuns:int{4}");
    // Run 2 has no v(out); the repeated worst is run 3.
    engine.SetScript(PeaksByRun({1.0, 1.1, NAN, 1.2, 1.0, 1.2}));
    EXPECT_EQ(Execute(), 1);
    const std::string results = LogText(engine, "Monte Carlo Results");
    // (1 + 1.1 + 1.2 + 1) / 5, not / 4.
    EXPECT_NE(results.find("Runs made: 6\n"
                           "Runs with a valid measurement: 4 / 5\n"
                           "Mean: 0.86\n"
                           "Standard Deviation: 0.206107\n"
                           "Mean value for Time: 0.4\n"
                           "Standard Deviation for Time: 0.0894427\n"
                           "Worst run: Run #3\n"),
              std::string::npos)
        << results;
    const auto values = [&](size_t run) {
        return "    " + std::string(monte.GetRuns()[run].description.c_str()) + "\n";
    };
    EXPECT_EQ(LogText(engine, "Descriptions of the runs"),
              "Descriptions of the runs\n"
              "Run Log Descriptions\n"
              "  Nominal Run: 1 at time = 0.5 (same as nominal,  higher than mean by 0.14)\n"
              "    r1 resistance = 1000; qn bf = 100\n"
              "  Run #1: 1.1 at time = 0.5 (10% higher than nominal,  higher than mean by 0.24)\n" +
                  values(1) + "  Run #2: no valid measurement\n" + values(2) +
                  "  Run #3: 1.2 at time = 0.5 (20% higher than nominal,  higher than mean by "
                  "0.34)\n" +
                  values(3) +
                  "  Run #4: 1 at time = 0.5 (same as nominal,  higher than mean by 0.14)\n" +
                  values(4) +
                  "  Worst: 1.2 at time = 0.5 (20% higher than nominal,  higher than mean by "
                  "0.34)\n"
                  "    If Worst Run is equal to Run #3, worst value = 1.2 at time = 0.5\n" +
                  values(3));
    EXPECT_EQ(engine.GetGrapherPages()[0].GetCharts()[0].rows[2][2], "") << "no value, invalid";
}

TEST_F(MonteCarloTest, LowFilterAndListedRunsChooseWhatIsWorstAndWhatIsDescribed) {
    Load("NumRuns:int{4} Filter:int{0} OutputText:int{1} OutputTextRuns:string{0, 2-3}");
    engine.SetScript(PeaksByRun({1.0, 1.1, 0.8, 0.8, 0.9, 0.8}));
    Execute();
    EXPECT_EQ(monte.GetAppliedSets()[5], monte.GetAppliedSets()[2]) << "ties keep the first";
    std::string described;
    std::istringstream log(LogText(engine, "Descriptions of the runs"));
    for (std::string line; std::getline(log, line);)
        if (line.starts_with("  ") && !line.starts_with("    "))
            described += line.substr(2, line.find(':') - 2) + ";";
    EXPECT_EQ(described, "Nominal Run;Run #2;Run #3;");
    EXPECT_NE(
        LogText(engine, "Descriptions of the runs")
            .find("  Run #2: 0.8 at time = 0.5 (20% lower than nominal,  lower than mean by "),
        std::string::npos);

    monte.SetTextOutput(WcMcAnalysis::TextNoRuns);
    engine.SetScript(PeakFromParameters);
    Execute();
    EXPECT_EQ(engine.GetGrapherPages()[1].GetChartLogs()[1].GetEntries().size(), 1u)
        << "only the log type";
}

TEST_F(MonteCarloTest, RangeLimitsTheMeasurementToItsXWindow) {
    Load("NumRuns:int{1} UseRange:int{1} RangeLowX:double{0.75} RangeHighX:double{2}");
    engine.SetScript(PeaksByRun({1.0, 1.4, 1.4}));
    Execute();
    EXPECT_EQ(monte.GetRuns()[0].x, 1.0) << "the peak at 0.5 lies outside";
    EXPECT_EQ(monte.GetRuns()[0].y, 0.5);
    EXPECT_EQ(monte.GetRuns()[1].y, 0.7);
}

TEST_F(MonteCarloTest, WithoutAnyValidRunTheRepeatedRunUsesTheNominalValues) {
    Load("NumRuns:int{3}");
    engine.SetScript(PeaksByRun({NAN, NAN, NAN, NAN, NAN}));
    EXPECT_EQ(Execute(), 1);
    const auto& sets = engine.ParameterSets();
    ASSERT_EQ(sets.size(), 10u);
    EXPECT_EQ(sets[8].value + " " + sets[9].value, "1000 100");
    ExpectNoPlaceholder(engine);
    EXPECT_NE(LogText(engine, "Monte Carlo Results").find("Mean: 0\n"), std::string::npos);

    // FREQUENCY is not evaluated: every run is invalid, and the log says why.
    monte.SetFunction(WcMcAnalysis::FunctionFrequency);
    engine.SetScript(PeakFromParameters);
    Execute();
    for (const WcMcRunData& run : monte.GetRuns())
        EXPECT_FALSE(run.valid);
    EXPECT_NE(engine.GetGrapherPages()[1].GetChartLogs()[0].ToText().find(
                  "Function: FREQUENCY\n  The function FREQUENCY is not evaluated: every run is "
                  "left without a measurement.\n"),
              std::string::npos);
}

TEST_F(MonteCarloTest, StopRequestSkipsTheRemainingRunsAndTheRepeat) {
    Load("NumRuns:int{4}");
    engine.SetScript(PeakFromParameters);
    engine.StopAfterPolls(4); // answered during run 1, the second run
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(engine.Commands().size(), 2u);
    EXPECT_EQ(engine.ParameterSets().size(), 4u);
    EXPECT_NE(LogText(engine, "Monte Carlo Results")
                  .find("Runs made: 2\nStopped on request before Run #2\n"),
              std::string::npos);

    // A failing nominal run ends the analysis with failure.
    Analyses::Monte failing(&analyses);
    failing.SetOutputVariable("v(out)");
    engine.SetScript([](const CString&, const ScriptedEngine&) { return ScriptedAnswer{0, {}}; });
    EXPECT_EQ(failing.ExecuteAnalysis(nullptr), 0);
    EXPECT_EQ(engine.Commands().size(), 3u);
}

TEST_F(MonteCarloTest, EngineDispatchBuildsRunsAndForgetsTheAnalysis) {
    Load("NumRuns:int{2}");
    engine.SetScript(PeakFromParameters);
    const CString command = monte.WcMcAnalysis::toNutmegCommand();
    ASSERT_EQ(command.Left(5), "orvo ");
    // The host hands over everything after "orvo", up to the statement's end.
    EXPECT_EQ(engine.ExecuteCommand(&analyses, command.Mid(5, command.GetLength() - 7)), 1);
    EXPECT_EQ(engine.Commands().size(), 4u);
    EXPECT_EQ(engine.GetAnalysisEventSink(), nullptr);
    EXPECT_EQ(engine.GetGrapherPages().size(), 1u);
    EXPECT_FALSE(engine.HasOpenGrapherPage());
    EXPECT_EQ(engine.ExecuteCommand(&analyses, "monte NumRuns:int{2}"), 0);
}

TEST(WcMcOutput, FindsVoltagesDifferencesAndCurrentsAsPlotsNameThem) {
    CSpicePlotInfo plot;
    plot.vectorNames = {"frequency", "V(A)", "v(b)", "i(vin)", "out"};
    plot.vectorIsComplex = {false, true, true, true, false};
    CSpiceDataRow row;
    row.real = {10.0, 3.0, 1.0, 0.25, 7.0};
    row.imag = {0.0, 4.0, 1.0, -1.0, 0.0};
    const CComplex none(-99.0, -99.0);
    // Ground is no reference; a bare node vector is found; unknown names are not.
    const std::pair<const char*, CComplex> rows[] = {{"v(a)", {3.0, 4.0}},
                                                     {" a ", {3.0, 4.0}},
                                                     {"v(a,b)", {2.0, 3.0}},
                                                     {"a, b", {2.0, 3.0}},
                                                     {"v(a,0)", {3.0, 4.0}},
                                                     {"I(VIN)", {0.25, -1.0}},
                                                     {"vin#branch", {0.25, -1.0}},
                                                     {"v(out)", {7.0, 0.0}},
                                                     {"v(a,c)", none},
                                                     {"i(v2)", none}};
    for (const auto& [text, expected] : rows) {
        WcMcOutput output(text);
        CComplex v = none;
        bool isComplex = false;
        if (output.Bind(plot) && !output.Value(row, v, isComplex))
            v = none;
        EXPECT_EQ(v, expected) << text;
    }
    EXPECT_TRUE(WcMcOutput("i(vin)").IsCurrent());
    EXPECT_EQ(WcMcOutput("v(a, b)").GetRefNode(), "b");
    EXPECT_TRUE(WcMcOutput("  ").IsEmpty());
}
