// The tool's command line: how words become options and positionals, the usage messages
// with their exit statuses, the help, the last-resort handler, and the executable itself.
#include "canal_run.h"
#include "cli/args.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <sys/wait.h>

namespace {

using canal_test::Canal;
using canal_test::Result;

TEST(ParseArgs, ValuesAreTheNextWordWhateverItLooksLike) {
    struct Case {
        std::vector<std::string> args;
        std::vector<std::string> positionals;
        std::map<std::string, std::string, std::less<>> values;
        bool help;
    };
    const Case cases[] = {
        {{"--mask", "-33", "AC"}, {"AC"}, {{"--mask", "-33"}}, false},
        {{"--settings", "--help", "--mask=a=b"},
         {},
         {{"--settings", "--help"}, {"--mask", "a=b"}},
         false},
        {{"--settings=", "AC"}, {"AC"}, {{"--settings", ""}}, false},
        {{"--mask", "--", "AC"}, {"AC"}, {{"--mask", "--"}}, false},
        {{"AC", "-", "--", "-h", "--mask", "--"}, {"AC", "-", "-h", "--mask", "--"}, {}, false},
        {{"-h", "AC", "--help"}, {"AC"}, {}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.args));
        std::string error;
        const std::optional<cli::Invocation> call =
            cli::ParseArgs("script", c.args, {"--settings", "--mask"}, error);
        ASSERT_TRUE(call) << error;
        EXPECT_EQ(call->positionals, c.positionals);
        EXPECT_EQ(call->values, c.values);
        EXPECT_EQ(call->help, c.help);
    }

    EXPECT_EQ(cli::ParseMask("0x1F"), 31);
    EXPECT_EQ(cli::ParseMask("-0x1"), -1);
    EXPECT_EQ(cli::ParseMask("+5"), 5);
    for (const char* bad : {"", "x", "1x", "--1", "0x", "+-1"})
        EXPECT_EQ(cli::ParseMask(bad), std::nullopt) << bad;
}

TEST(Main, UsageErrorsNameTheFirstProblemAndExitWithTwo) {
    const std::string circuit = std::string(CANAL_TEST_SOURCE_DIR) + "/examples/amplifier.cir";
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"frobnicate"}, "unknown command \"frobnicate\"; see 'canal --help'"},
        {{"help", "nonsense"}, "unknown command \"nonsense\"; see 'canal --help'"},
        {{"script"}, "script: missing NICKNAME; see 'canal script --help'"},
        {{"run"}, "run: missing CIRCUIT and NICKNAME; see 'canal run --help'"},
        {{"run", "--out", "x", "a"}, "run: missing NICKNAME; see 'canal run --help'"},
        {{"script", "AC", "TRAN", "--mask", "x"}, "script: unexpected argument \"TRAN\""},
        {{"demo", "-"}, "demo: unexpected argument \"-\""},
        {{"script", "AC", "--", "--mask"}, "script: unexpected argument \"--mask\""},
        {{"describe", "AC", "--mask"}, "describe: option --mask needs a value"},
        {{"script", "AC", "--mask", "1", "--mask="},
         "script: option --mask is given more than once"},
        {{"script", "AC", "--mask", "1", "--mask", "2", "--bogus"},
         "script: option --mask is given more than once"},
        {{"script", "AC", "--bogus=3", "--mask", "1", "--mask", "2"},
         "script: unknown option \"--bogus\"; see 'canal script --help'"},
        {{"script", "--help", "--bogus", "--mask"},
         "script: unknown option \"--bogus\"; see 'canal script --help'"},
        {{"describe", "AC", "-5"}, "describe: unknown option \"-5\"; see 'canal describe --help'"},
        {{"script", "AC", "-hx"}, "script: unknown option \"-hx\"; see 'canal script --help'"},
        {{"props", "AC", "--mask", "1"},
         "props: unknown option \"--mask\"; see 'canal props --help'"},
        {{"script", "AC", "--mask="}, "script: --mask needs an integer, not \"\""},
        {{"run", "/nonexistent/a.cir", "AC"},
         "run: cannot read circuit file /nonexistent/a.cir: No such file or directory"},
        {{"run", circuit, "PostProc"}, "\"PostProc\" is a post-processing set, not an analysis"},
    };
    for (const auto& [args, message] : cases) {
        SCOPED_TRACE(::testing::PrintToString(args));
        const Result r = Canal(args);
        EXPECT_EQ(r.status, cli::ExitUsage);
        EXPECT_EQ(r.err, "canal: " + message + "\n");
        EXPECT_EQ(r.out, "");
    }
}

