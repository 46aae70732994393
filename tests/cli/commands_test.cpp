// The tool's commands called in-process: exact scripts, settings round trips, and error statuses.
#include "cli/commands.h"
#include "cli/settings.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Result {
    int status;
    std::string out;
    std::string err;
};

Result Canal(const std::vector<std::string>& args) {
    std::ostringstream out, err;
    const int status = cli::Main(args, out, err);
    return {status, out.str(), err.str()};
}

// A settings file in a fresh folder, removed with the fixture.
class SettingsFile : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        dir_ = std::filesystem::temp_directory_path() /
               (std::string("canal_cli_") + info->name() + "_" + std::to_string(::getpid()));
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }

    std::string Write(const std::string& name, const std::string& text) {
        const std::string path = (dir_ / name).string();
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }
    std::string Path(const std::string& name) const { return (dir_ / name).string(); }

private:
    std::filesystem::path dir_;
};

const char* const kDefaultAcBody =
    "-param vscale log; -param hscale log; -param hrange 1 1e+10; ac  -env-options dec 10 1 1e+10 ";
const char* const kDefaultTranBody =
    "-param hrange 0 0.001; tran  -env-options 0.001 0.001 0 0.001 "
    "auto_ic auto_tstep auto_tmax ";

TEST(ScriptCommand, MaskOnePrintsTheDefaultCommandBody) {
    Result ac = Canal({"script", "AC", "--mask", "1"});
    EXPECT_EQ(ac.status, 0) << ac.err;
    EXPECT_EQ(ac.out, std::string(kDefaultAcBody) + "\n");
    EXPECT_EQ(ac.err, "");

    Result tran = Canal({"script", "TRAN", "--mask=1"});
    EXPECT_EQ(tran.status, 0) << tran.err;
    EXPECT_EQ(tran.out, std::string(kDefaultTranBody) + "\n");

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
    std::istringstream lines(r.out);
    std::string heading, next;
    std::getline(lines, heading);
    EXPECT_EQ(heading, "AC Analysis");
    std::getline(lines, next);
    EXPECT_EQ(next.rfind("  ", 0), 0u) << "items under the heading are indented: " << next;
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
        EXPECT_EQ(again.out, props.out);
        EXPECT_EQ(again.err, "") << "defaults read back without a warning";
        EXPECT_EQ(Canal({"script", name, "--settings", path}).out, Canal({"script", name}).out);
        EXPECT_EQ(Canal({"describe", name, "--settings", path}).out, Canal({"describe", name}).out);
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

    Result missing = Canal({"script", "OP", "--settings", path});
    EXPECT_EQ(missing.status, 2);
    EXPECT_NE(missing.err.find(path), std::string::npos) << missing.err;
    EXPECT_NE(missing.err.find("\"OP\""), std::string::npos) << missing.err;
    EXPECT_EQ(missing.out, "");
}

