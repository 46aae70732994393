// The commands that print an analysis, called in-process: exact scripts, settings
// round trips, and what unusable settings files say.
#include "canal_run.h"
#include "cli/settings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using canal_test::Canal;
using canal_test::Result;

// Settings files in a folder of the test's own.
class SettingsFile : public ::testing::Test {
protected:
    std::string Write(const std::string& name, const std::string& text) {
        return files_.Write(name, text);
    }
    std::string Path(const std::string& name) const { return files_.Path(name); }

private:
    canal_test::TempFolder files_;
};

const char* const kDefaultAcBody =
    "-param vscale log; -param hscale log; -param hrange 1 1e+10; ac  -env-options dec 10 1 1e+10 ";

TEST(ScriptCommand, MaskOnePrintsTheDefaultCommandBody) {
    Result ac = Canal({"script", "AC", "--mask", "1"});
    EXPECT_EQ(ac.status, 0) << ac.err;
    EXPECT_EQ(ac.out, std::string(kDefaultAcBody) + "\n");
    EXPECT_EQ(ac.err, "");
    EXPECT_EQ(Canal({"script", "AC", "--mask=1"}).out, ac.out);

    // Hexadecimal masks and options before the nickname mean the same.
    EXPECT_EQ(Canal({"script", "--mask", "0x1", "AC"}).out, ac.out);
    // Scope framing around the body; the default title of a fresh analysis is empty.
    Result scoped = Canal({"script", "AC", "--mask", "17"});
    EXPECT_EQ(scoped.out, std::string("begin-scope page ; ") + kDefaultAcBody + "; end-scope \n");
    EXPECT_EQ(Canal({"script", "AC", "--mask", "0"}).out, "\n");
}

TEST(DescribeCommand, PrintsTheTreeIndentedByLevel) {
    Result r = Canal({"describe", "AC"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.rfind("AC Analysis\n  ", 0), 0u) << "items under the heading are indented";
    EXPECT_NE(r.out.find("\n    ac  -env-options dec 10 1 1e+10\n"), std::string::npos) << r.out;

    // Bit 32 drops the heading, so the top items start at column 0.
    Result bare = Canal({"describe", "AC", "--mask", "33"});
    ASSERT_EQ(bare.status, 0);
    EXPECT_EQ(bare.out.rfind("Analysis settings\n", 0), 0u) << bare.out;
    EXPECT_EQ(bare.out.find("AC Analysis"), std::string::npos);
}

TEST_F(SettingsFile, PropsRoundTripForEveryNickname) {
    const std::vector<std::string> names = cli::KnownNicknames();
    ASSERT_GE(names.size(), 2u);
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        Result props = Canal({"props", name});
        ASSERT_EQ(props.status, 0) << props.err;
        ASSERT_EQ(props.out.rfind(name + ":list{", 0), 0u) << props.out;
        const std::string path = Write(name + ".txt", props.out);

        Result again = Canal({"props", name, "--settings", path});
        EXPECT_EQ(again.status, 0) << again.err;
        EXPECT_EQ(again.err, "") << "defaults read back without a warning";
        // A sweep's untouched linear walk has no points; read back, start = stop is one point.
        // The whole set holds both sweeps.
        if (name != "PSWEEP" && name != "TSWEEP" && name != "ANALYSES") {
            EXPECT_EQ(again.out, props.out);
            EXPECT_EQ(Canal({"script", name, "--settings", path}).out, Canal({"script", name}).out);
            EXPECT_EQ(Canal({"describe", name, "--settings", path}).out,
                      Canal({"describe", name}).out);
        }
        const std::string second = Write(name + ".2.txt", again.out);
        EXPECT_EQ(Canal({"props", name, "--settings", second}).out, again.out);
    }
}

