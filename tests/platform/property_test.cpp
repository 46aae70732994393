// Property items and lists: text form round trips and reader robustness.
#include "platform/property.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace {

CPropertyList Parsed(const char* text) {
    CPropertyList list;
    const PropertyParseResult r = list.Parse(text);
    EXPECT_TRUE(r.ok) << text << ": " << r.message.c_str() << " at " << r.position;
    return list;
}

} // namespace

TEST(PropertyItem, EveryTypeIsWrittenInItsTextFormAndSurvivesWriteAndRead) {
    const double values[] = {1, 0.5, -2e-9};
    CPropertyList inner;
    inner.AddItem(CPropertyItem("IncrPlot", 1));
    inner.AddItem(CPropertyItem("Mode", 0));
    const std::pair<CPropertyItem, const char*> fields[] = {
        {CPropertyItem("N", 42L), "N:int{42}"},
        {CPropertyItem("N", -7), "N:int{-7}"},
        {CPropertyItem("F", 1e10), "F:double{1e+10}"},
        {CPropertyItem("F", 0.001), "F:double{0.001}"},
        {CPropertyItem("name", "Rinp_model"), "name:string{Rinp_model}"},
        {CPropertyItem("B", true), "B:bool{true}"},
        {CPropertyItem("B", false), "B:bool{false}"},
        {CPropertyItem("X", CPropertyItem::PI_FLAG), "X:flag{}"},
        {CPropertyItem("A", values, 3), "A:array{1 0.5 -2e-09}"},
        {CPropertyItem("A", values, 0), "A:array{}"},
        {CPropertyItem("NODES", inner), "NODES:list{IncrPlot:int{1} Mode:int{0}}"},
        {CPropertyItem("E", CPropertyList()), "E:list{}"},
        {CPropertyItem(), ""},
    };
    for (const auto& [item, field] : fields)
        EXPECT_EQ(item.GetField(), field);
    EXPECT_EQ(CPropertyItem("F", 1e-12).GetValue(), "1e-12");
    EXPECT_EQ(CPropertyItem("NODES", inner).GetValue(), "IncrPlot:int{1} Mode:int{0}");

    // Read back bit for bit, not merely close.
    const double exact[] = {3.141592653589793, -0.0, 1e-300, 6.02214076e23};
    CPropertyList deep;
    deep.AddItem(CPropertyItem("leaf", 0.1 + 0.2));
    CPropertyList list;
    list.AddItem(CPropertyItem("i", std::numeric_limits<long>::min()));
    list.AddItem(CPropertyItem("d", 0.1 + 0.2));
    list.AddItem(CPropertyItem("s", "a b\tc"));
    list.AddItem(CPropertyItem("b", true));
    list.AddItem(CPropertyItem("f", CPropertyItem::PI_FLAG));
    list.AddItem(CPropertyItem("a", exact, 4));
    list.AddItem(CPropertyItem("l", deep));
    list.AddItem(CPropertyItem("", 5));
    const CString text = list.GetList();
    const CPropertyList back = Parsed(text);
    EXPECT_EQ(back.GetList(), text);
    CPropertyItem item;
    ASSERT_TRUE(back.GetNth(0, item));
    EXPECT_EQ(item.GetInt(), std::numeric_limits<long>::min());
    ASSERT_TRUE(back.GetNth(1, item));
    EXPECT_EQ(item.GetDouble(), 0.1 + 0.2);
    ASSERT_TRUE(back.GetNth(5, item));
    double out[4] = {};
    item.WriteToArray(out);
    EXPECT_TRUE(std::signbit(out[1]));
    EXPECT_TRUE(std::equal(out, out + 4, exact));
    ASSERT_TRUE(back.GetNth(7, item));
    EXPECT_EQ(item.GetLabel(), "");
    EXPECT_FALSE(back.GetNth(8, item));
    EXPECT_FALSE(back.GetNth(-1, item));
}

TEST(PropertyItem, StringsEscapeBracesAndBackslashes) {
    const CPropertyItem item("cmd", "echo {a} \\ b}{");
    EXPECT_EQ(item.GetField(), "cmd:string{echo \\{a\\} \\\\ b\\}\\{}");
    EXPECT_EQ(item.GetValue(), "echo {a} \\ b}{");

    EXPECT_EQ(Parsed(item.GetField()).begin()->GetString(), "echo {a} \\ b}{");

    // Hand-written records may leave balanced braces unescaped.
    EXPECT_EQ(Parsed("x:string{a {b} c} y:int{1}").GetList(), "x:string{a \\{b\\} c} y:int{1}");
}

