// Node name lists: look-ups, token texts and persistence through property text.
#include "platform/spice.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

CSpiceNodeNameList SampleList() {
    CSpiceNodeNameList list;
    list.AddName("v(1)", 1, CSpiceNodeName::Saved);
    list.AddName("v(out)", 1, CSpiceNodeName::Saved | CSpiceNodeName::IPlot);
    list.AddName("i(V1)", 2, 0);
    return list;
}

CPropertyItem FirstItemOf(const char* text) {
    CPropertyList parsed{CString(text)};
    CPropertyItem item;
    EXPECT_EQ(parsed.GetNth(0, item), 1) << text;
    return item;
}

} // namespace

TEST(CSpiceNodeNameList, FindsNamesExactlyAndNamesTheFlaggedEntriesOrAll) {
    CSpiceNodeNameList list = SampleList();
    CSpiceNodeName* out = list.FindName("v(out)");
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out->GetKind(), 1);
    EXPECT_EQ(list.FindName("V(OUT)"), nullptr);
    EXPECT_EQ(list.FindName("v(ou"), nullptr);
    EXPECT_EQ(std::as_const(list).FindName("i(V1)"), &list[2]);

    // Tokens name the flagged entries, or "all" when every entry is flagged and the flag asks.
    const auto tokens = [&](long mask, int flag) {
        return list.toSpaceDelimittedTokens(mask, "all", flag).str();
    };
    EXPECT_EQ(tokens(256, 1) + "|" + tokens(512, 1) + "|" + tokens(1024, 1), "v(1) v(out)|v(out)|");
    list[2].AddFlags(CSpiceNodeName::Saved);
    EXPECT_EQ(tokens(256, 1) + "|" + tokens(256, 0) + "|" + tokens(256 | 512, 1),
              "all|v(1) v(out) i(V1)|all");
    EXPECT_EQ(CSpiceNodeNameList().toSpaceDelimittedTokens(256, "all", 1), "")
        << "an empty list saves nothing, not everything";

    EXPECT_TRUE(list.AnyWithFlags(CSpiceNodeName::IPlot));
    out->RemoveFlags(CSpiceNodeName::IPlot);
    EXPECT_FALSE(list.AnyWithFlags(CSpiceNodeName::IPlot));
    EXPECT_TRUE(list.AnyWithFlags(CSpiceNodeName::Saved | CSpiceNodeName::IPlot));
    EXPECT_FALSE(CSpiceNodeNameList().AnyWithFlags(~0L));
}

TEST(CSpiceNodeNameList, PersistsAndReadsBackThroughPropertyText) {
    CSpiceNodeNameList list;
    list.AddName("v(1)", 2, 256);
    list.AddName("i(V{1}\\x)", 0, 768);
    const CPropertyItem item = list.toPropertyItem("Nodes");
    const CString field = item.GetField();
    EXPECT_EQ(field, "Nodes:list{NODE:list{Name:string{v(1)} Kind:int{2} Flags:int{256}} "
                     "NODE:list{Name:string{i(V\\{1\\}\\\\x)} Kind:int{0} Flags:int{768}}}");

    CSpiceNodeNameList back;
    back.AddName("stale");
    EXPECT_EQ(back.fromPropertyItem(FirstItemOf(field), "Nodes"), 1);
    EXPECT_EQ(back.toPropertyItem("Nodes").GetField(), field);

    EXPECT_EQ(CSpiceNodeNameList().toPropertyItem("UserNodes").GetField(), "UserNodes:list{}");
    EXPECT_EQ(back.fromPropertyItem(FirstItemOf("UserNodes:list{}"), "UserNodes"), 1);
    EXPECT_TRUE(back.IsEmpty());
}

TEST(CSpiceNodeNameList, ReadingSkipsMalformedNodesAndRefusesForeignItems) {
    const CPropertyItem item =
        FirstItemOf("Nodes:list{NODE:list{Name:string{a} Kind:int{1} Flags:int{256}} "
                    "NODE:list{Name:int{5} Kind:int{0} Flags:int{0}} "
                    "NODE:list{Kind:int{3}} "
                    "NODE:string{b} "
                    "OTHER:list{Name:string{x}} "
                    "NODE:list{Name:string{c} Flags:int{512} Extra:string{z}} "
                    "NODE:list{Name:string{d} Kind:double{1.5}}}");

    CSpiceNodeNameList list;
    EXPECT_EQ(list.fromPropertyItem(item, "Nodes"), 1);
    ASSERT_EQ(list.GetCount(), 2u);
    EXPECT_EQ(list[0], CSpiceNodeName("a", 1, 256));
    EXPECT_EQ(list[1], CSpiceNodeName("c", 0, 512));

    // Wrong label or a value that is no list: refused, list untouched.
    EXPECT_EQ(list.fromPropertyItem(item, "UserNodes"), 0);
    EXPECT_EQ(list.fromPropertyItem(FirstItemOf("Nodes:string{a b}"), "Nodes"), 0);
    EXPECT_EQ(list.GetCount(), 2u);
}
