// The canal executable itself: output and exit statuses as a shell sees them.
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

class Tool : public ::testing::Test {
protected:
    void SetUp() override {
        if (std::string(CANAL_TOOL_PATH).empty())
            GTEST_SKIP() << "the canal executable is not part of this build";
    }
};

TEST_F(Tool, PrintsTheScriptAndExitsWithZero) {
    const ToolResult r = RunTool("script AC --mask 1");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "-param vscale log; -param hscale log; -param hrange 1 1e+10; "
                     "ac  -env-options dec 10 1 1e+10 \n");
    EXPECT_EQ(RunTool("--help").status, 0);
}

TEST_F(Tool, UsageErrorsExitWithTwo) {
    EXPECT_EQ(RunTool("").status, 2);
    EXPECT_EQ(RunTool("script NOPE").status, 2);
    EXPECT_EQ(RunTool("props AC --settings /nonexistent/canal/settings.txt").status, 2);
    EXPECT_EQ(RunTool("describe AC --mask x").status, 2);
}

} // namespace
