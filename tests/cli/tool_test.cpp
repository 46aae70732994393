// The canal executable itself: what a shell sees is what cli::Main produces.
#include "canal_run.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <sys/wait.h>

namespace {

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
