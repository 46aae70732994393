// User-defined analysis and direct run: pass-through commands, masks, reader quirks.
#include "analyses/single/run.h"
#include "analyses/single/user.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

const char* const kBlock = "tran 1n 1u\n  print v(out) {x}\r\n\tlet a = b\\c;\nsave all  ";

TEST(UserAnalysis, CommandsPassThroughByteForByteInsideTheScope) {
    Analyses::User user;
    EXPECT_EQ(CommandOf(user), "");
    user.SetUserCommands(kBlock);
    EXPECT_EQ(CommandOf(user), kBlock);
    // Only the scope framing is added: no plot set-up, options or post-processing.
    user.SetPlotTitle("mine");
    EXPECT_EQ(user.toNutmegCommand(-1),
              CString("begin-scope page mine; ") + kBlock + "; end-scope ");
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
