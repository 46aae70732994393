// User-defined analysis and direct run: pass-through commands, masks, reader quirks.
#include "analyses/single/run.h"
#include "analyses/single/user.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

// The kind table pins that the block passes through byte for byte.
TEST(UserAnalysis, OnlyTheScopeFramesTheCommands) {
    Analyses::User user;
    EXPECT_EQ(CommandOf(user), "");
    user.SetUserCommands("op\n print all;");
    user.SetPlotTitle("mine");
    EXPECT_EQ(user.toNutmegCommand(-1), "begin-scope page mine; op\n print all;; end-scope ");
}

TEST(RunAnalysis, IsTheBareRunCommand) {
    Analyses::Run run;
    run.SetPlotTitle("title");
    run.SetAnalysisRawfile("out.raw");
    EXPECT_EQ(run.toNutmegCommand(-1), "run;");
    EXPECT_EQ(run.GetAnalysisProperty(), 2);
    EXPECT_EQ(ReadableText(run, Analysis::TT_COMMAND | Analysis::TT_NO_HEADING),
              "Representation as SPICE commands\n  run\n");
}

} // namespace
