// User-defined analysis and direct run: pass-through commands, masks, persistence.
#include "analyses/single/run.h"
#include "analyses/single/user.h"

#include <gtest/gtest.h>

namespace {

using Analysis = Analyses::Analysis;

CPropertyItem Record(const char* label, const char* analysisList) {
    CPropertyList outer;
    outer.AddItem(CPropertyItem("ANALYSIS", CPropertyList(analysisList)));
    return CPropertyItem(label, outer);
}

CPropertyItem ThroughText(const CPropertyItem& item) {
    CPropertyItem stored;
    CPropertyList(item.GetField()).GetNth(0, stored);
    return stored;
}

const char* const kBlock = "tran 1n 1u\n  print v(out) {x}\r\n\tlet a = b\\c;\nsave all  ";

TEST(UserAnalysis, CommandsPassThroughByteForByte) {
    Analyses::User user;
    EXPECT_EQ(user.toNutmegCommand(Analysis::NT_COMMAND), "");

    user.SetUserCommands(kBlock);
    EXPECT_EQ(user.GetUserCommands(), kBlock);
    EXPECT_EQ(user.toNutmegCommand(Analysis::NT_COMMAND), kBlock);
    // Only the scope framing is added: no plot set-up, options or post-processing.
    user.SetPlotTitle("mine");
    EXPECT_EQ(user.toNutmegCommand(-1),
              CString("begin-scope page mine; ") + kBlock + "; end-scope ");
}

TEST(UserAnalysis, CommandBlockSurvivesStorageAsText) {
    Analyses::User user;
    user.SetUserCommands(kBlock);
    Analyses::User copy;
    ASSERT_EQ(copy.fromPropertyItem(ThroughText(user.toPropertyItem())), 1);
    EXPECT_EQ(copy.GetUserCommands(), kBlock);
    EXPECT_EQ(copy.toPropertyItem().GetField(), user.toPropertyItem().GetField());
}

TEST(UserAnalysis, ReaderSkipsWrongTypesAndReportsUnknownKeys) {
    Analyses::User user;
    user.SetUserCommands("old");
    EXPECT_EQ(user.fromPropertyItem(Record("USER", "USER_CMD:int{3}")), 1);
    EXPECT_EQ(user.GetUserCommands(), "");

    EXPECT_EQ(user.fromPropertyItem(Record("USER", "Other:int{1} USER_CMD:string{op}")), 0);
    EXPECT_EQ(user.GetUserCommands(), "op");
}

TEST(RunAnalysis, IsTheBareRunCommandAndAcceptsAnyRecord) {
    Analyses::Run run;
    EXPECT_EQ(run.fromPropertyItem(Record("RUN", "Whatever:int{1} More:string{x}")), 1);
    run.SetPlotTitle("title");
    run.SetAnalysisRawfile("out.raw");
    EXPECT_EQ(run.toNutmegCommand(-1), "run;");
    EXPECT_EQ(run.GetAnalysisProperty(), 2);
}

TEST(RunAnalysis, SummaryListsTheRunStatement) {
    Analyses::Run run;
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    run.toReadableText(log, nullptr, Analysis::TT_COMMAND | Analysis::TT_NO_HEADING, nullptr);
    EXPECT_EQ(ctrl.ToText(), "Representation as SPICE commands\n  run\n");
}

} // namespace
