// The canal executable itself: what a shell sees is what cli::Main produces.
#include "canal_run.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <sys/wait.h>

namespace {

struct ToolResult {
    int status = -1;
    std::string out;
};

// Runs the tool with `args` (already shell-quoted), stderr discarded.
ToolResult RunTool(const std::string& args) {
    ToolResult r;
    const std::string command = std::string("'") + CANAL_TOOL_PATH + "' " + args + " 2>/dev/null";
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe)
        return r;
    char buffer[4096];
    size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
        r.out.append(buffer, n);
    const int raw = ::pclose(pipe);
    r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return r;
}

TEST(Tool, PrintsWhatMainPrintsAndExitsWithItsStatus) {
    if (std::string(CANAL_TOOL_PATH).empty())
        GTEST_SKIP() << "the canal executable is not part of this build";
    const ToolResult script = RunTool("script AC --mask 1");
    EXPECT_EQ(script.status, 0);
    EXPECT_EQ(script.out, canal_test::Canal({"script", "AC", "--mask", "1"}).out);
    EXPECT_NE(script.out, "");

    EXPECT_EQ(RunTool("").status, 2);
    EXPECT_EQ(RunTool("describe AC --mask x").status, 2);
    // An analysis without output variables cannot run: the run fails before ngspice.
    const std::string circuit = std::string(CANAL_TEST_SOURCE_DIR) + "/examples/amplifier.cir";
    EXPECT_EQ(RunTool("run '" + circuit + "' AC --out /nonexistent/canal").status, 1);
}

} // namespace
