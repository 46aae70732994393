// The plans of worst case, Monte Carlo, noise figure and trace width: exact requests and
// logs, seeds that repeat a run, and tolerances refused before any request.
#include "canal_run.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using canal_test::Canal;
using canal_test::Result;

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
    // An absolute tolerance of a zero value, and 99.9%, are acceptable.
    const std::string fine = tolerance("TolType:int{0} TolValue:double{3}", "0") +
                             tolerance("TolValue:double{99.9}", "2000");
    EXPECT_EQ(
        Canal({"plan", "MONTE", "--settings", files.Write("ok", WcMc("MONTE", "", fine))}).status,
        0);
}

} // namespace
