// The whole set in the tool: ANALYSES with props, script and describe, and what reading it
// in part says.
#include "canal_run.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using canal_test::Canal;
using canal_test::Result;
using canal_test::TempFolder;

// A run list of four entries (an AC analysis with a name and raw file of its own, a list of
// temperatures, user commands and the direct run), a selection, an identifier and an edited
// transient analysis of the set.
const char* const kRunSet =
    "ANALYSES:list{\n"
    "  ANALYSIS_LIST:list{\n"
    "    AC:list{ANALYSIS:list{FSTART:double{10} FSTOP:double{1e+06}}\n"
    "            READABLE_NAME:string{Low end} RAWFILE_NAME:string{low.raw}}\n"
    "    TSWEEP:list{ANALYSIS:list{TemperatureSweep:list{Variation:int{3} List:array{250 350}}\n"
    "                              SweepType:int{2} AnalysisType:int{0}}}\n"
    "    USER:list{ANALYSIS:list{USER_CMD:string{echo hi}}}\n"
    "    RUN:list{}}\n"
    "  USE:int{1} CURRENT_ID:int{4}\n"
    "  TRAN:list{ANALYSIS:list{TSTOP:double{0.002}}}}\n";

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
        lines.push_back(text.substr(start, end - start));
    return lines;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

TEST(SetCommands, PropsOfASavedSetReadsBackToItself) {
    const TempFolder files;
    const Result saved = Canal({"props", "ANALYSES", "--settings", files.Write("set", kRunSet)});
    ASSERT_EQ(saved.status, 0) << saved.err;
    EXPECT_EQ(saved.err, "");
    EXPECT_EQ(saved.out.rfind("ANALYSES:list{ANALYSIS_LIST:list{AC:list{", 0), 0u);
    // Read as stored: neither renumbered nor given new raw files.
    EXPECT_NE(saved.out.find("READABLE_NAME:string{Low end} RAWFILE_NAME:string{low.raw}"),
              std::string::npos);
    EXPECT_NE(saved.out.find("}}} USE:int{1} CURRENT_ID:int{4} OP:list{"), std::string::npos);
    EXPECT_NE(saved.out.find("TSTOP:double{0.002}"), std::string::npos);
    EXPECT_NE(saved.out.find("USER:list{ANALYSIS:list{USER_CMD:string{echo hi}}"),
              std::string::npos);

    // A sweep's untouched linear walk is written with no points and reads back as one point;
    // apart from that the set comes back byte for byte, and from then on exactly.
    const Result again =
        Canal({"props", "ANALYSES", "--settings", files.Write("saved", saved.out)});
    ASSERT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(again.err, "");
    const std::string emptyWalk = "Start:double{0} Stop:double{0} NumItems:double{%} List:array{}}";
    EXPECT_EQ(again.out,
              Replaced(saved.out, Replaced(emptyWalk, "%", "0"), Replaced(emptyWalk, "%", "1")));
    EXPECT_EQ(Canal({"props", "ANALYSES", "--settings", files.Write("again", again.out)}).out,
              again.out);
    // The analyses of a saved set are found by their nicknames.
    EXPECT_EQ(
        Canal({"script", "TRAN", "--mask", "1", "--settings", files.Write("x", again.out)}).out,
        "-param hrange 0 0.002; tran  -env-options 0.002 0.002 0 0.002 auto_ic auto_tstep "
        "auto_tmax \n");

    // Without a file: the defaults and an empty run list.
    const Result fresh = Canal({"props", "ANALYSES"});
    EXPECT_EQ(fresh.status, 0);
    EXPECT_EQ(fresh.out.rfind("ANALYSES:list{ANALYSIS_LIST:list{} USE:int{-1} CURRENT_ID:int{1} "
                              "OP:list{",
                              0),
              0u);
}

