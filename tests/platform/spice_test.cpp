// Node name lists and event variants: look-ups, token texts, persistence through property
// text, carrying plot-callback arguments, conversions and sinks.
#include "platform/events.h"
#include "platform/spice.h"

#include <gtest/gtest.h>

#include <limits>
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
                    "NODE:list{Name:int{5} Kind:int{0} Flags:int{0}} NODE:list{Kind:int{3}} "
                    "NODE:string{b} OTHER:list{Name:string{x}} "
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

TEST(IITVariant, CarriesPlotCallbackArgumentsElementNamesAndParameterValues) {
    CSpiceDataRow row;
    const CSpiceArgs args(CSpiceArgs::Data, &row);
    const IITVariant v(&args);
    EXPECT_FALSE(v.IsEmpty());
    EXPECT_EQ(v.GetSpiceArgsPtr(), &args);
    EXPECT_EQ(v.GetLong(), 0);
    EXPECT_EQ(v.GetString(), "");
    EXPECT_TRUE(IITVariant().IsEmpty());
    for (const IITVariant& other : {IITVariant(), IITVariant(4005L), IITVariant(CString("x"))})
        EXPECT_EQ(other.GetSpiceArgsPtr(), nullptr);

    const CStringArray names = {"Resistor", "rmod", "r1", "resistance"};
    const IITVariant list(names);
    ASSERT_NE(list.GetStringArray(), nullptr);
    EXPECT_EQ(*list.GetStringArray(), names);
    EXPECT_EQ(list.GetString(), "");
    EXPECT_EQ(IITVariant(2.0).GetStringArray(), nullptr);
    const IITVariant value(CPropertyItem("value", 4.7e3));
    ASSERT_NE(value.GetPropertyItem(), nullptr);
    EXPECT_EQ(value.GetString() + "/" + std::to_string(value.GetLong()), "4700/4700");
    EXPECT_EQ(IITVariant(CPropertyItem("value", CString("1k"))).GetString(), "1k");
}

TEST(IITVariant, ConvertsBetweenNumbersAndText) {
    EXPECT_EQ(IITVariant(42).GetDouble(), 42.0);
    EXPECT_EQ(IITVariant(-42L).GetString(), "-42");
    EXPECT_EQ(IITVariant(2.75).GetLong(), 2);
    EXPECT_EQ(IITVariant(-2.75).GetLong(), -2);
    EXPECT_EQ(IITVariant(1e30).GetLong(), std::numeric_limits<long>::max());
    EXPECT_EQ(IITVariant(0.001).GetString() + " " + IITVariant(1e10).GetString(), "0.001 1e+10");
    // Text reads as a whole number or not at all.
    const std::pair<const char*, long> texts[] = {{" 42 ", 42},
                                                  {"9007199254740993", 9007199254740993L},
                                                  {"1e3", 1000},
                                                  {"12abc", 0},
                                                  {"", 0}};
    for (const auto& [text, number] : texts)
        EXPECT_EQ(IITVariant(CString(text)).GetLong(), number) << text;
    EXPECT_EQ(IITVariant(CString("+2.5")).GetDouble(), 2.5);
    EXPECT_EQ(IITVariant(CString("abc")).GetDouble(), 0.0);
    EXPECT_EQ(IITVariant().GetDouble(), 0.0);
    EXPECT_EQ(IITVariant("text").GetString(), "text");
}

TEST(CEventSink, TheBaseIgnoresEveryEvent) {
    CEventSource source("ngspice");
    CSpiceDataRow row;
    const CSpiceArgs args(CSpiceArgs::Data, &row);
    const EventData data{4005, IITVariant(&args)};
    CEventSink base("base", "ignores everything");
    EXPECT_EQ(base.HandleEventIndirect(&source, &data), 0);
    EXPECT_EQ(base.HandleEventIndirect(nullptr, nullptr), 0);
}
