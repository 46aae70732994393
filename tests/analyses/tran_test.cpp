// Transient analysis: step rules in the command, point counts, persistence, summary, checks.
#include "analyses/single/tran.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

namespace {

using namespace test;
using Tran = Analyses::Tran;

std::vector<std::string> SummaryLines(const TranAnalysis& settings) {
    return Lines(ReadableOf(settings));
}

TEST(TranAnalysis, DefaultsLetTheSimulatorChooseTheSteps) {
    Tran tran(nullptr);
    EXPECT_EQ(CommandOf(tran),
              "-param hrange 0 0.001; "
              "tran  -env-options 0.001 0.001 0 0.001 auto_ic auto_tstep auto_tmax ");
    // The span times the literal reciprocal of 1e-5 truncates to 99, not 100.
    EXPECT_EQ(tran.GetTpoints(), 99.0);
}

TEST(TranAnalysis, StepWrittenFollowsTheMaximumStepMode) {
    const char* const cases[][2] = {
        {"TSTEP:double{1e-6} TMAX:double{1e-5} IC:string{dcop}",
         "-param hrange 0 0.001; tran  -env-options 1e-06 0.001 0 1e-05 "},
        {"TSTEP:double{1e-6} TMAX:double{1e-5} TPOINTS:int{99} IC:string{uic}",
         "-param hrange 0 0.001; tran  -env-options 1e-06 0.001 0 1e-05 uic "},
        // A calculated increment without a maximum step is a fiftieth of the span.
        {"TMAX:string{not_used} IC:string{zero_ic}",
         "-param hrange 0 0.001; tran  -env-options 2e-05 0.001 0 zero_ic "},
        {"TMAX:double{4e-6} IC:string{zero_ic}",
         "-param hrange 0 0.001; tran  -env-options 4e-06 0.001 0 4e-06 zero_ic "},
    };
    for (const auto& [keys, command] : cases)
        EXPECT_EQ(CommandOf(*WithKeys("TRAN", keys)), command) << keys;
}

TEST(TranAnalysis, FixedStepOverridesEveryComputedStep) {
    Tran tran(nullptr);
    tran.SetTmax_mode(TranAnalysis::Calculate, 5e-6);
    EXPECT_EQ(CommandOf(tran),
              "-param hrange 0 0.001; "
              "tran  -env-options 5e-06 0.001 0 5e-06 auto_ic auto_tstep auto_tmax ");
    tran.SetTmax_mode(TranAnalysis::NotUsed, 5e-6);
    EXPECT_EQ(CommandOf(tran), "-param hrange 0 0.001; tran  -env-options 5e-06 0.001 0 auto_ic ");
    // An explicit maximum step is still written as stored.
    tran.SetTmax_mode(TranAnalysis::Explicit, 5e-6);
    EXPECT_EQ(CommandOf(tran),
              "-param hrange 0 0.001; tran  -env-options 5e-06 0.001 0 1e-05 auto_ic ");
}

TEST(TranAnalysis, InstrumentModeRunsOpenEndedWithSmallSteps) {
    Tran tran(nullptr);
    tran.reset_for_instrument(0);
    EXPECT_EQ(CommandOf(tran),
              "-param hrange 0 1e+30; save ; "
              "tran  -env-options 1e-05 1e+30 0 1e-05 auto_ic auto_tstep auto_tmax ");
    EXPECT_EQ(tran.GetTpoints(), 2000000000.0);
    // The flag survives a plain reset, which then keeps the open end.
    tran.reset();
    EXPECT_EQ(tran.GetTstop(), 1e30);

    Tran kept(nullptr);
    kept.SetTstop(0.01);
    kept.SetTmax(500, 0, 0);
    kept.SetUseAutoTmax(1);
    kept.reset_for_instrument(1);
    EXPECT_EQ(kept.GetTmax(), 0.001);
    EXPECT_EQ(kept.GetTstep(), 0.001);
    EXPECT_EQ(kept.GetTpoints(), 10.0);
    EXPECT_EQ(kept.GetUseAutoTmax(), 0);
    EXPECT_EQ(kept.GetTstop(), 0.01);
}

TEST(TranAnalysis, PointCountsAndStepsStayWithinTheirBounds) {
    Tran tran(nullptr);
    tran.SetTpoints(1, 1, 1);
    EXPECT_EQ(tran.GetTpoints(), 2.0);
    EXPECT_EQ(tran.GetTmax(), 0.0005);
    EXPECT_EQ(tran.GetTstep(), 0.0005);

    tran.SetTpoints(40, 1, 0);
    EXPECT_EQ(tran.GetTmax(), 0.001 / 40);
    EXPECT_EQ(tran.GetTstep(), 0.0005);

    tran.SetTmax(1e-4, 0, 1);
    EXPECT_EQ(tran.GetTpoints(), 10.0);
    tran.SetTmax(1, 0, 1);
    EXPECT_EQ(tran.GetTpoints(), 2.0);
    tran.SetTmax(1e-101, 0, 1);
    EXPECT_EQ(tran.GetTpoints(), 2.0);
    tran.SetTmax(1e-13, 0, 1);
    EXPECT_EQ(tran.GetTpoints(), 2000000000.0);
    tran.SetTmax(1e100, 0, 1);
    EXPECT_EQ(tran.GetTpoints(), 2000000000.0);

    tran.SetTstep(2e-5, 1, 1);
    EXPECT_EQ(tran.GetTmax(), 2e-5);
    EXPECT_EQ(tran.GetTpoints(), 50.0);
    tran.SetTstep(1e-6, 0, 1);
    EXPECT_EQ(tran.GetTpoints(), 50.0) << "recounted for the unchanged maximum step";
}

TEST(TranAnalysis, PersistedKeysDependOnTheModes) {
    // The default keys are pinned in the trace width request, which carries them.
    Tran tran(nullptr);
    tran.SetCalc_tstep(0);
    tran.SetTmax_mode(TranAnalysis::Explicit, -1.0);
    tran.SetTmax(3e-6, 0, 0);
    tran.SetIc(TranAnalysis::DcOp);
    Tran copy(nullptr);
    EXPECT_EQ(copy.fromPropertyItem(tran.toPropertyItem()), 1);
    EXPECT_EQ(copy.toPropertyItem().GetField(), tran.toPropertyItem().GetField());
    EXPECT_EQ(CommandOf(copy), CommandOf(tran));
    tran.SetTmax_mode(TranAnalysis::NotUsed, -1.0);
    EXPECT_EQ(copy.fromPropertyItem(tran.toPropertyItem()), 1);
    EXPECT_EQ(copy.GetTmax_mode(), TranAnalysis::NotUsed);
}

TEST(TranAnalysis, ReaderDerivesStepsFromWhatWasStored) {
    TranAnalysis settings;
    settings.fromPropertyList(CPropertyList("TSTEP:double{2e-6} TMAX:string{calculate}"));
    EXPECT_EQ(settings.GetTmax(), 2e-6);
    EXPECT_EQ(settings.GetTmax_mode(), TranAnalysis::Calculate);
    EXPECT_EQ(settings.GetCalc_tstep(), 0);

    settings.fromPropertyList(CPropertyList("TSTEP:double{1e-6} TMAX:string{whatever}"));
    EXPECT_EQ(settings.GetTmax(), 1e-6);
    EXPECT_EQ(settings.GetTmax_mode(), TranAnalysis::Calculate);
    settings.fromPropertyList(CPropertyList("TMAX:string{not_used}"));
    EXPECT_EQ(settings.GetTmax_mode(), TranAnalysis::NotUsed);

    settings.fromPropertyList(
        CPropertyList("TSTEP:string{calculate} TMAX:double{4e-6} USE_AUTO_TIME_STEP:int{1}"));
    EXPECT_EQ(settings.GetCalc_tstep(), 1);
    EXPECT_EQ(settings.GetTmax_mode(), TranAnalysis::Explicit);
    EXPECT_EQ(settings.GetTstep(), 4e-6);

    settings.fromPropertyList(CPropertyList("TSTART:double{0.002} TSTOP:double{0.003}"));
    EXPECT_EQ(settings.toNutmegCommand(),
              "-param hrange 0.002 0.003; tran  -env-options 4e-06 0.003 0.002 4e-06 auto_ic ");
}

TEST(TranAnalysis, MaximumStepBelowTheIncrementIsNotAccepted) {
    Tran tran(nullptr);
    tran.SetMaxPoints(20000);
    EXPECT_EQ(tran.CanAccept(), 1);

    tran.SetTmax(1e-6, 0, 0);
    EXPECT_EQ(tran.CanAccept(), 0);
    EXPECT_EQ(tran.GetAcceptErrors(), 2u);
    EXPECT_EQ(tran.ExplainWhyCannotAccept(), "Time step cannot exceed the maximum time step");
    EXPECT_EQ(tran.GetAcceptErrors(), 0u);

    // Unlike the base check, the transient one keeps the plot-size bit.
    tran.SetMaxPoints(9999);
    EXPECT_EQ(tran.CanAccept(), 0);
    EXPECT_EQ(tran.GetAcceptErrors(), 3u);
    EXPECT_EQ(tran.ExplainWhyCannotAccept(),
              "Maximum number of points for plot should be larger than 10000\n");

    tran.SetTmax(1e-5, 0, 0);
    tran.SetMaxPoints(10000);
    EXPECT_EQ(tran.CanAccept(), 1);
}

TEST(TranAnalysis, SummaryDescribesEachStepMode) {
    TranAnalysis settings;
    EXPECT_EQ(SummaryLines(settings),
              (std::vector<std::string>{
                  "Initial Conditions: Automatically generate initial conditions",
                  "Starting time (TSTART): 0",
                  "Stop time (TSTOP): 0.001",
                  "Plotting increment (TSTEP): automatically calculated (less than: 0.001)",
                  "Maximum time step (TMAX): automatically calculated (less than: 0.001)",
              }));

    settings.SetTmax_mode(TranAnalysis::NotUsed, -1.0);
    settings.SetUseAutoTmax(1);
    settings.SetIc(TranAnalysis::DcOp);
    EXPECT_EQ(SummaryLines(settings), (std::vector<std::string>{
                                          "Initial Conditions: DC operating point",
                                          "Starting time (TSTART): 0",
                                          "Stop time (TSTOP): 0.001",
                                          "Plotting increment (TSTEP): 2e-05",
                                          "Maximum time step (TMAX): Use default",
                                          "Automatic maximum time step estimation is used",
                                      }));

    settings.SetUseAutoTmax(0);
    settings.SetTmax_mode(TranAnalysis::Points, -1.0);
    settings.SetTmax(4e-6, 0, 1);
    settings.SetIc(TranAnalysis::Uic);
    std::vector<std::string> lines = SummaryLines(settings);
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0], "Initial Conditions: User defined");
    EXPECT_EQ(lines[3], "Plotting increment (TSTEP): 4e-06");
    // The step, not the count, follows the count's label.
    EXPECT_EQ(lines[4], "Number of timepoints: 4e-06");

    settings.SetCalc_tstep(0);
    settings.SetTmax_mode(TranAnalysis::Explicit, -1.0);
    settings.SetIc(TranAnalysis::ZeroIc);
    lines = SummaryLines(settings);
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0], "Initial Conditions: Zero initial conditions");
    EXPECT_EQ(lines[3], "Plotting increment (TSTEP): 1e-05");
    EXPECT_EQ(lines[4], "Maximum time step (TMAX): 4e-06");
}

} // namespace