TEST(SetCommands, ScriptAndDescribeWalkTheRunListInOrder) {
    const TempFolder files;
    const std::string set = files.Write("set", kRunSet);
    const Result script = Canal({"script", "ANALYSES", "--settings", set, "--mask", "1"});
    ASSERT_EQ(script.status, 0) << script.err;
    const std::vector<std::string> lines = Lines(script.out);
    ASSERT_EQ(lines.size(), 4u) << script.out;
    EXPECT_EQ(lines[0], "-param vscale log; -param hscale log; -param hrange 10 1e+06; "
                        "ac  -env-options dec 10 10 1e+06 ");
    EXPECT_EQ(lines[1].rfind("orvo tsweep DeviceSweep:list{", 0), 0u);
    EXPECT_NE(lines[1].find("List:array{250 350}} SweepType:int{2} AnalysisType:int{0} "),
              std::string::npos);
    EXPECT_EQ(lines[2], "echo hi");
    EXPECT_EQ(lines[3], "run;");
    // The whole script of each entry stays on its one line.
    const Result framed = Canal({"script", "ANALYSES", "--settings", set});
    ASSERT_EQ(Lines(framed.out).size(), 4u);
    EXPECT_EQ(Lines(framed.out)[0].rfind("begin-scope page ; checknodes 2; save ; iplot ; ", 0),
              0u);
    EXPECT_NE(Lines(framed.out)[0].find("; write-and-destroy-iplot low.raw; end-scope "),
              std::string::npos);
    EXPECT_EQ(Lines(framed.out)[2], "begin-scope page ; echo hi; end-scope ");
    EXPECT_EQ(Canal({"script", "ANALYSES"}).out, "") << "no run list, no scripts";

    EXPECT_EQ(Canal({"describe", "ANALYSES", "--settings", set, "--mask", "1"}).out,
              "Low end\n"
              "  Analysis settings\n"
              "    Sweep type: Decade\n"
              "    Number of points per decade: 10\n"
              "    Starting frequency for sweep: 10\n"
              "    Stop frequency for sweep: 1e+06\n"
              "    Vertical axis scale: log\n"
              "    Horizontal axis scale: log\n"
              "    Horizontal axis range: 10 to 1e+06\n"
              "Temperature Sweep\n"
              "  Analysis settings\n"
              "    Swept quantity: Temperature\n"
              "    Sweep type: List\n"
              "      250\n"
              "      350\n"
              "    Analysis at each value: DC operating point\n"
              "    All traces on one page: Yes\n"
              "User Defined Analysis\n"
              "  Analysis settings\n"
              "Run Circuit Directly\n"
              "  Analysis settings\n");
    // By default each entry is written whole under its heading.
    const Result described = Canal({"describe", "ANALYSES", "--settings", set});
    ASSERT_EQ(described.status, 0) << described.err;
    std::vector<std::string> headings;
    for (const std::string& line : Lines(described.out))
        if (line[0] != ' ')
            headings.push_back(line);
    EXPECT_EQ(headings,
              (std::vector<std::string>{"Low end", "Temperature Sweep", "User Defined Analysis",
                                        "Run Circuit Directly"}));
    EXPECT_NE(described.out.find("\n  Results saved to file: low.raw\n"), std::string::npos);
}

TEST(SetCommands, ASetReadInPartWarnsAndKeepsWhatItRead) {
    const TempFolder files;
    // Two parameter sweeps without a temperature sweep between: the second is read over the
    // first but not taken.
    const std::string twice =
        files.Write("twice", "ANALYSES:list{PSWEEP:list{ANALYSIS:list{Ac:list{FSTART:double{5}}}}\n"
                             "               PSWEEP:list{ANALYSIS:list{SweepType:int{1}}}}");
    const Result r = Canal({"props", "ANALYSES", "--settings", twice});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "canal: warning: " + twice + ": some settings of ANALYSES were not applied\n");
    const size_t psweep = r.out.find("PSWEEP:list{");
    ASSERT_NE(psweep, std::string::npos);
    EXPECT_NE(r.out.find("SweepType:int{1}", psweep), std::string::npos);
    EXPECT_EQ(r.out.find("FSTART:double{5}"), std::string::npos) << "the second read reset it";

    const std::string unknown = files.Write(
        "unknown", "ANALYSES:list{FOO:list{} TRAN:list{ANALYSIS:list{TSTOP:double{2}}}}");
    const Result partly = Canal({"script", "TRAN", "--settings", unknown, "--mask", "1"});
    EXPECT_EQ(partly.status, 0);
    const Result set = Canal({"script", "ANALYSES", "--settings", unknown});
    EXPECT_EQ(set.status, 0);
    EXPECT_EQ(set.err, "canal: warning: " + unknown + ": settings of ANALYSES not applied: FOO\n");
    EXPECT_NE(Canal({"props", "ANALYSES", "--settings", unknown}).out.find("TSTOP:double{2}"),
              std::string::npos);

    // Neither plan nor run takes the set as an analysis.
    const std::string refusal = "canal: \"ANALYSES\" is the whole set of analyses, not one of "
                                "them; name the analysis (its item is found inside a set given "
                                "with --settings)\n";
    EXPECT_EQ(Canal({"plan", "ANALYSES"}).err, refusal);
    const Result run = Canal({"run", files.Write("c.cir", "t\n.end\n"), "ANALYSES"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, refusal);
}

} // namespace
