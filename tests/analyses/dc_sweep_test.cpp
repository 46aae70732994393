// DC sweep analysis: nested-source command, full script mask, stored names, summary.
#include "analyses/single/dc_sweep.h"
#include "analyses/single/tf.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

TEST(DcSweepAnalysis, SecondSourceIsCommandedOnlyWhenUsed) {
    const char* const cases[][2] = {
        {"", "dc  -env-options $0 0 1 0.5"},
        {"Source1:string{vv1} Source2:string{vbias} Start2:double{-2}",
         "dc  -env-options vv1 0 1 0.5"},
        {"Source1:string{vv1} Start2:double{-2} UseSource2:int{1} Start1:double{-1.5} "
         "Stop1:double{2500} Increment1:double{0.25}",
         "dc  -env-options vv1 -1.5 2500 0.25 $0 -2 1 0.5"},
    };
    for (const auto& [keys, command] : cases)
        EXPECT_EQ(CommandOf(*WithKeys("DC_SWEEP", keys)), command) << keys;
}

TEST(DcSweepAnalysis, ScriptKeepsThePlotSetupFlag) {
    // With the flag, a plot set-up that saves every candidate says "all"; without it, the names.
    Analyses::DcSweep dc;
    Analyses::Tf tf;
    dc.GetAnalysisNodes().SetNodesString("a b");
    tf.GetAnalysisNodes().SetNodesString("a b");
    EXPECT_NE(dc.toNutmegCommand(-1).Find("; checknodes 1; save all; iplot a b; "), -1)
        << dc.toNutmegCommand(-1);
    EXPECT_NE(tf.toNutmegCommand(-1).Find("; checknodes 7; save a b; iplot a b; "), -1)
        << tf.toNutmegCommand(-1);
}

TEST(DcSweepAnalysis, SummaryHasOneExpandedGroupPerSweptSource) {
    EXPECT_EQ(SettingsText(*WithKeys("DC_SWEEP", "Source1:string{vv1} Source2:string{vv2}"))
                  .find("source #2"),
              std::string::npos);
    const auto dc =
        WithKeys("DC_SWEEP", "Source1:string{vv1} UseSource2:int{1} Increment2:double{2e-3}");
    EXPECT_EQ(
        SettingsText(*dc),
        "Analysis settings\n  DC Sweep for source #1\n    Source: vv1\n    Start Value: 0\n"
        "    Stop Value: 1\n    Increment Value: 0.5\n  DC Sweep for source #2\n"
        "    Source: $0\n    Start Value: 0\n    Stop Value: 1\n    Increment Value: 0.002\n");
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    _TREEITEM* settings = dc->toReadableText(log, nullptr, Analysis::TT_SETTINGS, "");
    ASSERT_NE(settings, nullptr);
    ASSERT_EQ(settings->children.size(), 1u);
    for (const auto& group : settings->children[0]->children)
        EXPECT_TRUE(group->expanded) << group->text.c_str();
}

TEST(DcSweepAnalysis, ChoosesComponentsThroughResetAndTrimsSetNames) {
    Analyses::DcSweep dc;
    dc.SetSource1("  vv1 ");
    dc.SetSource2("\tvv2  ");
    EXPECT_EQ(ChangedKeys(dc), "Source1:string{vv1} Source2:string{vv2}");
    dc.reset();
    EXPECT_EQ(dc.GetAnalysisNodes().GetMode(), Analyses::AnalysisNodes::Components);
}

} // namespace