TEST_F(SettingsFile, UnreadableOrWrongSettingsExitWithUsageStatus) {
    Result unknown = Canal({"script", "ac"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_NE(unknown.err.find("\"ac\""), std::string::npos) << unknown.err;
    EXPECT_NE(unknown.err.find("AC"), std::string::npos) << "lists the known nicknames";
    EXPECT_NE(unknown.err.find("TRAN"), std::string::npos);
    EXPECT_EQ(unknown.out, "");

    const std::string absent = Path("absent.txt");
    Result missing = Canal({"props", "AC", "--settings", absent});
    EXPECT_EQ(missing.status, 2);
    EXPECT_NE(missing.err.find(absent), std::string::npos) << missing.err;
    EXPECT_EQ(missing.out, "");

    // A folder opens but cannot be read.
    Result folder = Canal({"props", "AC", "--settings", Path("")});
    EXPECT_EQ(folder.status, 2) << folder.err;

    const std::string bad = Write("bad.txt", "AC:list{\n"
                                             "  ANALYSIS:list{FSTART:double{10}}\n"
                                             "  BAD:nosuchtype{1}}\n");
    Result malformed = Canal({"script", "AC", "--settings", bad});
    EXPECT_EQ(malformed.status, 2);
    EXPECT_EQ(malformed.out, "");
    EXPECT_EQ(malformed.err.find("canal: " + bad + ":3:"), 0u) << malformed.err;
    EXPECT_NE(malformed.err.find("nosuchtype"), std::string::npos) << "the parser's own message";
    const std::string unfinished = Write("unfinished.txt", "AC:list{\n  ANALYSIS:list{\n");
    Result open = Canal({"script", "AC", "--settings", unfinished});
    EXPECT_EQ(open.status, 2);
    EXPECT_TRUE(open.err.find(unfinished + ":1:") != std::string::npos ||
                open.err.find(unfinished + ":2:") != std::string::npos)
        << open.err;

    const std::string empty = Write("empty.txt", " \n\t\n");
    EXPECT_EQ(Canal({"props", "AC", "--settings", empty}).status, 2);

    const std::string tran = Write("tran.txt", "TRAN:list{ANALYSIS:list{}}");
    Result wrongLabel = Canal({"props", "AC", "--settings", tran});
    EXPECT_EQ(wrongLabel.status, 2);
    EXPECT_NE(wrongLabel.err.find("\"TRAN\""), std::string::npos) << wrongLabel.err;
    EXPECT_NE(wrongLabel.err.find("\"AC\""), std::string::npos) << wrongLabel.err;
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

TEST(Main, ArgumentErrorsAndHelp) {
    Result none = Canal({});
    EXPECT_EQ(none.status, 2);
    EXPECT_EQ(none.out, "");
    EXPECT_EQ(none.err.rfind("Usage: canal", 0), 0u) << none.err;

    Result help = Canal({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind("Usage: canal", 0), 0u);
    EXPECT_NE(help.out.find("AC, "), std::string::npos) << "lists the nicknames";

    Result scriptHelp = Canal({"script", "-h"});
    EXPECT_EQ(scriptHelp.status, 0);
    EXPECT_NE(scriptHelp.out.find("--mask N"), std::string::npos);
    EXPECT_NE(scriptHelp.out.find("32  simulator options"), std::string::npos);
    EXPECT_NE(Canal({"describe", "--help"}).out.find("32  no heading item"), std::string::npos);
    EXPECT_EQ(Canal({"props", "--help"}).out.find("--mask"), std::string::npos);
    EXPECT_EQ(Canal({"help", "script"}).out, scriptHelp.out);
    EXPECT_EQ(Canal({"help", "nonsense"}).status, 2);

    Result version = Canal({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out.rfind("canal ", 0), 0u);

    EXPECT_EQ(Canal({"frobnicate"}).status, 2);
    EXPECT_EQ(Canal({"script"}).status, 2);
    EXPECT_EQ(Canal({"script", "AC", "TRAN"}).status, 2);
    EXPECT_EQ(Canal({"script", "AC", "--mask"}).status, 2);
    EXPECT_EQ(Canal({"props", "AC", "--mask", "1"}).status, 2) << "props has no mask";
    EXPECT_EQ(Canal({"script", "AC", "--mask", "1", "--mask", "2"}).status, 2);
    Result badMask = Canal({"script", "AC", "--mask", "one"});
    EXPECT_EQ(badMask.status, 2);
    EXPECT_NE(badMask.err.find("\"one\""), std::string::npos) << badMask.err;
    EXPECT_EQ(Canal({"script", "AC", "--mask", "1x"}).status, 2);
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

TEST(LoadAnalysis, RefusesThePostProcessingSet) {
    std::ostringstream err;
    int status = -1;
    EXPECT_NE(cli::LoadAnalysis("AC", nullptr, err, status), nullptr);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(cli::LoadAnalysis("PostProc", nullptr, err, status), nullptr);
    EXPECT_EQ(status, 2);
    EXPECT_NE(err.str().find("PostProc"), std::string::npos);
}

} // namespace