TEST_F(SettingsFile, EditedSettingsChangeTheScript) {
    // Line breaks and indentation are free; absent keys keep their defaults.
    const std::string path = Write("ac.txt", "AC:list{\n"
                                             "  ANALYSIS:list{\n"
                                             "    VARIATION:string{lin}\n"
                                             "    NPOINTS_PER_VARIATION:double{100}\n"
                                             "    FSTART:double{10}\n"
                                             "    FSTOP:double{1e6}\n"
                                             "  }\n"
                                             "}\n");
    Result r = Canal({"script", "AC", "--mask", "1", "--settings", path});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(r.out, "-param vscale lin; -param hscale lin; -param hrange 10 1e+06; "
                     "ac  -env-options lin 100 10 1e+06 \n");

    // A byte-order mark and CR LF line ends, as some editors save, change nothing.
    std::string dos = "\xEF\xBB\xBF";
    for (const char c : std::string("AC:list{\n  ANALYSIS:list{VARIATION:string{lin}\n"
                                    "    NPOINTS_PER_VARIATION:double{100} FSTART:double{10}\n"
                                    "    FSTOP:double{1e6}}}\n"))
        dos += c == '\n' ? std::string("\r\n") : std::string(1, c);
    Result fromDos = Canal({"script", "AC", "--mask", "1", "--settings", Write("dos.txt", dos)});
    EXPECT_EQ(fromDos.status, 0) << fromDos.err;
    EXPECT_EQ(fromDos.out, r.out);

    // What props writes for the edited settings reads back to the same script.
    Result props = Canal({"props", "AC", "--settings", path});
    ASSERT_EQ(props.status, 0);
    const std::string rewritten = Write("ac2.txt", props.out);
    EXPECT_EQ(Canal({"script", "AC", "--mask", "1", "--settings", rewritten}).out, r.out);
}

TEST_F(SettingsFile, AnalysesFilePicksTheItemOfTheNickname) {
    const std::string path = Write("all.txt", "ANALYSES:list{USE:int{-1} CURRENT_ID:int{1}\n"
                                              " TRAN:list{ANALYSIS:list{}}\n"
                                              " AC:list{ANALYSIS:list{FSTART:double{5}}}}\n");
    Result r = Canal({"script", "AC", "--mask", "1", "--settings", path});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "-param vscale log; -param hscale log; -param hrange 5 1e+10; "
                     "ac  -env-options dec 10 5 1e+10 \n");
}

TEST_F(SettingsFile, UnusableSettingsAreUsageErrorsThatSayWhereAndWhy) {
    const std::string absent = Path("absent.txt"), folder = Path("");
    const std::string bad = Write("bad.txt", "AC:list{\n"
                                             "  ANALYSIS:list{FSTART:double{10}}\n"
                                             "  BAD:nosuchtype{1}}\n");
    const std::string open = Write("open.txt", "AC:list{\n  ANALYSIS:list{\n");
    const std::string empty = Write("empty.txt", " \n\t\n");
    const std::string tran = Write("tran.txt", "TRAN:list{ANALYSIS:list{}}");
    const std::string all = Write("all.txt", "ANALYSES:list{TRAN:list{ANALYSIS:list{}}}");
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"ac"},
         "unknown analysis nickname \"ac\" (nicknames are case-sensitive); known: " +
             cli::KnownNicknamesText()},
        {{"AC", "--settings", absent},
         "cannot read settings file " + absent + ": No such file or directory"},
        {{"AC", "--settings", folder}, "cannot read settings file " + folder + ": Is a directory"},
        {{"AC", "--settings", bad},
         bad + ":3:7: cannot parse the settings: unknown type 'nosuchtype' in item 'BAD'"},
        {{"AC", "--settings", open},
         open + ":2:16: cannot parse the settings: unterminated '{' in item 'ANALYSIS'"},
        {{"AC", "--settings", empty}, empty + ": the file holds no settings"},
        {{"AC", "--settings", tran},
         tran + ": the file holds settings labelled \"TRAN\", not \"AC\""},
        {{"OP", "--settings", all}, all + ": the ANALYSES item holds no settings labelled \"OP\""},
    };
    for (const char* command : {"script", "describe", "props"}) {
        for (const auto& [args, message] : cases) {
            std::vector<std::string> words{command};
            words.insert(words.end(), args.begin(), args.end());
            SCOPED_TRACE(::testing::PrintToString(words));
            const Result r = Canal(words);
            EXPECT_EQ(r.status, cli::ExitUsage);
            EXPECT_EQ(r.err, "canal: " + message + "\n");
            EXPECT_EQ(r.out, "");
        }
    }
}

