// Fourier analysis: the derived transient run, the fourier statement, persistence, summary, checks.
#include "analyses/single/four.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace {

using namespace test;
using Four = Analyses::Four;

/// The text between `from` and the next `to` (both excluded), or "<missing>".
std::string Between(const CString& text, const char* from, const char* to) {
    const std::string& s = text.str();
    const size_t begin = s.find(from);
    if (begin == std::string::npos)
        return "<missing>";
    const size_t start = begin + std::string(from).size();
    const size_t end = s.find(to, start);
    return s.substr(start, end == std::string::npos ? std::string::npos : end - start);
}

std::vector<std::string> SummaryLines(const Four& four) {
    return Lines(SettingsText(four));
}

bool Contains(const std::vector<std::string>& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

TEST(FourAnalysis, DefaultCommandForOneNumericOutput) {
    Four four;
    four.GetAnalysisNodes().SetNodesString("1");
    EXPECT_EQ(CommandOf(four),
              "save all; -param hrange 0 0.002; tran  -env-options 1e-05 0.002 0 1e-05 auto_ic ; "
              "set nfreqs = 10; set polydegree = 1; set fourgridsize = 256; save all; "
              "iplot V(1) ; -param vscale lin; -param hrange 0 0 ;fourier /bar /plot 1000 V(1) ; "
              "set nfreqs = 9; set polydegree = 1; set fourgridsize = 200; ");
}

TEST(FourAnalysis, RunCoversTwoPeriodsEndingAtTheStopTime) {
    Four four;
    four.SetTStop(0.0005);
    EXPECT_EQ(Between(CommandOf(four), "save all; ", "; set nfreqs"),
              "-param hrange 0 0.002; tran  -env-options 1e-05 0.002 0 1e-05 auto_ic ");
    four.SetTStop(0.01);
    EXPECT_EQ(Between(CommandOf(four), "save all; ", "; set nfreqs"),
              "-param hrange 0.008 0.01; tran  -env-options 1e-05 0.01 0.008 1e-05 auto_ic ");

    // The derived run leaves the member alone; the user's settings run unchanged when asked for.
    four.GetTran().SetIc(TranAnalysis::Uic);
    EXPECT_EQ(
        four.GetTran().toNutmegCommand(),
        "-param hrange 0 0.001; tran  -env-options 0.001 0.001 0 0.001 uic auto_tstep auto_tmax ");
    four.SetUseTran(1);
    EXPECT_EQ(
        Between(CommandOf(four), "save all; ", "; set nfreqs"),
        "-param hrange 0 0.001; tran  -env-options 0.001 0.001 0 0.001 uic auto_tstep auto_tmax ");
}

TEST(FourAnalysis, HarmonicCountAndSamplingSetTheGrid) {
    Four four;
    four.SetNumFreqs(20);
    EXPECT_EQ(four.GetGridSize(), 512.0);
    CString cmd = CommandOf(four);
    EXPECT_NE(cmd.Find("set nfreqs = 21; "), -1);
    EXPECT_NE(cmd.Find("set fourgridsize = 512; "), -1);
    // Points per period count even when the user did not ask for them.
    four.SetPointsPerPeriod(30);
    EXPECT_EQ(four.GetGridSize(), 2048.0);
    four.SetNumFreqs(9);
    four.SetPointsPerPeriod(12);
    EXPECT_EQ(four.GetGridSize(), 256.0);
    four.SetUseDegPoly(1);
    four.SetDegPoly(3);
    cmd = CommandOf(four);
    EXPECT_NE(cmd.Find("set polydegree = 3; set fourgridsize = 256; "), -1) << cmd.c_str();
    EXPECT_NE(cmd.Find("set nfreqs = 9; set polydegree = 1; set fourgridsize = 200; "), -1);
}

TEST(FourAnalysis, OnlyNumericNodeNamesAreWrapped) {
    Four four;
    four.GetAnalysisNodes().SetNodesString("out 12 n3");
    const CString cmd = CommandOf(four);
    EXPECT_EQ(Between(cmd, "iplot ", ";"), "out V(12) n3 ");
    EXPECT_EQ(Between(cmd, "fourier ", ";"), "/bar /plot 1000 out V(12) n3 ");
}

TEST(FourAnalysis, DisplayFlagsAndPlotChoiceShapeTheFourierStatement) {
    Four four;
    four.GetAnalysisNodes().SetNodesString("out");
    four.SetDisplayPhase(1);
    four.SetLineGraph(0);
    four.SetNormalized(1);
    four.SetPlot(Four::Graph);
    four.SetFundFreq(50);
    EXPECT_EQ(Between(CommandOf(four), ";fourier ", ";"), "/+phase /norm /plot /nochart 50 out ");

    four.SetDisplayPhase(0);
    four.SetNormalized(0);
    four.SetLineGraph(1);
    four.SetPlot(Four::Chart);
    EXPECT_EQ(Between(CommandOf(four), ";fourier ", ";"), "/bar 50 out ");

    four.SetVariation(ST_LOG);
    EXPECT_NE(CommandOf(four).Find("iplot out ; -param vscale log; -param hrange 0 0 ;fourier "),
              -1);
    four.SetVariation(ST_NONE);
    EXPECT_NE(CommandOf(four).Find("iplot out ; -param hrange 0 0 ;fourier "), -1);
}

TEST(FourAnalysis, ScriptLeavesOutThePlotSetupAndTheRawFile) {
    Four four;
    four.GetAnalysisNodes().SetNodesString("out");
    four.SetAnalysisRawfile("four.raw");
    const CString script = four.toNutmegCommand(-1);
    EXPECT_EQ(script.Find("begin-scope page "), 0);
    EXPECT_EQ(script.Find("checknodes"), -1) << script.c_str();
    EXPECT_EQ(script.Find("write-and-destroy-iplot"), -1) << script.c_str();
    EXPECT_NE(script.Find(CommandOf(four)), -1);
}

TEST(FourAnalysis, SimulationNeedsFrequencyStopTimeAndEnoughPoints) {
    Four four;
    EXPECT_EQ(four.CanSimulate(), 0);
    EXPECT_EQ(four.ExplainWhyCannotSimulate(),
              "Output variables must be specified before\nperforming a simulation.");

    four.GetAnalysisNodes().SetNodesString("out");
    EXPECT_EQ(four.CanSimulate(), 0);
    EXPECT_EQ(four.ExplainWhyCannotSimulate(),
              "Please set the \"Frequency under test\" to an appropriate value.");

    four.SetFundFreqSet(1);
    EXPECT_EQ(four.CanSimulate(), 0);
    EXPECT_EQ(four.ExplainWhyCannotSimulate(), "The stop value must be greater than zero.");
    four.SetUseTran(1);
    EXPECT_EQ(four.CanSimulate(), 1);
    EXPECT_EQ(four.ExplainWhyCannotSimulate(), "");
    four.SetUseTran(0);
    four.SetTStop(0.01);
    EXPECT_EQ(four.CanSimulate(), 1);

    four.SetPointsPerPeriod(0.2);
    EXPECT_EQ(four.CanSimulate(), 1) << "exactly 2 / (N + 1) is enough";
    four.SetPointsPerPeriod(0.1);
    EXPECT_EQ(four.CanSimulate(), 0);
    EXPECT_EQ(
        four.ExplainWhyCannotSimulate(),
        "\"Sampling points per period\" or \"Sampling frequency\" must be greater than: 2000");
    four.SetUsePointsPerPeriod(1);
    EXPECT_EQ(four.ExplainWhyCannotSimulate(),
              "\"Sampling points per period\" or \"Sampling frequency\" must be greater than: 0.2");
}

TEST(FourAnalysis, SummaryListsOnlyWhatIsSwitchedOn) {
    Four four;
    std::vector<std::string> lines = SummaryLines(four);
    ASSERT_GE(lines.size(), 4u);
    EXPECT_EQ(lines[0], "Analysis settings");
    EXPECT_EQ(lines[1], "  Fundamental frequency: 1000");
    EXPECT_EQ(lines[2], "  Number of frequencies: 9");
    EXPECT_EQ(lines[3], "  TStop: 0");
    EXPECT_TRUE(Contains(lines, "  Display line graph"));
    EXPECT_EQ(lines.back(), "  Plot graph and chart");
    EXPECT_FALSE(Contains(lines, "  Display phase"));
    EXPECT_FALSE(Contains(lines, "  Normalize graphs"));

    four.SetUseTran(1);
    four.SetUsePointsPerPeriod(1);
    four.SetUseDegPoly(1);
    four.SetDegPoly(4);
    four.SetDisplayPhase(1);
    four.SetNormalized(1);
    four.SetLineGraph(0);
    four.SetPlot(Four::Chart);
    lines = SummaryLines(four);
    ASSERT_GE(lines.size(), 10u);
    EXPECT_EQ(lines[3], "  Initial Conditions: Automatically generate initial conditions");
    EXPECT_TRUE(Contains(lines, "  Number of points per period: 10"));
    EXPECT_TRUE(Contains(lines, "  Degree of polynomial used for interpolation: 4"));
    EXPECT_TRUE(Contains(lines, "  Display phase"));
    EXPECT_TRUE(Contains(lines, "  Normalize graphs"));
    EXPECT_FALSE(Contains(lines, "  Display line graph"));
    EXPECT_FALSE(Contains(lines, "  TStop: 0"));
    EXPECT_EQ(lines.back(), "  Plot chart");

    four.SetPlot(Four::Graph);
    EXPECT_EQ(SummaryLines(four).back(), "  Plot graph");
}

TEST(FourAnalysis, ResetKeepsTheSourceEstimatesAndClonesCopyThem) {
    Four four;
    four.SetLCMFreq(3000);
    four.SetLCMFreqSet(1);
    four.SetGCDFreq(500);
    four.SetGCDFreqSet(1);
    four.SetFmax(7);
    four.SetFmaxSet(1);
    four.SetFundFreq(500);
    four.reset();
    EXPECT_EQ(four.GetLCMFreq(), 3000.0);
    EXPECT_EQ(four.GetGCDFreqSet(), 1);
    EXPECT_EQ(four.GetFmaxSet(), 0);
    EXPECT_EQ(four.GetFundFreq(), 1000.0);

    std::unique_ptr<Analyses::Analysis> clone(four.Clone());
    const auto* copy = dynamic_cast<const Four*>(clone.get());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetLCMFreq(), 3000.0);
    EXPECT_EQ(copy->GetGCDFreq(), 500.0);
}

} // namespace
