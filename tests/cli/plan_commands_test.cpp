// The plan command on sweeps and compound analyses: exact requests and logs, its checks,
// seeds that repeat a run, tolerances refused before any request; and props, script and
// describe of both sweep nicknames.
#include "canal_run.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using canal_test::Canal;
using canal_test::Result;

// One saved and plotted output variable: what every sweep needs to be simulated.
const std::string kNodes =
    "NODES:list{Nodes:list{NODE:list{Name:string{v(out)} Kind:int{3} Flags:int{768}}}} ";

class SweepFile : public ::testing::Test {
protected:
    /// A settings file of `nickname` with the output variable and the ANALYSIS body given.
    std::string Settings(const std::string& nickname, const std::string& analysis) {
        return files_.Write(nickname + std::to_string(++written_),
                            nickname + ":list{\n  " + kNodes + "\n  ANALYSIS:list{" + analysis +
                                "}}\n");
    }

private:
    canal_test::TempFolder files_;
    int written_ = 0;
};

TEST_F(SweepFile, PlanPrintsEveryRequestInOrderAndChecksItsArguments) {
    EXPECT_NE(Canal({"plan", "--help"})
                  .out.find("TemperatureSweep:list{Variation:int{3} List:array{250 300.15 350}}\n"
                            "      SweepType:int{2} AnalysisType:int{0}}}"),
              std::string::npos);

    const Result bare = Canal({"plan", "PSWEEP"});
    EXPECT_EQ(bare.status, 1);
    EXPECT_EQ(bare.err, "canal: plan: Parameter Sweep cannot be simulated: Output variables "
                        "must be specified before\nperforming a simulation.\n");
    const std::string path = Settings("TSWEEP", "");
    // The default linear walk (start = stop = 0) reads back as one point, so the sweep runs
    // once at 0 and then puts back what its parameter held.
    EXPECT_EQ(Canal({"plan", "TSWEEP", "--settings", path, "--seed", "42"}).out,
              "param 2018 - - - - = 0\nexec: -param hrange 0 0.001; tran  -env-options 0.001 "
              "0.001 0 0.001 auto_ic auto_tstep auto_tmax \nparam 2018 - - - - = \n"
              "log: Temperature Sweep\nlog:   SWEEP#1: []=0\nresult: 1\n");
    for (const char* seed : {"-1", "x", "", "18446744073709551616"}) {
        const Result bad = Canal({"plan", "TSWEEP", "--settings", path, "--seed", seed});
        EXPECT_EQ(bad.status, 2);
        EXPECT_EQ(bad.err, std::string("canal: plan: --seed needs an integer from 0 to "
                                       "18446744073709551615, not \"") +
                               seed + "\"\n");
    }
    EXPECT_EQ(Canal({"plan", "PostProc"}).status, 2);
    EXPECT_EQ(Canal({"plan", "psweep"}).status, 2);
    // A plain analysis: one request per statement.
    EXPECT_EQ(Canal({"plan", "AC", "--settings", Settings("AC", "")}).out,
              "exec: -param vscale log\nexec: -param hscale log\nexec: -param hrange 1 1e+10\n"
              "exec: ac  -env-options dec 10 1 1e+10\nresult: 1\n");
}

// The record of a fresh sweep: every variation an empty list, an instance sweep with a
// transient at each value, all traces on one page.
const char* const kFreshRecord =
    "DeviceSweep:list{Variation:int{1} Start:double{0} Stop:double{0} NumItems:double{0} "
    "List:array{}} "
    "ModelSweep:list{Variation:int{1} Start:double{0} Stop:double{0} NumItems:double{0} "
    "List:array{}} "
    "TemperatureSweep:list{Variation:int{1} Start:double{0} Stop:double{0} NumItems:double{0} "
    "List:array{}} SweepType:int{0} AnalysisType:int{2} InstToSweep:list{isinst:int{1}} "
    "ModelToSweep:list{isinst:int{0}} InstParamToSweep:list{} ModelParamToSweep:list{} "
    "Ac:list{VARIATION:string{dec} NPOINTS_PER_VARIATION:double{10} FSTART:double{1} "
    "FSTOP:double{1e+10} vscale:int{1} hscale:int{1} hrange:double{1} hrange:double{1e+10}} "
    "Tran:list{TSTEP:string{calculate} TSTOP:double{0.001} TSTART:double{0} "
    "TMAX:string{calculate} USE_AUTO_TIME_STEP:int{0} IC:string{auto_ic}} GroupTraces:int{1}";

