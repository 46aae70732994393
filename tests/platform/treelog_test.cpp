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

    EXPECT_EQ(tree.ToText(), "AC analysis\n  Start frequency 1\n    Points 10\n"
                             "  Stop frequency 1e+10\nNoise\n  Output v(2)\n");
    EXPECT_EQ(b->parent, nullptr) << "the root handle counts as top level";

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
                             "]},{\"text\":\"5 \xc2\xb5s, bad \\ufffd byte, cut \\ufffd\\ufffd\","
                             "\"style\":4,\"children\":[]}]");
}

TEST(TreeLog, InsertsOnlyWhenAControlIsAttached) {
    CTreeLog log("Analyses", "settings", nullptr);
    EXPECT_EQ(log.InsertItem(CTreeLog::Heading, "lost", nullptr), nullptr);
    log.Expand(nullptr); // no control, no item: nothing to do, nothing to crash

    CTreeCtrl tree;
    log.SetTreeCtrl(&tree);
    _TREEITEM* h = log.InsertItem(CTreeLog::Heading, "Transient", nullptr);
    _TREEITEM* w = log.InsertItem(CTreeLog::Warning, "Step too large", h);
    ASSERT_TRUE(h && w);
    EXPECT_EQ(w->style, CTreeLog::Warning);
    log.Expand(h);
    EXPECT_TRUE(h->expanded && !w->expanded);
    EXPECT_EQ(tree.ToJson(),
              "[{\"text\":\"Transient\",\"style\":" + std::to_string(CTreeLog::Heading) +
                  ",\"children\":[{\"text\":\"Step too large\",\"style\":" +
                  std::to_string(CTreeLog::Warning) + ",\"children\":[]}]}]");
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

    EXPECT_EQ(log.ToText(), "Monte Carlo\nNominal run\n  mean 1.5\n    sigma 0.25\nRun 1\n"
                            "      explicit\nnegative\n");
    log.Indent();
    log.Clear();
    log.SetTitle("Worst case");
    log.AddLine("after clear");
    EXPECT_EQ(log.ToText(), "Worst case\nafter clear\n");
}