TEST_F(SettingsFile, UnknownAndMistypedKeysWarnButTheRestApplies) {
    const std::string path = Write("ac.txt", "AC:list{ANALYSIS:list{FSTART:double{10} BOGUS:int{1}}"
                                             " MYSTERY:string{x}}");
    Result r = Canal({"script", "AC", "--mask", "1", "--settings", path});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "-param vscale log; -param hscale log; -param hrange 10 1e+10; "
                     "ac  -env-options dec 10 10 1e+10 \n");
    EXPECT_EQ(r.err.find("canal: warning: " + path), 0u) << r.err;
    EXPECT_NE(r.err.find("ANALYSIS.BOGUS"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("MYSTERY"), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find("FSTART"), std::string::npos) << "an applied key is not named";

    // The reader skips a wrongly typed value silently; the tool still says so.
    const std::string typed = Write("typed.txt", "AC:list{ANALYSIS:list{FSTOP:string{big}}}");
    Result mistyped = Canal({"script", "AC", "--mask", "1", "--settings", typed});
    EXPECT_EQ(mistyped.status, 0);
    EXPECT_EQ(mistyped.out, std::string(kDefaultAcBody) + "\n");
    EXPECT_NE(mistyped.err.find("ANALYSIS.FSTOP (string, expected double)"), std::string::npos)
        << mistyped.err;
}

TEST(UnappliedKeys, NamesMissingAndMistypedFieldsAtAnyDepth) {
    const CPropertyList given(CString("X:list{A:int{1} L:list{B:double{2} C:string{s}} D:int{4}}"));
    const CPropertyList applied(CString("X:list{A:int{1} L:list{B:double{2} C:int{3}}}"));
    CPropertyItem g, a;
    ASSERT_TRUE(given.GetNth(0, g));
    ASSERT_TRUE(applied.GetNth(0, a));
    const std::vector<cli::UnappliedKey> keys = cli::UnappliedKeys(g, a);
    ASSERT_EQ(keys.size(), 2u);
    EXPECT_EQ(keys[0].ToText(), "L.C (string, expected int)");
    EXPECT_EQ(keys[1].ToText(), "D");
    EXPECT_TRUE(cli::UnappliedKeys(a, a).empty());
}

TEST(LineColumn, CountsFromOneAndStaysInsideTheText) {
    const std::string_view text = "ab\ncd\n\nx";
    EXPECT_EQ(cli::LineColumn(text, 0), std::make_pair(1u, 1u));
    EXPECT_EQ(cli::LineColumn(text, 2), std::make_pair(1u, 3u)); // the newline itself
    EXPECT_EQ(cli::LineColumn(text, 3), std::make_pair(2u, 1u));
    EXPECT_EQ(cli::LineColumn(text, 6), std::make_pair(3u, 1u));
    EXPECT_EQ(cli::LineColumn(text, 7), std::make_pair(4u, 1u));
    EXPECT_EQ(cli::LineColumn(text, 99), std::make_pair(4u, 2u));
}

TEST_F(SettingsFile, PostProcessingPagesAreReachableByNickname) {
    const std::string path = Write("pp.txt", "PostProc:list{PAGE:list{DIAGRAM:list{"
                                             "TYPE:string{GRAPH} TRACE:string{v(1)}}}}");
    Result script = Canal({"script", "PostProc", "--settings", path});
    EXPECT_EQ(script.status, 0) << script.err;
    EXPECT_EQ(script.out, "-param new-page; plot-graph v(1) ; \n");
    Result describe = Canal({"describe", "PostProc", "--settings", path});
    EXPECT_EQ(describe.status, 0);
    EXPECT_NE(describe.out.find("v(1)"), std::string::npos) << describe.out;
    Result props = Canal({"props", "PostProc", "--settings", path});
    EXPECT_EQ(props.out, "PostProc:list{PAGE:list{DIAGRAM:list{TYPE:string{GRAPH} "
                         "TRACE:string{v(1)}}}}\n");
    EXPECT_EQ(Canal({"props", "PostProc"}).out, "PostProc:list{}\n");
}

} // namespace