TEST(SweepCommands, PropsScriptAndDescribeOfBothNicknames) {
    for (const std::string nickname : {"PSWEEP", "TSWEEP"}) {
        SCOPED_TRACE(nickname);
        const Result props = Canal({"props", nickname});
        EXPECT_EQ(props.status, 0) << props.err;
        EXPECT_EQ(props.out,
                  nickname +
                      ":list{NODES:list{IncrPlot:int{1} NodeFilterSelected:int{0} "
                      "NodeFilterUnselected:int{0} ShowAtEnd:int{1} Mode:int{0} UserNodes:list{} "
                      "Nodes:list{} WantCheckNodes:int{1}} ANALYSIS:list{" +
                      kFreshRecord +
                      "} ANALYSIS_ID:int{0} PLOT_TITLE:string{} MAX_POINTS:int{128000} "
                      "DISCARD_PLOTS:int{1} READABLE_NAME:string{} RAWFILE_NAME:string{} "
                      "ORVO_OPT:list{5:list{IsEnabled:int{1} trtol:double{7}} "
                      "12:list{IsEnabled:int{1} itl4:int{100}} "
                      "33:list{IsEnabled:int{1} convlimit:flag{}} "
                      "37:list{IsEnabled:int{1} rshunt:double{1e+12}}} USE_ORVO_OPT:int{1} "
                      "VLT_ORVO_OPT:int{1}}\n");

        const std::string keyword = nickname == "PSWEEP" ? "psweep" : "tsweep";
        EXPECT_EQ(Canal({"script", nickname, "--mask", "1"}).out,
                  "orvo " + keyword + " " + kFreshRecord + "; \n");
        EXPECT_EQ(Canal({"script", nickname, "--mask", "17"}).out,
                  "begin-scope page ; orvo " + keyword + " " + kFreshRecord + "; ; end-scope \n");
    }
    // The whole request is one statement of the script, and so one line.
    EXPECT_NE(Canal({"describe", "PSWEEP"})
                  .out.find(std::string("\n    orvo psweep ") + kFreshRecord + "\n"),
              std::string::npos);
}

/// A worst-case or Monte Carlo settings file: operating points of v(out), `keys`, tolerances.
std::string WcMc(const std::string& nickname, const std::string& keys,
                 const std::string& tolerances) {
    return nickname + ":list{ANALYSIS:list{AnalysisType:int{0} OutputVariable:string{v(out)} " +
           keys + " TolSpecList:list{" + tolerances + "}}}";
}

// r1 10% Gaussian, in lot 1.
const std::string kTolerance = "TolSpec:list{LotNum:int{1} TolClass:int{1} TolValue:double{10} "
                               "MemberToSweep:list{name:string{r1} isinst:int{1}} "
                               "MemberParamToSweep:list{name:string{resistance} "
                               "value:double{1000}}}";