TEST(PropertyItem, TypedGettersConvertAcrossTypes) {
    EXPECT_EQ(
        std::vector<long>({CPropertyItem("s", "5").GetInt(), CPropertyItem("s", "2.6").GetInt(),
                           CPropertyItem("s", "abc").GetInt(), CPropertyItem("b", true).GetInt(),
                           CPropertyItem("d", 1e300).GetInt()}),
        (std::vector<long>{5, 3, 0, 1, std::numeric_limits<long>::max()}));
    EXPECT_EQ(CPropertyItem("s", " 2.5e3 ").GetDouble(), 2500.0);
    EXPECT_EQ(CPropertyItem("s", "true").GetBool(), CPropertyItem::PI_TRUE);
    EXPECT_EQ(CPropertyItem("i", 7).GetDouble(), 7.0);
    EXPECT_EQ(CPropertyItem("i", 7).GetString(), "7");
    EXPECT_EQ(CPropertyItem("d", 1e10).GetString(), "1e+10");
    EXPECT_EQ(CPropertyItem("d", 0.0).GetBool(), CPropertyItem::PI_FALSE);
    EXPECT_EQ(CPropertyItem("l", CPropertyList()).GetString(), "");
    EXPECT_EQ(CPropertyItem("i", 7).GetPropertyList().GetCount(), 0);
    EXPECT_EQ(CPropertyItem("i", 7).GetArrayCount(), 0);
}

TEST(PropertyItem, ExplicitTypeTextBuildsTheItemOrNothing) {
    EXPECT_EQ(CPropertyItem("F", "double", "1e10").GetField(), "F:double{1e+10}");
    EXPECT_EQ(CPropertyItem("N", "int", " 12 ").GetField(), "N:int{12}");
    EXPECT_EQ(CPropertyItem("S", "string", "a}b").GetField(), "S:string{a\\}b}");
    EXPECT_EQ(CPropertyItem("L", "list", "a:int{1}  b:flag{}").GetField(),
              "L:list{a:int{1} b:flag{}}");
    EXPECT_EQ(CPropertyItem("A", "array", "1 2\n3").GetField(), "A:array{1 2 3}");
    for (const auto& [type, text] :
         {std::pair{"int", "1.5"}, {"integer", "1"}, {"list", "a:int{1"}, {"bool", "maybe"}})
        EXPECT_TRUE(CPropertyItem("X", type, text).IsEmpty()) << type << " " << text;
}

TEST(PropertyList, ReadsAnyWhiteSpaceBetweenItemsAndWritesSingleBlanks) {
    const CPropertyList list = Parsed("  A:int{1}\n\n\tB:list{\r\n  c:double{ 2 }\n  "
                                      "d:string{x y}\n}   E:array{ 1\t2 }\n");
    EXPECT_EQ(list.GetList(), "A:int{1} B:list{c:double{2} d:string{x y}} E:array{1 2}");
    EXPECT_TRUE(Parsed(" \n\t ").IsEmpty());
}

TEST(PropertyList, DeepNestingRoundTripsUpToTheLimitAndIsRefusedBeyond) {
    auto nested = [](int levels) {
        std::string text;
        for (int k = 0; k < levels; ++k)
            text += "L:list{";
        text += "v:int{1}";
        text += std::string(static_cast<size_t>(levels), '}');
        return text;
    };
    const std::string ok = nested(200);
    CPropertyList list;
    PropertyParseResult r = list.Parse(ok);
    EXPECT_TRUE(r.ok) << r.message.c_str();
    EXPECT_EQ(list.GetList(), ok.c_str());

    // Far beyond the limit: refused with a message, not a stack overflow.
    const std::string deep = "good:int{1} " + nested(100000);
    CPropertyList refused;
    r = refused.Parse(deep);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.position, 12u + 200 * 7 + 6);
    EXPECT_EQ(r.message, "lists nested deeper than 200 levels in item 'L'");
    EXPECT_EQ(refused.GetList(), "good:int{1}");
}

