// DC sweep analysis: nested-source command, full script mask, stored names, summary.
#include "analyses/single/dc_sweep.h"
#include "analyses/single/tf.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

TEST(DcSweepAnalysis, SecondSourceIsCommandedOnlyWhenUsed) {
    const std::string second = "Source1:string{vv1} Source2:string{vbias} Start2:double{-2} ";
    const std::pair<std::string, const char*> cases[] = {
        {"", "dc  -env-options $0 0 1 0.5"},
        {second, "dc  -env-options vv1 0 1 0.5"},
        {second + "UseSource2:int{1}", "dc  -env-options vv1 0 1 0.5 vbias -2 1 0.5"},
        {"Source1:string{vv1} Start2:double{-2} UseSource2:int{1} Start1:double{-1.5} "
         "Stop1:double{2500} Increment1:double{0.25}",
         "dc  -env-options vv1 -1.5 2500 0.25 $0 -2 1 0.5"},
    };
    for (const auto& [keys, command] : cases)
        EXPECT_EQ(CommandOf(*WithKeys("DC_SWEEP", keys.c_str())), command) << keys;
}

TEST(DcSweepAnalysis, ScriptKeepsThePlotSetupFlag) {
    // With the flag, a plot set-up that saves every candidate says "all".
    Analyses::DcSweep dc;
    dc.SetSource1("vv1");
    dc.GetAnalysisNodes().SetNodesString("a b");
    const CString script = dc.toNutmegCommand(-1);
    EXPECT_EQ(script.Find("begin-scope page "), 0);
    EXPECT_NE(script.Find("save all"), -1) << script.c_str();
    EXPECT_NE(script.Find("dc  -env-options vv1 0 1 0.5"), -1);

    Analyses::Tf tf;
    tf.GetAnalysisNodes().SetNodesString("a b");
    const CString plain = tf.toNutmegCommand(-1);
    EXPECT_EQ(plain.Find("save all"), -1) << plain.c_str();
    EXPECT_NE(plain.Find("save a b"), -1) << plain.c_str();
}

TEST(DcSweepAnalysis, SummaryHasOneExpandedGroupPerSweptSource) {
    EXPECT_EQ(SettingsText(*WithKeys("DC_SWEEP", "Source1:string{vv1} Source2:string{vv2}")),
              "Analysis settings\n"
              "  DC Sweep for source #1\n"
              "    Source: vv1\n"
              "    Start Value: 0\n"
              "    Stop Value: 1\n"
              "    Increment Value: 0.5\n");

    const auto dc =
        WithKeys("DC_SWEEP", "Source1:string{vv1} UseSource2:int{1} Increment2:double{2e-3}");
    EXPECT_EQ(SettingsText(*dc), "Analysis settings\n"
                                 "  DC Sweep for source #1\n"
                                 "    Source: vv1\n"
                                 "    Start Value: 0\n"
                                 "    Stop Value: 1\n"
                                 "    Increment Value: 0.5\n"
                                 "  DC Sweep for source #2\n"
                                 "    Source: $0\n"
                                 "    Start Value: 0\n"
                                 "    Stop Value: 1\n"
                                 "    Increment Value: 0.002\n");

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
    EXPECT_EQ(dc.GetSource1(), "vv1");
    EXPECT_EQ(dc.GetSource2(), "vv2");
    EXPECT_EQ(dc.GetAnalysisNodes().GetMode(), Analyses::AnalysisNodes::Components);
    dc.reset();
    EXPECT_EQ(dc.GetAnalysisNodes().GetMode(), Analyses::AnalysisNodes::Components);
}

} // namespace
