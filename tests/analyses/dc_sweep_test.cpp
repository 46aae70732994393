// DC sweep analysis: the full script mask and the expanded summary groups.
#include "analyses/single/dc_sweep.h"
#include "analyses/single/tf.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

namespace {

using namespace test;

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

// The groups' texts are pinned with the kind's other rules in the kind table.
TEST(DcSweepAnalysis, SummaryGroupsAreExpanded) {
    const auto dc = WithKeys("DC_SWEEP", "UseSource2:int{1}");
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    _TREEITEM* settings = dc->toReadableText(log, nullptr, Analysis::TT_SETTINGS, "");
    ASSERT_NE(settings, nullptr);
    ASSERT_EQ(settings->children.size(), 1u);
    ASSERT_EQ(settings->children[0]->children.size(), 2u);
    for (const auto& group : settings->children[0]->children)
        EXPECT_TRUE(group->expanded) << group->text.c_str();
}

} // namespace
