// The sweeps in the tool: exact plans of every walk and of a nested sweep, the plan command's
// checks, and props, script and describe of both sweep nicknames.
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
const std::string kDefaultTran = "exec: -param hrange 0 0.001; tran  -env-options 0.001 0.001 0 "
                                 "0.001 auto_ic auto_tstep auto_tmax \n";

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

TEST_F(SweepFile, PlanPrintsEveryRequestInOrderForEveryWalk) {
    const std::string ac = "exec: -param vscale lin; -param hscale lin; -param hrange 100 500; "
                           "ac  -env-options lin 5 100 500 \n";
    struct Case {
        const char* nickname;
        std::string analysis;
        std::string plan;
    };
    const Case cases[] = {
        // Linear temperatures over the default transient.
        {"TSWEEP",
         "TemperatureSweep:list{Variation:int{1} Start:double{250} Stop:double{350} "
         "NumItems:double{3}} SweepType:int{2}",
         "exec: set temp = 250\n" + kDefaultTran + "exec: set temp = 300\n" + kDefaultTran +
             "exec: set temp = 350\n" + kDefaultTran +
             "exec: set -temp\n"
             "log: Temperature Sweep\n"
             "log:   TEMP=250: Temperature=250\n"
             "log:   TEMP=300: Temperature=300\n"
             "log:   TEMP=350: Temperature=350\n"
             "result: 1\n"},
        // Octaves of an instance named alone (device and model print as "-"), over the
        // sweep's own AC settings; the point count is recounted from start and stop.
        {"PSWEEP",
         "DeviceSweep:list{Variation:int{2} Start:double{1000} Stop:double{4000} "
         "NumItems:double{0}} AnalysisType:int{1} InstToSweep:list{name:string{r2}} "
         "InstParamToSweep:list{name:string{resistance} value:double{2000}} "
         "Ac:list{VARIATION:string{lin} NPOINTS_PER_VARIATION:double{5} FSTART:double{100} "
         "FSTOP:double{500}}",
         "param 2018 - - r2 resistance = 1000\n" + ac + "param 2018 - - r2 resistance = 2000\n" +
             ac + "param 2018 - - r2 resistance = 4000\n" + ac +
             "param 2018 - - r2 resistance = 2000\n"
             "log: Parameter Sweep\n"
             "log:   SWEEP#1: r2[resistance]=1000\n"
             "log:   SWEEP#2: r2[resistance]=2000\n"
             "log:   SWEEP#3: r2[resistance]=4000\n"
             "result: 1\n"},
        // A nested temperature sweep, hand-written under the TSWEEP label, runs in full for
        // every outer value; one counter numbers the runs of both levels.
        {"PSWEEP",
         "DeviceSweep:list{Variation:int{1} Start:double{1000} Stop:double{2000} "
         "NumItems:double{2}} AnalysisType:int{3} InstToSweep:list{name:string{r1}} "
         "InstParamToSweep:list{name:string{resistance} value:double{1000}} "
         "TSWEEP:list{TemperatureSweep:list{Variation:int{3} List:array{250 350}} "
         "SweepType:int{2} AnalysisType:int{0}}",
         "param 2018 - - r1 resistance = 1000\n"
         "exec: set temp = 250\nexec: op;\nexec: set temp = 350\nexec: op;\nexec: set -temp\n"
         "param 2018 - - r1 resistance = 2000\n"
         "exec: set temp = 250\nexec: op;\nexec: set temp = 350\nexec: op;\nexec: set -temp\n"
         "param 2018 - - r1 resistance = 1000\n"
         "log: Parameter Sweep\n"
         "log:   SWEEP#1: r1[resistance]=1000\n"
         "log:     TEMP=250: r1[resistance]=1000, Temperature=250\n"
         "log:     TEMP=350: r1[resistance]=1000, Temperature=350\n"
         "log:   SWEEP#4: r1[resistance]=2000\n"
         "log:     TEMP=250: r1[resistance]=2000, Temperature=250\n"
         "log:     TEMP=350: r1[resistance]=2000, Temperature=350\n"
         "result: 1\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.analysis);
        const Result r =
            Canal({"plan", c.nickname, "--settings", Settings(c.nickname, c.analysis)});
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.err, "");
        EXPECT_EQ(r.out, c.plan);
    }
    const Result help = Canal({"plan", "--help"});
    EXPECT_NE(help.out.find("TemperatureSweep:list{Variation:int{3} List:array{250 300.15 350}}\n"
                            "      SweepType:int{2} AnalysisType:int{0}}}"),
              std::string::npos)
        << help.out;
}

TEST_F(SweepFile, PlanChecksItsArgumentsAndPlainAnalysesPrintTheirStatements) {
    const Result bare = Canal({"plan", "PSWEEP"});
    EXPECT_EQ(bare.status, 1);
    EXPECT_EQ(bare.out, "");
    EXPECT_EQ(bare.err, "canal: plan: Parameter Sweep cannot be simulated: Output variables "
                        "must be specified before\nperforming a simulation.\n");

    const std::string path = Settings("TSWEEP", "");
    const Result seeded = Canal({"plan", "TSWEEP", "--settings", path, "--seed", "42"});
    EXPECT_EQ(seeded.status, 0) << seeded.err;
    // The default linear walk (start = stop = 0) reads back as one point, so the sweep runs
    // once at 0 and then puts back what its parameter held.
    EXPECT_EQ(seeded.out, "param 2018 - - - - = 0\n"
                          "exec: -param hrange 0 0.001; tran  -env-options 0.001 0.001 0 0.001 "
                          "auto_ic auto_tstep auto_tmax \n"
                          "param 2018 - - - - = \n"
                          "log: Temperature Sweep\n"
                          "log:   SWEEP#1: []=0\n"
                          "result: 1\n");
    for (const char* seed : {"-1", "x", "", "18446744073709551616"}) {
        const Result bad = Canal({"plan", "TSWEEP", "--settings", path, "--seed", seed});
        EXPECT_EQ(bad.status, 2);
        EXPECT_EQ(bad.err, std::string("canal: plan: --seed needs an integer from 0 to "
                                       "18446744073709551615, not \"") +
                               seed + "\"\n");
    }
    EXPECT_EQ(Canal({"plan", "PostProc"}).status, 2);
    EXPECT_EQ(Canal({"plan", "psweep"}).status, 2);

    const Result ac = Canal({"plan", "AC", "--settings", Settings("AC", "")});
    EXPECT_EQ(ac.status, 0) << ac.err;
    EXPECT_EQ(ac.out, "exec: -param vscale log\n"
                      "exec: -param hscale log\n"
                      "exec: -param hrange 1 1e+10\n"
                      "exec: ac  -env-options dec 10 1 1e+10\n"
                      "result: 1\n");
    EXPECT_EQ(Canal({"help", "plan"})
                  .out.rfind("Usage: canal plan NICKNAME [--settings FILE] [--seed N]\n", 0),
              0u);
}

// The record of a fresh sweep: every variation an empty list, an instance sweep with a
// transient at each value, all traces on one page.
const char* const kFreshRecord =
    "DeviceSweep:list{Variation:int{1} Start:double{0} Stop:double{0} NumItems:double{0} "
    "List:array{}} "
    "ModelSweep:list{Variation:int{1} Start:double{0} Stop:double{0} NumItems:double{0} "
    "List:array{}} "
    "TemperatureSweep:list{Variation:int{1} Start:double{0} Stop:double{0} NumItems:double{0} "
    "List:array{}} "
    "SweepType:int{0} AnalysisType:int{2} InstToSweep:list{isinst:int{1}} "
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

} // namespace
