// Fourier analysis: the derived transient run, the fourier statement, persistence, summary, checks.
#include "analyses/single/four.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace test;
using Four = Analyses::Four;

TEST(FourAnalysis, CommandWrapsOnlyNumericNamesAndFollowsTheDisplayFlags) {
    Four four;
    four.GetAnalysisNodes().SetNodesString("out 12 n3");
    EXPECT_EQ(CommandOf(four),
              "save all; -param hrange 0 0.002; tran  -env-options 1e-05 0.002 0 1e-05 auto_ic ; "
              "set nfreqs = 10; set polydegree = 1; set fourgridsize = 256; save all; "
              "iplot out V(12) n3 ; -param vscale lin; -param hrange 0 0 ;fourier /bar /plot 1000 "
              "out V(12) n3 ; set nfreqs = 9; set polydegree = 1; set fourgridsize = 200; ");
    four.SetDisplayPhase(1);
    four.SetNormalized(1);
    four.SetPlot(Four::Graph);
    four.SetVariation(ST_NONE);
    EXPECT_NE(CommandOf(four).Find("iplot out V(12) n3 ; -param hrange 0 0 ;fourier /+phase /bar "
                                   "/norm /plot /nochart 1000 out V(12) n3 ; "),
              -1)
        << CommandOf(four);
}

TEST(FourAnalysis, RunCoversTwoPeriodsEndingAtTheStopTime) {
    Four four;
    four.SetTStop(0.01);
    EXPECT_EQ(four.GetRunTran().toNutmegCommand(),
              "-param hrange 0.008 0.01; tran  -env-options 1e-05 0.01 0.008 1e-05 auto_ic ");
    // The derived run leaves the member alone; the user's settings run unchanged when asked for.
    four.GetTran().SetIc(TranAnalysis::Uic);
    const CString own =
        "-param hrange 0 0.001; tran  -env-options 0.001 0.001 0 0.001 uic auto_tstep auto_tmax ";
    EXPECT_EQ(four.GetTran().toNutmegCommand(), own);
    four.SetUseTran(1);
    EXPECT_EQ(four.GetRunTran().toNutmegCommand(), own);
}

TEST(FourAnalysis, HarmonicCountAndSamplingSetTheGrid) {
    struct Row {
        int harmonics;
        double pointsPerPeriod, grid;
    };
    // Points per period count even when the user did not ask for them.
    for (const Row& row : {Row{9, 10, 256}, Row{20, 10, 512}, Row{20, 30, 2048}, Row{9, 12, 256}}) {
        Four four;
        four.SetNumFreqs(row.harmonics);
        four.SetPointsPerPeriod(row.pointsPerPeriod);
        EXPECT_EQ(four.GetGridSize(), row.grid) << row.harmonics << " " << row.pointsPerPeriod;
    }
}

TEST(FourAnalysis, ScriptLeavesOutThePlotSetupAndTheRawFile) {
    Four four;
    four.GetAnalysisNodes().SetNodesString("out");
    four.SetAnalysisRawfile("four.raw");
    four.SetPlotTitle("F");
    four.SetUseAnalysisOptions(0);
    four.GetAnalysisNodes().SetShowDevAtEnd(0);
    EXPECT_EQ(four.toNutmegCommand(-1), "begin-scope page F; " + CommandOf(four) +
                                            "; if-error end-scope audit-log-show; ; end-scope ");
}

TEST(FourAnalysis, SimulationNeedsFrequencyStopTimeAndEnoughPoints) {
    Four four;
    auto expect = [&four](int can, const char* why) {
        EXPECT_EQ(four.CanSimulate(), can) << why;
        EXPECT_EQ(four.ExplainWhyCannotSimulate(), why);
    };
    expect(0, "Output variables must be specified before\nperforming a simulation.");
    four.GetAnalysisNodes().SetNodesString("out");
    expect(0, "Please set the \"Frequency under test\" to an appropriate value.");
    four.SetFundFreqSet(1);
    expect(0, "The stop value must be greater than zero.");
    four.SetUseTran(1);
    expect(1, "");
    four.SetUseTran(0);
    four.SetTStop(0.01);
    four.SetPointsPerPeriod(0.2); // exactly 2 / (N + 1) is enough
    expect(1, "");
    four.SetPointsPerPeriod(0.1);
    expect(0,
           "\"Sampling points per period\" or \"Sampling frequency\" must be greater than: 2000");
    four.SetUsePointsPerPeriod(1);
    expect(0, "\"Sampling points per period\" or \"Sampling frequency\" must be greater than: 0.2");
}

TEST(FourAnalysis, SummaryListsOnlyWhatIsSwitchedOn) {
    Four four;
    const std::string head =
        "Analysis settings\n  Fundamental frequency: 1000\n  Number of frequencies: 9\n";
    EXPECT_EQ(SettingsText(four), head + "  TStop: 0\n  Vertical axis scale: lin\n"
                                         "  Display line graph\n  Plot graph and chart\n");
    four.SetUseTran(1);
    four.SetUsePointsPerPeriod(1);
    four.SetUseDegPoly(1);
    four.SetDegPoly(4);
    four.SetDisplayPhase(1);
    four.SetNormalized(1);
    four.SetLineGraph(0);
    four.SetPlot(Four::Chart);
    // The transient settings stand in for the stop time.
    EXPECT_EQ(SettingsText(four),
              head + "  Initial Conditions: Automatically generate initial conditions\n"
                     "  Starting time (TSTART): 0\n  Stop time (TSTOP): 0.001\n"
                     "  Plotting increment (TSTEP): automatically calculated (less than: 0.001)\n"
                     "  Maximum time step (TMAX): automatically calculated (less than: 0.001)\n"
                     "  Number of points per period: 10\n"
                     "  Degree of polynomial used for interpolation: 4\n"
                     "  Vertical axis scale: lin\n  Display phase\n  Normalize graphs\n"
                     "  Plot chart\n");
    four.SetPlot(Four::Graph);
    EXPECT_TRUE(SettingsText(four).ends_with("\n  Plot graph\n"));
}

TEST(FourAnalysis, ResetKeepsTheSourceEstimatesAndClonesCopyThem) {
    Four four;
    four.SetLCMFreq(3000);
    four.SetGCDFreqSet(1);
    four.SetFmaxSet(1);
    four.SetFundFreq(500);
    four.reset();
    const std::unique_ptr<Analyses::Analysis> clone(four.Clone());
    const auto* copy = dynamic_cast<const Four*>(clone.get());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetLCMFreq(), 3000.0);
    EXPECT_EQ(copy->GetGCDFreqSet(), 1);
    EXPECT_EQ(copy->GetFmaxSet(), 0);
    EXPECT_EQ(copy->GetFundFreq(), 1000.0);
}

} // namespace
