// The whole set in the tool: ANALYSES with props, script and describe, and what reading it
// in part says.
#include "canal_run.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using canal_test::Canal;
using canal_test::Result;

// A run list of an AC analysis with a name and raw file of its own, a list of temperatures,
// user commands and the direct run; a selection, an identifier and an edited transient.
const char* const kRunSet =
    "ANALYSES:list{ANALYSIS_LIST:list{\n"
    "    AC:list{ANALYSIS:list{FSTART:double{10} FSTOP:double{1e+06}}\n"
    "            READABLE_NAME:string{Low end} RAWFILE_NAME:string{low.raw}}\n"
    "    TSWEEP:list{ANALYSIS:list{TemperatureSweep:list{Variation:int{3} List:array{250 350}}\n"
    "                              SweepType:int{2} AnalysisType:int{0}}}\n"
    "    USER:list{ANALYSIS:list{USER_CMD:string{echo hi}}} RUN:list{}}\n"
    "  USE:int{1} CURRENT_ID:int{4} TRAN:list{ANALYSIS:list{TSTOP:double{0.002}}}}\n";

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

TEST(SetCommands, PropsScriptAndDescribeOfASavedSetWithItsRunList) {
    const canal_test::TempFolder files;
    const std::string set = files.Write("set", kRunSet);
    const Result saved = Canal({"props", "ANALYSES", "--settings", set});
    ASSERT_EQ(saved.status, 0) << saved.err;
    EXPECT_EQ(saved.err, "");
    EXPECT_EQ(saved.out.rfind("ANALYSES:list{ANALYSIS_LIST:list{AC:list{", 0), 0u);
    // Read as stored: neither renumbered nor given new raw files.
    EXPECT_NE(saved.out.find("READABLE_NAME:string{Low end} RAWFILE_NAME:string{low.raw}"),
              std::string::npos);
    EXPECT_NE(saved.out.find("}}} USE:int{1} CURRENT_ID:int{4} OP:list{"), std::string::npos);
    // An untouched sweep walk is written with no points and reads back as one point; apart
    // from that the saved set comes back byte for byte, and from then on exactly.
    const Result again =
        Canal({"props", "ANALYSES", "--settings", files.Write("saved", saved.out)});
    EXPECT_EQ(again.err, "");
    const std::string empty = "Start:double{0} Stop:double{0} NumItems:double{0} List:array{}}";
    EXPECT_EQ(again.out, Replaced(saved.out, empty, Replaced(empty, "{0} L", "{1} L")));
    EXPECT_EQ(Canal({"props", "ANALYSES", "--settings", files.Write("again", again.out)}).out,
              again.out);

    // One line per selected entry, in run order.
    const std::string script = Canal({"script", "ANALYSES", "--settings", set, "--mask", "1"}).out;
    EXPECT_EQ(script.rfind("-param vscale log; -param hscale log; -param hrange 10 1e+06; "
                           "ac  -env-options dec 10 10 1e+06 \norvo tsweep DeviceSweep:list{",
                           0),
              0u);
    EXPECT_NE(script.find(" AnalysisType:int{0} InstToSweep:list{"), std::string::npos);
    EXPECT_EQ(script.substr(script.find("; \necho hi")), "; \necho hi\nrun;\n");
    EXPECT_EQ(Canal({"script", "ANALYSES"}).out, "") << "no run list, no scripts";

    EXPECT_EQ(Canal({"describe", "ANALYSES", "--settings", set, "--mask", "1"}).out,
              "Low end\n  Analysis settings\n    Sweep type: Decade\n"
              "    Number of points per decade: 10\n    Starting frequency for sweep: 10\n"
              "    Stop frequency for sweep: 1e+06\n    Vertical axis scale: log\n"
              "    Horizontal axis scale: log\n    Horizontal axis range: 10 to 1e+06\n"
              "Temperature Sweep\n  Analysis settings\n    Swept quantity: Temperature\n"
              "    Sweep type: List\n      250\n      350\n"
              "    Analysis at each value: DC operating point\n"
              "    All traces on one page: Yes\n"
              "User Defined Analysis\n  Analysis settings\n"
              "Run Circuit Directly\n  Analysis settings\n");
    // By default every entry is written whole under its heading.
    const std::string described = Canal({"describe", "ANALYSES", "--settings", set}).out;
    EXPECT_LT(described.find("\n  Results saved to file: low.raw\n"),
              described.find("\nTemperature Sweep\n  Plot title: \n"));
}

TEST(SetCommands, ASetReadInPartWarnsAndIsNoAnalysisToPlan) {
    const canal_test::TempFolder files;
    // The second PSWEEP without a TSWEEP between is read over the first, but not taken.
    const std::string twice =
        files.Write("twice", "ANALYSES:list{PSWEEP:list{ANALYSIS:list{Ac:list{FSTART:double{5}}}}"
                             " PSWEEP:list{ANALYSIS:list{SweepType:int{1}}}}");
    const Result r = Canal({"props", "ANALYSES", "--settings", twice});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "canal: warning: " + twice + ": some settings of ANALYSES were not applied\n");
    EXPECT_NE(r.out.find("SweepType:int{1}", r.out.find("PSWEEP:list{")), std::string::npos);
    EXPECT_EQ(r.out.find("FSTART:double{5}"), std::string::npos) << "the second read reset it";
    EXPECT_EQ(Canal({"plan", "ANALYSES"}).err,
              "canal: \"ANALYSES\" is the whole set of analyses, not one of them; name the "
              "analysis (its item is found inside a set given with --settings)\n");
}

} // namespace