TEST(Main, HelpListsEveryCommandAndEachCommandHasItsOwn) {
    const Result tool = Canal({"--help"});
    EXPECT_EQ(tool.status, cli::ExitOk);
    EXPECT_EQ(tool.out.rfind("Usage: canal COMMAND [ARGUMENTS]\n", 0), 0u);
    EXPECT_NE(
        tool.out.find(
            "\nCommands:\n"
            "  script NICKNAME        print the Nutmeg command script of an analysis\n"
            "  describe NICKNAME      print the readable summary of its settings\n"
            "  props NICKNAME         print its settings as property text\n"
            "  run CIRCUIT NICKNAME   simulate a circuit with one analysis and write the results\n"
            "  plan NICKNAME          print what an analysis would ask of the simulator\n"
            "  members CIRCUIT        list a circuit's instances and models with their parameters\n"
            "  demo                   run the bundled example and say where the results are\n"
            "\nOptions:\n"),
        std::string::npos)
        << tool.out;
    EXPECT_NE(tool.out.find("\n  OP, AC, TRAN, "), std::string::npos) << "lists the nicknames";
    EXPECT_EQ(Canal({"help"}).out, tool.out);
    EXPECT_EQ(Canal({"-h", "script"}).out, tool.out);
    const Result bare = Canal({});
    EXPECT_EQ(bare.status, cli::ExitUsage);
    EXPECT_EQ(bare.err, tool.out);

    for (const char* command : {"script", "describe", "props", "run", "plan", "members", "demo"}) {
        const Result help = Canal({"help", command});
        EXPECT_EQ(help.out.rfind(std::string("Usage: canal ") + command, 0), 0u) << help.out;
        EXPECT_EQ(Canal({command, "AC", "-h"}).out, help.out) << "help wins over the arguments";
    }
    // Post-processing sets can be printed but not run.
    EXPECT_NE(Canal({"script", "-h"}).out.find("PostProc"), std::string::npos);
    EXPECT_EQ(Canal({"run", "-h"}).out.find("PostProc"), std::string::npos);
    EXPECT_EQ(Canal({"--version", "ignored"}).out.rfind("canal ", 0), 0u);
}

TEST(CatchAll, TurnsAnEscapingExceptionIntoAMessageAndStatusOne) {
    std::ostringstream err;
    EXPECT_EQ(cli::CatchAll([] { return 7; }, err), 7);
    EXPECT_EQ(cli::CatchAll([]() -> int { throw std::runtime_error("disk on fire"); }, err),
              cli::ExitFailure);
    EXPECT_EQ(cli::CatchAll([]() -> int { throw 42; }, err), cli::ExitFailure);
    EXPECT_EQ(err.str(),
              "canal: internal error: disk on fire\ncanal: internal error of an unknown kind\n");
}

// Runs the tool with `args` (already shell-quoted), stderr discarded; the exit status and stdout.
std::pair<int, std::string> RunTool(const std::string& args) {
    const std::string command = std::string("'") + CANAL_TOOL_PATH + "' " + args + " 2>/dev/null";
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe)
        return {-1, ""};
    std::string out;
    char buffer[4096];
    for (size_t n = 0; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        out.append(buffer, n);
    const int raw = ::pclose(pipe);
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, out};
}

TEST(Tool, PrintsWhatMainPrintsAndExitsWithItsStatus) {
    if (std::string(CANAL_TOOL_PATH).empty())
        GTEST_SKIP() << "the canal executable is not part of this build";
    const auto [status, out] = RunTool("script AC --mask 1");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(out, canal_test::Canal({"script", "AC", "--mask", "1"}).out);

    EXPECT_EQ(RunTool("describe AC --mask x").first, 2);
    // An analysis without output variables cannot run: the run fails before ngspice.
    const std::string circuit = std::string(CANAL_TEST_SOURCE_DIR) + "/examples/amplifier.cir";
    EXPECT_EQ(RunTool("run '" + circuit + "' AC").first, 1);
}

} // namespace