TEST(CompoundPlans, PrintTheExactRequestsAndResultLogs) {
    const canal_test::TempFolder files;
    const std::string nominal = "param 2018 - - r1 resistance = 1000\nexec: op;\n";
    struct Case {
        const char* nickname;
        std::string settings, seed;
        int status;
        std::string plan;
    };
    // The stand-in produces no data: nothing is measured, the nominal run stands as the worst,
    // statistics are 0 over the fixed divisor, and the noise figure has no result, so the
    // plan fails.
    const Case cases[] = {
        {"MONTE", WcMc("MONTE", "NumRuns:int{2}", kTolerance), "42", 0,
         nominal + "param 2018 - - r1 resistance = 1021.57\nexec: op;\n" +
             "param 2018 - - r1 resistance = 979.086\nexec: op;\n" + nominal +
             "log: Monte Carlo Results\nlog: Random seed: 42\nlog: Output variable: v(out)\n"
             "log: Function: MAX\nlog: Tolerances:\nlog:   r1 resistance: Instance value: 10%, "
             "Distribution: Gaussian, Lot number: Lot 1\n"
             "log: Runs made: 4\nlog: Runs with a valid measurement: 0 / 3\n"
             "log: Mean: 0\nlog: Standard Deviation: 0\n"
             "log: Mean Value for output: 0\nlog: Standard Deviation for output: 0\n"
             "log: Worst run: Nominal Run\n"
             "log: Statistics over the nominal and the random runs; a run without a valid "
             "measurement adds nothing but still counts in the divisor\n"
             "log: Descriptions of the runs\nlog: Run Log Descriptions\n"
             "log:   Nominal Run: no valid measurement\nlog:     r1 resistance = 1000\n"
             "log:   Run #1: no valid measurement\nlog:     r1 resistance = 1021.57\n"
             "log:   Run #2: no valid measurement\nlog:     r1 resistance = 979.086\n"
             "log:   Worst: no valid measurement\nlog:     If Worst Run is equal to Nominal Run\n"
             "log:     r1 resistance = 1000\nresult: 1\n"},
        {"NOISE_FIGURE",
         "NOISE_FIGURE:list{ANALYSIS:list{OutputNode:string{out} InputRefSource:string{vin}}}", "",
         1,
         "exec: set temp=300.15 ; noise  -env-options v(out) vin dec 10 1e+09 1e+09 ; set -temp\n"
         "log: Noise Figure Results\n"
         "log: Unable to produce a result: both input and output noise sources are zero\n"
         "log: Output noise (onoise_spectrum): 0\nlog: Input-referred noise (inoise_spectrum): 0\n"
         "result: 0\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.nickname);
        std::vector<std::string> args = {"plan", c.nickname, "--settings",
                                         files.Write(c.nickname, c.settings)};
        if (!c.seed.empty())
            args.insert(args.end(), {"--seed", c.seed});
        const Result r = Canal(args);
        EXPECT_EQ(r.status, c.status) << r.err;
        EXPECT_EQ(r.err, "");
        EXPECT_EQ(r.out, c.plan);
    }
}

TEST(CompoundPlans, TheSeedInForceRepeatsTheDraws) {
    const canal_test::TempFolder files;
    const std::string path = files.Write("mc", WcMc("MONTE", "NumRuns:int{2}", kTolerance));
    const Result first = Canal({"plan", "MONTE", "--settings", path});
    ASSERT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(Canal({"plan", "MONTE", "--settings", path}).out, first.out);
    // The log names the default seed, and naming it gives the very same run.
    const std::string seed = "7161126247201598819";
    EXPECT_NE(first.out.find("log: Random seed: " + seed + "\n"), std::string::npos) << first.out;
    EXPECT_EQ(Canal({"plan", "MONTE", "--settings", path, "--seed", seed}).out, first.out);
    EXPECT_NE(Canal({"plan", "MONTE", "--settings", path, "--seed", "43"}).out, first.out);
}

TEST(CompoundPlans, AnUnacceptableToleranceStopsThePlanBeforeAnyRequest) {
    const canal_test::TempFolder files;
    const auto tolerance = [](const std::string& keys, const char* value) {
        return "TolSpec:list{TolClass:int{1} " + keys +
               " MemberToSweep:list{name:string{r2} isinst:int{1}} "
               "MemberParamToSweep:list{name:string{resistance} value:double{" +
               value + "}}} ";
    };
    // Why a tolerance fails is the validator's business; here the first refused one is named.
    const std::string tolerances = tolerance("TolValue:double{5}", "2000") +
                                   tolerance("TolValue:double{0}", "2000") +
                                   tolerance("TolValue:double{100}", "2000");
    for (const std::string nickname : {"MONTE", "WORST"}) {
        const Result r = Canal({"plan", nickname, "--settings",
                                files.Write(nickname, WcMc(nickname, "", tolerances))});
        EXPECT_EQ(r.status, 2);
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(r.err, "canal: plan: the settings of " +
                             std::string(nickname == "MONTE" ? "Monte Carlo" : "Worst Case") +
                             " are not acceptable: tolerance 2 (r2 resistance): Error: Tolerance "
                             "is less than or equal to zero.\n");
    }
}

} // namespace
