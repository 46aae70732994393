// Transient analysis: step rules in the command, point counts, persistence, summary, checks.
#include "analyses/single/tran.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using namespace test;
using Tran = Analyses::Tran;

/// Point count, maximum step and plotting increment, compared in one go.
std::tuple<double, double, double> Steps(const TranAnalysis& t) {
    return {t.GetTpoints(), t.GetTmax(), t.GetTstep()};
}

TEST(TranAnalysis, StepWrittenFollowsTheMaximumStepMode) {
    const char* const cases[][2] = {
        {"", "-param hrange 0 0.001; "
             "tran  -env-options 0.001 0.001 0 0.001 auto_ic auto_tstep auto_tmax "},
        {"TSTEP:double{1e-6} TMAX:double{1e-5} IC:string{dcop}",
         "-param hrange 0 0.001; tran  -env-options 1e-06 0.001 0 1e-05 "},
        // A calculated increment without a maximum step is a fiftieth of the span.
        {"TMAX:string{not_used} IC:string{zero_ic}",
         "-param hrange 0 0.001; tran  -env-options 2e-05 0.001 0 zero_ic "},
        {"TMAX:double{4e-6} IC:string{zero_ic}",
         "-param hrange 0 0.001; tran  -env-options 4e-06 0.001 0 4e-06 zero_ic "},
    };
    for (const auto& [keys, command] : cases)
        EXPECT_EQ(CommandOf(*WithKeys("TRAN", keys)), command) << keys;
    // The span times the literal reciprocal of 1e-5 truncates to 99, not 100.
    EXPECT_EQ(Tran(nullptr).GetTpoints(), 99.0);
}

TEST(TranAnalysis, FixedStepOverridesEveryComputedStep) {
    const char* const head = "-param hrange 0 0.001; tran  -env-options 5e-06 0.001 0 ";
    Tran tran(nullptr);
    tran.SetTmax_mode(TranAnalysis::Calculate, 5e-6);
    EXPECT_EQ(CommandOf(tran), CString(head) + "5e-06 auto_ic auto_tstep auto_tmax ");
    tran.SetTmax_mode(TranAnalysis::NotUsed, 5e-6);
    EXPECT_EQ(CommandOf(tran), CString(head) + "auto_ic ");
    // An explicit maximum step is still written as stored.
    tran.SetTmax_mode(TranAnalysis::Explicit, 5e-6);
    EXPECT_EQ(CommandOf(tran), CString(head) + "1e-05 auto_ic ");
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

    // Keeping the user's settings drops only a maximum step no instrument can sample with.
    Tran kept(nullptr);
    kept.SetTstop(0.01);
    kept.SetTmax(500, 0, 0);
    kept.SetUseAutoTmax(1);
    kept.reset_for_instrument(1);
    EXPECT_EQ(Steps(kept.GetTranAnalysis()), std::make_tuple(10.0, 0.001, 0.001));
    EXPECT_EQ(kept.GetUseAutoTmax(), 0);
}

TEST(TranAnalysis, PointCountsAndStepsStayWithinTheirBounds) {
    TranAnalysis t;
    t.SetTpoints(1, 1, 1);
    EXPECT_EQ(Steps(t), std::make_tuple(2.0, 0.0005, 0.0005));
    t.SetTpoints(40, 1, 0);
    EXPECT_EQ(Steps(t), std::make_tuple(40.0, 0.001 / 40, 0.0005));
    // Counts from a maximum step are held between 2 and two billion.
    const double rows[][2] = {{1e-4, 10}, {1, 2}, {1e-101, 2}, {1e-13, 2e9}, {1e100, 2e9}};
    for (const auto& [step, points] : rows) {
        t.SetTmax(step, 0, 1);
        EXPECT_EQ(t.GetTpoints(), points) << step;
    }
    t.SetTstep(2e-5, 1, 1);
    EXPECT_EQ(Steps(t), std::make_tuple(50.0, 2e-5, 2e-5));
    t.SetTstep(1e-6, 0, 1);
    EXPECT_EQ(t.GetTpoints(), 50.0) << "recounted for the unchanged maximum step";
}

TEST(TranAnalysis, StoredKeysRoundTripAndTheReaderDerivesSteps) {
    // The default keys are pinned in the trace width request, which carries them.
    for (const char* stored :
         {"TSTEP:double{1e-06} TSTOP:double{0.001} TSTART:double{0} TMAX:double{3e-06} "
          "USE_AUTO_TIME_STEP:int{0} IC:string{dcop}",
          "TSTEP:double{1e-06} TSTOP:double{0.001} TSTART:double{0} TMAX:string{not_used} "
          "USE_AUTO_TIME_STEP:int{0} IC:string{dcop}"}) {
        TranAnalysis read;
        EXPECT_EQ(read.fromPropertyList(CPropertyList(stored)), 1);
        EXPECT_EQ(read.toPropertyList().GetList(), stored);
    }

    TranAnalysis t;
    t.fromPropertyList(CPropertyList("TSTEP:double{2e-6} TMAX:string{calculate}"));
    EXPECT_EQ(t.toNutmegCommand(),
              "-param hrange 0 0.001; tran  -env-options 2e-06 0.001 0 0.001 auto_ic auto_tmax ");
    EXPECT_EQ(t.GetTmax(), 2e-6);
    // An unknown word keeps the mode; the maximum step still starts at the increment.
    t.fromPropertyList(CPropertyList("TSTEP:double{1e-6} TMAX:string{whatever}"));
    EXPECT_EQ(Steps(t), std::make_tuple(99.0, 1e-6, 1e-6));
    EXPECT_EQ(t.GetTmax_mode(), TranAnalysis::Calculate);
    t.fromPropertyList(
        CPropertyList("TSTEP:string{calculate} TMAX:double{4e-6} USE_AUTO_TIME_STEP:int{1}"));
    EXPECT_EQ(t.GetCalc_tstep(), 1);
    EXPECT_EQ(t.GetTstep(), 4e-6) << "an automatic maximum step sets the increment";
    t.fromPropertyList(CPropertyList("TSTART:double{0.002} TSTOP:double{0.003}"));
    EXPECT_EQ(t.toNutmegCommand(),
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
    const char* const auto_ = "automatically calculated (less than: 0.001)";
    const std::string rows[][3] = {
        {"", "Automatically generate initial conditions",
         std::string("Plotting increment (TSTEP): ") + auto_ +
             "\nMaximum time step (TMAX): " + auto_ + "\n"},
        {"TMAX:string{not_used} USE_AUTO_TIME_STEP:int{1} IC:string{dcop}", "DC operating point",
         "Plotting increment (TSTEP): 2e-05\nMaximum time step (TMAX): Use default\n"
         "Automatic maximum time step estimation is used\n"},
        // The step, not the count, follows the count's label.
        {"TMAX:double{4e-06} TPOINTS:int{250} IC:string{uic}", "User defined",
         "Plotting increment (TSTEP): 4e-06\nNumber of timepoints: 4e-06\n"},
        {"TSTEP:double{1e-05} TMAX:double{4e-06} IC:string{zero_ic}", "Zero initial conditions",
         "Plotting increment (TSTEP): 1e-05\nMaximum time step (TMAX): 4e-06\n"},
    };
    const std::string times = "\nStarting time (TSTART): 0\nStop time (TSTOP): 0.001\n";
    for (const auto& [keys, ic, steps] : rows) {
        TranAnalysis settings;
        settings.fromPropertyList(CPropertyList(keys.c_str()));
        EXPECT_EQ(ReadableOf(settings), "Initial Conditions: " + ic + times + steps);
    }
}

} // namespace
