// The plans of worst case, Monte Carlo, noise figure and trace width: exact requests and
// logs, seeds that repeat a run, and tolerances refused before any request.
#include "canal_run.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using canal_test::Canal;
using canal_test::Result;
using canal_test::TempFolder;

/// A worst-case or Monte Carlo settings file body: operating points of v(out) with the
/// analysis keys given, and the tolerances.
std::string WcMc(const std::string& nickname, const std::string& keys,
                 const std::string& tolerances) {
    return nickname + ":list{ANALYSIS:list{AnalysisType:int{0} OutputVariable:string{v(out)} " +
           keys + " TolSpecList:list{" + tolerances + "}}}";
}

// r1 10% uniform, unique; qn bf 5% Gaussian in lot 1.
const std::string kR1 = "TolSpec:list{Distr:int{0} TolClass:int{1} TolValue:double{10} "
                        "MemberToSweep:list{name:string{r1} isinst:int{1}} "
                        "MemberParamToSweep:list{name:string{resistance} value:double{1000}}}";
const std::string kBf = "TolSpec:list{LotNum:int{1} TolValue:double{5} "
                        "MemberToSweep:list{model:string{qn} isinst:int{0}} "
                        "MemberParamToSweep:list{name:string{bf} value:double{100}}}";

TEST(CompoundPlans, PrintTheExactRequestsAndResultLogs) {
    const TempFolder files;
    struct Case {
        const char* nickname;
        std::string settings;
        std::vector<std::string> extra;
        int status;
        std::string plan;
    };
    const Case cases[] = {
        // Nominal, three drawn runs, the worst repeated; nothing is measured, so the nominal
        // run stands as the worst and every statistic is 0 over the fixed divisor.
        {"MONTE",
         WcMc("MONTE", "NumRuns:int{3}", kR1 + " " + kBf),
         {"--seed", "42"},
         0,
         "param 2018 - - r1 resistance = 1000\nparam 2019 - qn bf = 100\nexec: op;\n"
         "param 2018 - - r1 resistance = 1058.6\nparam 2019 - qn bf = 98.6743\nexec: op;\n"
         "param 2018 - - r1 resistance = 943.18\nparam 2019 - qn bf = 99.0647\nexec: op;\n"
         "param 2018 - - r1 resistance = 981.319\nparam 2019 - qn bf = 100.236\nexec: op;\n"
         "param 2018 - - r1 resistance = 1000\nparam 2019 - qn bf = 100\nexec: op;\n"
         "log: Monte Carlo Results\n"
         "log: Random seed: 42\n"
         "log: Output variable: v(out)\n"
         "log: Function: MAX\n"
         "log: Tolerances:\n"
         "log:   r1 resistance: Instance value: 10%, Distribution: Uniform, Lot number: Unique\n"
         "log:   qn bf: Model value: 5%, Distribution: Gaussian, Lot number: Lot 1\n"
         "log: Runs made: 5\n"
         "log: Runs with a valid measurement: 0 / 4\n"
         "log: Mean: 0\n"
         "log: Standard Deviation: 0\n"
         "log: Mean Value for output: 0\n"
         "log: Standard Deviation for output: 0\n"
         "log: Worst run: Nominal Run\n"
         "log: Statistics over the nominal and the random runs; a run without a valid "
         "measurement adds nothing but still counts in the divisor\n"
         "log: Descriptions of the runs\n"
         "log: Run Log Descriptions\n"
         "log:   Nominal Run: no valid measurement\n"
         "log:     r1 resistance = 1000; qn bf = 100\n"
         "log:   Run #1: no valid measurement\n"
         "log:     r1 resistance = 1058.6; qn bf = 98.6743\n"
         "log:   Run #2: no valid measurement\n"
         "log:     r1 resistance = 943.18; qn bf = 99.0647\n"
         "log:   Run #3: no valid measurement\n"
         "log:     r1 resistance = 981.319; qn bf = 100.236\n"
         "log:   Worst: no valid measurement\n"
         "log:     If Worst Run is equal to Nominal Run\n"
         "log:     r1 resistance = 1000; qn bf = 100\n"
         "result: 1\n"},
        // The nominal operating point, the simulator's DC sensitivity of v(out), and the
        // worst run; without sensitivities every tolerance stays nominal.
        {"WORST",
         WcMc("WORST", "Filter:int{0}", kR1 + " " + kBf),
         {},
         0,
         "param 2018 - - r1 resistance = 1000\nparam 2019 - qn bf = 100\nexec: op;\n"
         "exec: sens  -env-options v(out,$0) \n"
         "param 2018 - - r1 resistance = 1000\nparam 2019 - qn bf = 100\nexec: op;\n"
         "log: Worst Case Results\n"
         "log: Output variable: v(out)\n"
         "log: Function: MAX\n"
         "log: Nominal Run: no valid measurement\n"
         "log: Worst Case Run: no valid measurement\n"
         "log: Sensitivity\n"
         "log:   DC operating point for all devices:\n"
         "log:     r1 resistance: no sensitivity: stays nominal\n"
         "log:     qn bf: no sensitivity: stays nominal\n"
         "log: Tolerance changes needed to achieve worst case:\n"
         "log:   r1 resistance unchanged from 1000 (100% of nominal)\n"
         "log:   qn bf unchanged from 100 (100% of nominal)\n"
         "result: 1\n"},
        // One noise run at the set frequency and temperature; with no noise data both values
        // are 0, which gives no figure and the result 0.
        {"NOISE_FIGURE",
         "NOISE_FIGURE:list{ANALYSIS:list{OutputNode:string{out} InputRefSource:string{vin}}}",
         {},
         1,
         "exec: set temp=300.15 ; noise  -env-options v(out) vin dec 10 1e+09 1e+09 ; set -temp\n"
         "log: Noise Figure Results\n"
         "log: Unable to produce a result: both input and output noise sources are zero\n"
         "log: Output noise (onoise_spectrum): 0\n"
         "log: Input-referred noise (inoise_spectrum): 0\n"
         "result: 0\n"},
        // One transient run; a plot without pin currents gives an empty result log.
        {"TRACEWIDTH",
         "TRACEWIDTH:list{ANALYSIS:list{Tran:list{TSTOP:double{0.002}} TraceWeight:double{2}}}",
         {},
         0,
         "exec: -param hrange 0 0.002; tran  -env-options 0.002 0.002 0 0.002 auto_ic "
         "auto_tstep auto_tmax \n"
         "log: Trace Width Results\n"
         "result: 1\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.nickname);
        std::vector<std::string> args = {"plan", c.nickname, "--settings",
                                         files.Write(c.nickname, c.settings)};
        args.insert(args.end(), c.extra.begin(), c.extra.end());
        const Result r = Canal(args);
        EXPECT_EQ(r.status, c.status) << r.err;
        EXPECT_EQ(r.err, "");
        EXPECT_EQ(r.out, c.plan);
    }
}

TEST(CompoundPlans, TheSeedInForceRepeatsTheDraws) {
    const TempFolder files;
    const std::string path = files.Write("mc", WcMc("MONTE", "NumRuns:int{2}", kR1 + " " + kBf));
    const Result first = Canal({"plan", "MONTE", "--settings", path});
    ASSERT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(Canal({"plan", "MONTE", "--settings", path}).out, first.out);
    // The log names the default seed, and naming it gives the very same run.
    const std::string seed = "7161126247201598819";
    EXPECT_NE(first.out.find("log: Random seed: " + seed + "\n"), std::string::npos) << first.out;
    EXPECT_EQ(Canal({"plan", "MONTE", "--settings", path, "--seed", seed}).out, first.out);
    const Result other = Canal({"plan", "MONTE", "--settings", path, "--seed", "43"});
    EXPECT_NE(other.out, first.out);
    EXPECT_EQ(Canal({"plan", "MONTE", "--settings", path, "--seed", "43"}).out, other.out);

    // The help's Monte Carlo example plans as shown.
    const std::string help = Canal({"plan", "--help"}).out;
    const size_t begin = help.find("  MONTE:list{");
    const size_t end = help.find("}}}}}}\n", begin);
    ASSERT_NE(end, std::string::npos) << help;
    const Result example = Canal(
        {"plan", "MONTE", "--settings", files.Write("help", help.substr(begin, end + 6 - begin))});
    EXPECT_EQ(example.status, 0) << example.err;
    EXPECT_EQ(example.out.rfind("param 2018 - - r1 resistance = 1000\nexec: op;\nparam 2018 ", 0),
              0u)
        << example.out;
}

TEST(CompoundPlans, AnUnacceptableToleranceStopsThePlanBeforeAnyRequest) {
    const TempFolder files;
    const auto tolerance = [](const std::string& keys, const char* value) {
        return "TolSpec:list{" + keys +
               " MemberToSweep:list{name:string{r2} isinst:int{1}} "
               "MemberParamToSweep:list{name:string{resistance} value:double{" +
               value + "}}}";
    };
    const struct {
        std::string tolerances;
        std::string why;
    } cases[] = {
        {tolerance("TolClass:int{1} TolValue:double{100}", "2000"),
         "tolerance 1 (r2 resistance): Error: Tolerance must be less than or equal to 100%."},
        {kR1 + " " + tolerance("TolClass:int{1} TolValue:double{0}", "2000"),
         "tolerance 2 (r2 resistance): Error: Tolerance is less than or equal to zero."},
        {tolerance("TolClass:int{1} TolType:int{0} TolValue:double{-1}", "2000"),
         "tolerance 1 (r2 resistance): Error: Tolerance is less than or equal to zero."},
        {tolerance("TolClass:int{1} TolValue:double{5}", "0"),
         "tolerance 1 (r2 resistance): Error: Tolerance cannot be set as percentage if the "
         "value is zero."},
    };
    for (const auto& c : cases) {
        for (const std::string nickname : {"MONTE", "WORST"}) {
            SCOPED_TRACE(nickname + ": " + c.why);
            const Result r =
                Canal({"plan", nickname, "--settings",
                       files.Write(nickname, WcMc(nickname, "NumRuns:int{2}", c.tolerances))});
            EXPECT_EQ(r.status, 2);
            EXPECT_EQ(r.out, "");
            EXPECT_EQ(r.err, "canal: plan: the settings of " +
                                 std::string(nickname == "MONTE" ? "Monte Carlo" : "Worst Case") +
                                 " are not acceptable: " + c.why + "\n");
        }
    }
    // An absolute tolerance of a zero value, and 99.9%, are acceptable.
    const std::string fine = tolerance("TolClass:int{1} TolType:int{0} TolValue:double{3}", "0") +
                             " " + tolerance("TolClass:int{1} TolValue:double{99.9}", "2000");
    EXPECT_EQ(Canal({"plan", "MONTE", "--settings",
                     files.Write("fine", WcMc("MONTE", "NumRuns:int{1}", fine))})
                  .status,
              0);
}

} // namespace
