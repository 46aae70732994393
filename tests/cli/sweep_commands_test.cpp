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
