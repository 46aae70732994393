// Worst case on the scripted simulator: sensitivity signs, band ends, transient, report.
#include "tests/analyses/wcmc_fixture.h"

#include <gtest/gtest.h>

#include <numbers>

using canal_test::ScriptedAnswer;
using canal_test::ScriptedEngine;
using canal_test::ScriptedPlot;
using namespace wcmc_test;

namespace {

std::string Tolerances() {
    return "TolSpecList:list{" + TolSpec("r1", "", "resistance", 1e3, 10) + " " +
           TolSpec("r2", "", "resistance", 2e3, 10) + " " + TolSpec("", "qn", "bf", 100, 20) + " " +
           TolSpec("", "rmod", "tc1", 0.001, 50) + "}";
}

struct WorstCaseTest : WcMcRun<Analyses::Worst> {
    /// Reads `settings` with the four tolerances r1, r2, bf and tc1.
    void Load(const std::string& settings) { WcMcRun::Load(settings + " " + Tolerances()); }
    /// The last values written for r1, r2, bf and tc1.
    std::string Ends() const {
        return (engine.LastValue({"Resistor", "rmod", "r1", "resistance"}) + " " +
                engine.LastValue({"Resistor", "rmod", "r2", "resistance"}) + " " +
                engine.LastValue({"BJT", "qn", "bf"}) + " " +
                engine.LastValue({"Resistor", "rmod", "tc1"}))
            .str();
    }
    Analyses::Worst& worst = analysis;
};

// v(out) = r1 / 1000 * 100 / bf at the operating point; the sensitivity plot
// says r1 pushes it up, bf down, r2 not at all, and has nothing on tc1.
ScriptedAnswer DcCircuit(const CString& command, const ScriptedEngine& e) {
    if (command.Find("sens") >= 0) {
        ScriptedPlot sens;
        sens.name = "sens1";
        sens.vectors = {"R1_RESISTANCE", "r2_resistance", "qn:bf"};
        sens.rows = {{1e-3, 0.0, -0.01}};
        return {1, {sens}};
    }
    return {1, {OpPoint("v(out)", R1(e) / 1e3 * 100.0 / Bf(e))}};
}

} // namespace

TEST_F(WorstCaseTest, DcSensitivitySignsAndTheFilterChooseTheBandEnds) {
    Load("OutputVariable:string{v(out)}");
    engine.SetScript(DcCircuit);
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(engine.Commands(),
              (std::vector<CString>{"op;", "sens  -env-options v(out,$0) ", "op;"}));
    EXPECT_EQ(engine.ParameterSets().size(), 8u) << "nominal and worst run, four tolerances each";
    EXPECT_EQ(Ends(), "1100 2000 80 0.001") << "zero or no sensitivity stays nominal";
    ExpectNoPlaceholder(engine);
    EXPECT_DOUBLE_EQ(worst.GetRuns()[1].y, 1.1 * 1.25);

    EXPECT_EQ(LogText(engine, "Worst Case Results"),
              "Worst Case Results\n"
              "Output variable: v(out)\n"
              "Function: MAX\n"
              "Nominal Run: 1\n"
              "Worst Case Run: 1.375, 0.375 higher at DC operating point\n"
              "Sensitivity\n"
              "  DC operating point for all devices:\n"
              "    r1 resistance: 0.001\n"
              "    r2 resistance: 0 no sensitivity: stays nominal\n"
              "    qn bf: -0.01\n"
              "    rmod tc1: no sensitivity: stays nominal\n"
              "Tolerance changes needed to achieve worst case:\n"
              "  r1 resistance increased to 1100 (110% of nominal)\n"
              "  r2 resistance unchanged from 2000 (100% of nominal)\n"
              "  qn bf decreased to 80 (80% of nominal)\n"
              "  rmod tc1 unchanged from 0.001 (100% of nominal)\n");
    EXPECT_EQ(engine.GetGrapherPages()[0].GetTitle(), "Worst Case Analysis");

    // Pushing the output down takes the other ends; only varied tolerances move.
    worst.SetFilter(WcMcAnalysis::FilterLow);
    worst.SetVary(WcMcAnalysis::VaryLotOnly);
    Execute();
    EXPECT_EQ(Ends(), "1000 2000 100 0.001");
    EXPECT_NE(engine.GetGrapherPages()[1].GetChartLogs()[0].ToText().find(
                  "    r1 resistance: 0.001 not varied: stays nominal\n"),
              std::string::npos);
    worst.SetVary(WcMcAnalysis::VaryDeviceOnly);
    Execute();
    EXPECT_EQ(Ends(), "900 2000 120 0.001");
    EXPECT_NE(LogText(engine, "Worst Case Results").find("0.375"), std::string::npos)
        << "the first page is kept";
}