TEST(PropertyList, MalformedTextKeepsTheItemsBeforeTheFault) {
    struct Case {
        const char* text;
        size_t position;
        const char* message;
    };
    const Case cases[] = {
        {"A:int{1} FSTART:double{1", 22, "unterminated '{' in item 'FSTART'"},
        {"A:int{1} L:list{b:int{2}", 15, "unterminated '{' in item 'L'"},
        {"A:int{1} L:list{b:int{2", 21, "unterminated '{' in item 'b'"},
        {"A:int{1} S:string{x\\", 17, "unterminated '{' in item 'S'"},
        {"A:int{1} B:foo{1}", 11, "unknown type 'foo' in item 'B'"},
        {"A:int{1} B int{1}", 10, "missing ':' after label 'B'"},
        {"A:int{1} B", 10, "missing ':' after label 'B'"},
        {"A:int{1} B:", 11, "missing '{' after type '' in item 'B'"},
        {"A:int{1} B:int", 14, "missing '{' after type 'int' in item 'B'"},
        {"A:int{1} B:int 1", 14, "missing '{' after type 'int' in item 'B'"},
        {"A:int{1} }", 9, "unexpected '}' outside any item"},
        {"A:int{1} N:int{1.5}", 15, "invalid int value '1.5' in item 'N'"},
        {"A:int{1} N:int{99999999999999999999}", 15,
         "invalid int value '99999999999999999999' in item 'N'"},
        {"A:int{1} D:double{1,5}", 18, "invalid double value '1,5' in item 'D'"},
        {"A:int{1} F:flag{x}", 16, "invalid flag value 'x' in item 'F'"},
        {"A:int{1} B:bool{yes}", 16, "invalid bool value 'yes' in item 'B'"},
        {"A:int{1} R:array{1 x}", 17, "invalid array value '1 x' in item 'R'"},
        {"A:int{1} L:list{b:double{}}", 25, "invalid double value '' in item 'b'"},
    };
    for (const Case& c : cases) {
        CPropertyList list;
        const PropertyParseResult r = list.Parse(c.text);
        EXPECT_FALSE(r.ok) << c.text;
        EXPECT_EQ(r.position, c.position) << c.text;
        EXPECT_EQ(r.message, c.message) << c.text;
        EXPECT_EQ(list.GetList(), "A:int{1}") << c.text;
    }

    // Truncating a valid record anywhere never crashes and never keeps a partial item.
    const std::string full = "A:int{1} L:list{s:string{a\\}b} d:double{2.5}} E:array{1 2}";
    for (size_t n = 0; n <= full.size(); ++n) {
        CPropertyList list;
        const PropertyParseResult r = list.Parse(std::string_view(full).substr(0, n));
        const CString text = list.GetList();
        EXPECT_TRUE(std::string_view(full).substr(0, n).starts_with(text.view())) << n;
        if (r.ok)
            EXPECT_EQ(CPropertyList(text).GetList(), text);
        else
            EXPECT_LE(r.position, n);
    }

    // A stray brace after a complete list keeps that list.
    CPropertyList stray;
    const PropertyParseResult r = stray.Parse("A:int{1} L:list{x:int{1}}} C:int{3}");
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.position, 25u);
    EXPECT_EQ(stray.GetList(), "A:int{1} L:list{x:int{1}}");

    // The text constructor keeps the good items too.
    EXPECT_EQ(CPropertyList("A:int{1} B:").GetCount(), 1);
}

TEST(PropertyList, ExtractFieldWalksTheListEvenInPlace) {
    CPropertyList list = Parsed("a:int{1} b:int{2} c:int{3}");
    CPropertyItem first;
    CPropertyList rest;
    list.ExtractField(first, rest);
    EXPECT_EQ(first.GetLabel() + "|" + rest.GetList(), "a|b:int{2} c:int{3}");
    EXPECT_EQ(list.GetCount(), 3);
    std::string labels;
    for (list.ExtractField(first, list); !first.IsEmpty(); list.ExtractField(first, list))
        labels += first.GetLabel().str();
    EXPECT_EQ(labels, "abc");
    list.AddItem(CPropertyItem());
    EXPECT_TRUE(list.IsEmpty()) << "an empty item is not added";

    CPropertyList twice = Parsed("x:int{1}");
    twice.AppendItems(twice);
    EXPECT_EQ(twice.GetList(), "x:int{1} x:int{1}");
}
