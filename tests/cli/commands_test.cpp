// The commands that print an analysis or the whole set, called in-process: exact scripts,
// settings round trips, and what unusable settings files say.
#include "canal_run.h"
#include "cli/settings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using canal_test::Canal;
using canal_test::Result;

/// The mask-1 AC script of a sweep from `start` to `stop` on `scale` axes by `walk`.
std::string AcBody(const std::string& start, const std::string& stop = "1e+10",
                   const std::string& scale = "log", const std::string& walk = "dec 10") {
    return "-param vscale " + scale + "; -param hscale " + scale + "; -param hrange " + start +
           " " + stop + "; ac  -env-options " + walk + " " + start + " " + stop + " \n";
}

TEST(ScriptCommand, MaskSelectsBodyAndScopeFramingInAnySpelling) {
    const Result ac = Canal({"script", "AC", "--mask", "1"});
    EXPECT_EQ(ac.status, 0) << ac.err;
    EXPECT_EQ(ac.out, AcBody("1"));
    EXPECT_EQ(ac.err, "");
    EXPECT_EQ(Canal({"script", "--mask=0x1", "AC"}).out, ac.out);
    // The default title of a fresh analysis is empty.
    EXPECT_EQ(Canal({"script", "AC", "--mask", "17"}).out,
              "begin-scope page ; " + AcBody("1").substr(0, ac.out.size() - 1) + "; end-scope \n");
    EXPECT_EQ(Canal({"script", "AC", "--mask", "0"}).out, "\n");
}

TEST(DescribeCommand, PrintsTheTreeIndentedByLevelWithoutTheHeadingUnderBit32) {
    EXPECT_EQ(Canal({"describe", "AC", "--mask", "33"}).out,
              "Analysis settings\n  Sweep type: Decade\n  Number of points per decade: 10\n"
              "  Starting frequency for sweep: 1\n  Stop frequency for sweep: 1e+10\n"
              "  Vertical axis scale: log\n  Horizontal axis scale: log\n"
              "  Horizontal axis range: 1 to 1e+10\n");
    EXPECT_EQ(Canal({"describe", "AC"}).out.rfind("AC Analysis\n  Plot title: \n", 0), 0u);
}

TEST(PropsCommand, RoundTripsEveryNickname) {
    const canal_test::TempFolder files;
    const std::vector<std::string> names = cli::KnownNicknames();
    ASSERT_GE(names.size(), 2u);
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const Result props = Canal({"props", name});
        ASSERT_EQ(props.out.rfind(name + ":list{", 0), 0u) << props.err;
        const std::string path = files.Write(name, props.out);
        const Result again = Canal({"props", name, "--settings", path});
        EXPECT_EQ(again.err, "") << "defaults read back without a warning";
        // A sweep's untouched linear walk has no points; read back, start = stop is one point.
        // The whole set holds both sweeps.
        if (name != "PSWEEP" && name != "TSWEEP" && name != "ANALYSES") {
            EXPECT_EQ(again.out, props.out);
            for (const char* command : {"script", "describe"})
                EXPECT_EQ(Canal({command, name, "--settings", path}).out,
                          Canal({command, name}).out);
        }
        EXPECT_EQ(Canal({"props", name, "--settings", files.Write(name + "2", again.out)}).out,
                  again.out);
    }
    EXPECT_EQ(Canal({"props", "PostProc"}).out, "PostProc:list{}\n");
}