TEST_F(WorstCaseTest, AcSensitivityIsReadNearTheNominalFrequencyAndAQuarterTurnCountsAsZero) {
    Load("OutputVariable:string{out} AnalysisType:int{1}");
    engine.SetScript([](const CString& command, const ScriptedEngine& e) {
        ScriptedPlot plot;
        plot.type = AT_AC;
        plot.scaleIndex = 0;
        if (command.Find("sens") >= 0) {
            // At 10 Hz r1 is a quarter turn off (no sign), bf 45 degrees; the
            // other rows say otherwise and must not count.
            plot.vectors = {"frequency", "r1_resistance", "qn:bf"};
            plot.rows = {{1.0, -1.0, -1.0}, {10.0, 0.0, 1.0}, {100.0, 1.0, -1.0}};
            plot.imagRows = {{0.0, 0.0, 0.0}, {0.0, 2.0, 1.0}, {0.0, 0.0, 0.0}};
            return ScriptedAnswer{1, {plot}};
        }
        // A purely imaginary peak at 10 Hz: its magnitude is what is measured.
        const double gain = Bf(e) / 100.0;
        plot.vectors = {"frequency", "v(out)"};
        plot.rows = {{1.0, 0.0}, {10.0, 0.0}, {100.0, 0.5 * gain}};
        plot.imagRows = {{0.0, 1.0 * gain}, {0.0, 3.0 * gain}, {0.0, 0.0}};
        return ScriptedAnswer{1, {plot}};
    });
    EXPECT_EQ(Execute(), 1);

    const AcAnalysis ac;
    ASSERT_EQ(engine.Commands().size(), 3u);
    EXPECT_EQ(engine.Commands()[0], ac.toNutmegCommand());
    EXPECT_EQ(engine.Commands()[1],
              ac.GetAxisCmd() + "sens  -env-options v(out,$0) ac " + ac.GetACArguments());
    EXPECT_DOUBLE_EQ(worst.GetRuns()[0].phase, std::numbers::pi / 2);
    EXPECT_EQ(Ends(), "1000 2000 120 0.001") << "a quarter turn has no sign";

    const std::string log = LogText(engine, "Worst Case Results");
    EXPECT_NE(log.find("Nominal Run: 3 at frequency = 10\n"
                       "Worst Case Run: 3.6, 0.6 higher at frequency = 10\n"
                       "Sensitivity\n"
                       "  AC analysis for all devices:\n"
                       "    r1 resistance: 2, phase 1.5708 no sensitivity: stays nominal\n"
                       "    r2 resistance: no sensitivity: stays nominal\n"
                       "    qn bf: 1.41421, phase 0.785398\n"),
              std::string::npos)
        << log;
}

TEST_F(WorstCaseTest, TransientRunsEachToleranceAtItsUpperEndForTheSign) {
    Load("OutputVariable:string{v(out)} AnalysisType:int{2}");
    engine.SetScript(PeakFromParameters);
    EXPECT_EQ(Execute(), 1);
    // Nominal, r1 up, r2 up, bf up, tc1 up, then the worst case: no sensitivity command.
    EXPECT_EQ(engine.Commands(), std::vector<CString>(6, worst.GetTran().toNutmegCommand()));
    ExpectNoPlaceholder(engine);

    const std::string log = LogText(engine, "Worst Case Results");
    EXPECT_NE(log.find("Nominal Run: 1 at time = 0.5\n"
                       "Worst Case Run: 1.375, 0.375 higher at time = 0.5\n"
                       "Sensitivity\n"
                       "  Transient analysis for all devices:\n"
                       "    change of the measured value per unit of the parameter, from one "
                       "run per tolerance at the upper end of its band\n"
                       "    r1 resistance: 0.001\n"
                       "    r2 resistance: 0 no sensitivity: stays nominal\n"),
              std::string::npos)
        << log;
    // Every run in the order made, a trace and a table row each, with the values it ran with.
    const CGrapherPage& page = engine.GetGrapherPages()[0];
    std::string runs;
    for (size_t k = 0; k < page.GetTraces().size(); ++k) {
        const std::vector<CString>& row = page.GetCharts().at(0).rows.at(k);
        runs += page.GetTraces()[k].name.str() + "|" + row[1].str() + ":";
        for (size_t c = 5; c < row.size(); ++c)
            runs += " " + row[c].str();
        runs += "\n";
    }
    EXPECT_EQ(runs,
              "Nomimal|Nominal Run: 1000 2000 100 0.001\n"
              "Tolerance Run: r1 resistance|Tolerance Run: r1 resistance: 1100 2000 100 0.001\n"
              "Tolerance Run: r2 resistance|Tolerance Run: r2 resistance: 1000 2200 100 0.001\n"
              "Tolerance Run: qn bf|Tolerance Run: qn bf: 1000 2000 120 0.001\n"
              "Tolerance Run: rmod tc1|Tolerance Run: rmod tc1: 1000 2000 100 0.0015\n"
              "Worst Case Run|Worst Case Run: 1100 2000 80 0.001\n");
}

TEST_F(WorstCaseTest, CurrentOutputsAndNegativeNominalsPickTheRightSourceAndEnd) {
    WcMcRun::Load("OutputVariable:string{i(vin)} TolSpecList:list{" +
                  TolSpec("vin", "", "dc", -5.0, 10) + "}");
    engine.SetScript([](const CString& command, const ScriptedEngine& e) {
        if (command.Find("sens") >= 0) {
            ScriptedPlot sens;
            sens.vectors = {"vin_dc"};
            sens.rows = {{0.5}};
            return ScriptedAnswer{1, {sens}};
        }
        return ScriptedAnswer{
            1, {OpPoint("i(vin)", Set(e, {"Vsource", "", "vin", "dc"}, -5.0) * 0.5)}};
    });
    EXPECT_EQ(Execute(), 1);
    EXPECT_EQ(engine.Commands()[1], "sens  -env-options i(vin) ");
    // The output rises with dc, so the worst (highest) case raises dc: -4.5, not -5.5.
    EXPECT_EQ(engine.LastValue({"Vsource", "", "vin", "dc"}), "-4.5");
    EXPECT_NE(LogText(engine, "Worst Case Results")
                  .find("  vin dc increased to -4.5 (90% of "
                        "nominal)\n"),
              std::string::npos);

    // A stop asked for during the nominal run leaves the worst case unmade.
    engine.StopAfterPolls(engine.StopPolls());
    Execute();
    EXPECT_EQ(engine.Commands().size(), 4u);
    EXPECT_NE(engine.GetGrapherPages()[1].GetChartLogs()[0].ToText().find(
                  "The worst case run was not made."),
              std::string::npos);
}
