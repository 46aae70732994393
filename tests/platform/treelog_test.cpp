// Tree and chart logs: structure, indentation and escaping of their renderings.
#include "platform/chartlog.h"
#include "platform/treelog.h"

#include <gtest/gtest.h>

TEST(TreeCtrl, TextIndentsTwoBlanksPerLevelAndKeepsInsertionOrder) {
    CTreeCtrl tree;
    _TREEITEM* a = tree.InsertItem("AC analysis", 1, nullptr);
    _TREEITEM* a1 = tree.InsertItem("Start frequency 1", 0, a);
    tree.InsertItem("Points 10", 0, a1);
    _TREEITEM* b = tree.InsertItem("Noise", 1, tree.Root());
    tree.InsertItem("Output v(2)", 0, b);
    tree.InsertItem("Stop frequency 1e+10", 0, a);

    EXPECT_EQ(tree.ToText(), "AC analysis\n"
                             "  Start frequency 1\n"
                             "    Points 10\n"
                             "  Stop frequency 1e+10\n"
                             "Noise\n"
                             "  Output v(2)\n");
    ASSERT_EQ(tree.Roots().size(), 2u);
    EXPECT_EQ(a->parent, nullptr);
    EXPECT_EQ(b->parent, nullptr) << "the root handle counts as top level";
    EXPECT_EQ(a1->parent, a);
    EXPECT_EQ(a->children.size(), 2u);

    tree.DeleteAllItems();
    EXPECT_TRUE(tree.Roots().empty());
    EXPECT_EQ(tree.ToText(), "");
    EXPECT_EQ(tree.ToJson(), "[]");
}

TEST(TreeCtrl, JsonNestsChildrenAndEscapesText) {
    CTreeCtrl tree;
    _TREEITEM* top = tree.InsertItem("say \"hi\"\\", 2, nullptr);
    tree.InsertItem("line1\nline2\ttab\x01", 0, top);
    tree.InsertItem("5 \xc2\xb5s, bad \xff byte, cut \xe2\x82", 4, nullptr);

    EXPECT_EQ(tree.ToJson(), "[{\"text\":\"say \\\"hi\\\"\\\\\",\"style\":2,\"children\":["
                             "{\"text\":\"line1\\nline2\\ttab\\u0001\",\"style\":0,\"children\":[]}"
                             "]},"
                             "{\"text\":\"5 \xc2\xb5s, bad \\ufffd byte, cut \\ufffd\\ufffd\","
                             "\"style\":4,\"children\":[]}]");
}

TEST(TreeLog, InsertsOnlyWhenAControlIsAttached) {
    CTreeLog log("Analyses", "settings", nullptr);
    EXPECT_EQ(log.InsertItem(CTreeLog::Heading, "lost", nullptr), nullptr);
    log.Expand(nullptr); // no control, no item: nothing to do, nothing to crash

    CTreeCtrl tree;
    log.SetTreeCtrl(&tree);
    EXPECT_EQ(log.GetTreeCtrl(), &tree);
    _TREEITEM* h = log.InsertItem(CTreeLog::Heading, "Transient", nullptr);
    ASSERT_NE(h, nullptr);
    _TREEITEM* w = log.InsertItem(CTreeLog::Warning, "Step too large", h);
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(h->style, CTreeLog::Heading);
    EXPECT_EQ(w->style, CTreeLog::Warning);
    EXPECT_FALSE(h->expanded);
    log.Expand(h);
    EXPECT_TRUE(h->expanded);
    EXPECT_FALSE(w->expanded);
    EXPECT_EQ(tree.ToText(), "Transient\n  Step too large\n");
}

TEST(ChartLog, TextIndentsEntriesUnderTheTitle) {
    ChartLog log("Monte Carlo");
    log.AddLine("Nominal run");
    log.Indent();
    log.AddLine("mean 1.5");
    log.Indent();
    log.AddLine("sigma 0.25");
    log.Unindent();
    log.Unindent();
    log.Unindent(); // never below the left margin
    log.AddLine("Run 1");
    log.AddEntry("explicit", 3);
    log.AddEntry("negative", -2);

    EXPECT_EQ(log.ToText(), "Monte Carlo\n"
                            "Nominal run\n"
                            "  mean 1.5\n"
                            "    sigma 0.25\n"
                            "Run 1\n"
                            "      explicit\n"
                            "negative\n");
    ASSERT_EQ(log.GetEntries().size(), 6u);
    EXPECT_EQ(log.GetEntries()[2].indent, 2);

    log.Indent();
    log.Clear();
    log.SetTitle("Worst case");
    log.AddLine("after clear");
    EXPECT_EQ(log.GetTitle(), "Worst case");
    EXPECT_EQ(log.ToText(), "Worst case\nafter clear\n");
}