TEST(ScriptCommand, SettingsFilesEditTheScriptAndNameWhatTheyCouldNotApply) {
    const canal_test::TempFolder files;
    // Line breaks, indentation, a byte-order mark and CR LF line ends are all free.
    std::string dos = "\xEF\xBB\xBF";
    for (const char c : std::string("AC:list{\n  ANALYSIS:list{VARIATION:string{lin}\n"
                                    "    NPOINTS_PER_VARIATION:double{100} FSTART:double{10}\n"
                                    "    FSTOP:double{1e6}}}\n"))
        dos += c == '\n' ? std::string("\r\n") : std::string(1, c);
    struct Case {
        std::string settings, script, warning;
    };
    const Case cases[] = {
        {dos, AcBody("10", "1e+06", "lin", "lin 100"), ""},
        // A set picks the item of the nickname.
        {"ANALYSES:list{USE:int{-1} CURRENT_ID:int{1}\n TRAN:list{ANALYSIS:list{}}\n"
         " AC:list{ANALYSIS:list{FSTART:double{5}}}}\n",
         AcBody("5"), ""},
        // Unknown keys at any depth are named, applied ones are not; the rest applies.
        {"AC:list{ANALYSIS:list{FSTART:double{10} BOGUS:int{1}} MYSTERY:string{x}}", AcBody("10"),
         "settings of AC not applied: ANALYSIS.BOGUS, MYSTERY"},
        // The reader skips a wrongly typed value silently; the tool still says so.
        {"AC:list{ANALYSIS:list{FSTOP:string{big}}}", AcBody("1"),
         "settings of AC not applied: ANALYSIS.FSTOP (string, expected double)"},
    };
    int n = 0;
    for (const Case& c : cases) {
        const std::string path = files.Write(std::to_string(++n), c.settings);
        SCOPED_TRACE(c.settings);
        const Result r = Canal({"script", "AC", "--mask", "1", "--settings", path});
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(r.out, c.script);
        EXPECT_EQ(r.err,
                  c.warning.empty() ? "" : "canal: warning: " + path + ": " + c.warning + "\n");
        // What props writes for the edited settings reads back to the same script.
        const std::string rewritten =
            files.Write("re", Canal({"props", "AC", "--settings", path}).out);
        EXPECT_EQ(Canal({"script", "AC", "--mask", "1", "--settings", rewritten}).out, c.script);
    }
}

TEST(SettingsFile, UnusableSettingsAreUsageErrorsThatSayWhereAndWhy) {
    const canal_test::TempFolder files;
    const std::string absent = files.Path("absent.txt"), folder = files.Path("");
    const std::string bad = files.Write("bad.txt", "AC:list{\n  ANALYSIS:list{FSTART:double{10}}\n"
                                                   "  BAD:nosuchtype{1}}\n");
    const std::string open = files.Write("open.txt", "AC:list{\n  ANALYSIS:list{\n");
    const std::string empty = files.Write("empty.txt", " \n\t\n");
    const std::string tran = files.Write("tran.txt", "TRAN:list{ANALYSIS:list{}}");
    const std::string all = files.Write("all.txt", "ANALYSES:list{TRAN:list{ANALYSIS:list{}}}");
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
    // Positions count from one and stop at the end of the text.
    const std::string_view text = "ab\ncd\n\nx";
    for (const auto& [at, line, column] : {std::tuple{0u, 1u, 1u},
                                           {2u, 1u, 3u},
                                           {3u, 2u, 1u},
                                           {6u, 3u, 1u},
                                           {7u, 4u, 1u},
                                           {99u, 4u, 2u}})
        EXPECT_EQ(cli::LineColumn(text, at), std::make_pair(line, column)) << at;
}

TEST(ScriptCommand, PostProcessingPagesAreReachableByNickname) {
    const canal_test::TempFolder files;
    const std::string record =
        "PostProc:list{PAGE:list{DIAGRAM:list{TYPE:string{GRAPH} TRACE:string{v(1)}}}}";
    const std::string path = files.Write("pp.txt", record);
    EXPECT_EQ(Canal({"script", "PostProc", "--settings", path}).out,
              "-param new-page; plot-graph v(1) ; \n");
    EXPECT_EQ(Canal({"props", "PostProc", "--settings", path}).out, record + "\n");
}

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
              "    Analysis at each value: DC operating point\n    All traces on one page: Yes\n"
              "User Defined Analysis\n  Analysis settings\n"
              "Run Circuit Directly\n  Analysis settings\n");
    // By default every entry is written whole under its heading.
    const std::string described = Canal({"describe", "ANALYSES", "--settings", set}).out;
    EXPECT_LT(described.find("\n  Results saved to file: low.raw\n"),
              described.find("\nTemperature Sweep\n  Plot title: \n"));
}

TEST(SetCommands, ASetReadInPartWarnsAndIsNoAnalysisToPlan) {
    const canal_test::TempFolder files;
    // Two PSWEEP items without a TSWEEP between: the set is read only in part.
    const std::string twice =
        files.Write("twice", "ANALYSES:list{PSWEEP:list{ANALYSIS:list{Ac:list{FSTART:double{5}}}}"
                             " PSWEEP:list{ANALYSIS:list{SweepType:int{1}}}}");
    const Result r = Canal({"props", "ANALYSES", "--settings", twice});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "canal: warning: " + twice + ": some settings of ANALYSES were not applied\n");
    EXPECT_EQ(Canal({"plan", "ANALYSES"}).err,
              "canal: \"ANALYSES\" is the whole set of analyses, not one of them; name the "
              "analysis (its item is found inside a set given with --settings)\n");
}

} // namespace
