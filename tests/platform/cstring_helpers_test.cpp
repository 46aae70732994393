// CString formatting and editing, statement splitting, engineering notation,
// GCD/LCM and the string table.
#include "platform/cstring.h"
#include "platform/helpers.h"
#include "platform/resources.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

TEST(CString, FormatsNumbersLikeCInTheCLocale) {
    EXPECT_EQ(CString::Formatted("%lg %lg %lg", 1e10, 0.001, 1e-12), "1e+10 0.001 1e-12");
    EXPECT_EQ(CString::Formatted("%u points", 4000000000u), "4000000000 points");
    CString s("old");
    s.Format("%s-%s", s.c_str(), "new");
    EXPECT_EQ(s, "old-new");
    const std::string longText(1000, 'x');
    EXPECT_EQ(CString::Formatted("%s%d", longText.c_str(), 7).GetLength(), 1001);

    // A host that switched to a decimal-comma locale must not change command texts.
    if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8")) {
        EXPECT_EQ(CString::Formatted("%lg", 300.15), "300.15");
        std::setlocale(LC_NUMERIC, "C");
    }
}

TEST(CString, TrimsFindsAndComparesWithoutCase) {
    EXPECT_EQ(CString(" \t a b \r\n").Trim() + "|" + CString("--x-y--").Trim("-") + "|" +
                  CString("---").Trim("-"),
              "a b|x-y|");
    // Positions past either end give nothing rather than failing.
    const CString t("V(out),I(vin)");
    EXPECT_EQ(std::vector<int>({t.Find('(', 2), t.Find('(', 100), t.Find("I("), t.Find("zz"),
                                t.ReverseFind(')'), t.FindOneOf(",)")}),
              (std::vector<int>{8, -1, 7, -1, 12, 5}));
    EXPECT_EQ(t.Right(99) + "|" + t.Mid(2, 3) + "|" + t.Mid(10, 100) + "|" + t.Left(-1) + "|" +
                  t.Mid(100),
              "V(out),I(vin)|out|in)||");
    EXPECT_EQ(CString("Temp").CompareNoCase("TEMP"), 0);
    EXPECT_LT(CString("abc").CompareNoCase("ABD"), 0);
    EXPECT_GT(CString("abcd").CompareNoCase("ABC"), 0);
    EXPECT_NE(CString("Temp").Compare("TEMP"), 0);
    CString r("a.b.c");
    EXPECT_EQ(r.Replace(".", "::") + r.Replace("", "x"), 2);
    EXPECT_EQ(r, "a::b::c");
}

TEST(Statements, SplitOnlyAtSemicolonsOutsideRecordsAndQuotes) {
    // An escaped closing brace inside a record does not end it; a lone quote inside a record
    // does not swallow the rest of the script.
    const std::pair<const char*, CStringArray> cases[] = {
        {"begin-scope page AC; orvo MONTE a:string{x;y} b:list{c:string{\\{;\\}}}; "
         "echo \"a;b\"; end-scope ",
         {"begin-scope page AC", " orvo MONTE a:string{x;y} b:list{c:string{\\{;\\}}}",
          " echo \"a;b\"", " end-scope "}},
        {"orvo psweep s:string{\\};x};run", {"orvo psweep s:string{\\};x}", "run"}},
        {"orvo x q:string{5\"};run", {"orvo x q:string{5\"}", "run"}},
        {"a;;b;", {"a", "", "b", ""}},
    };
    for (const auto& [script, statements] : cases) {
        CStringArray out;
        DivideStringIntoStatements(script, out);
        EXPECT_EQ(out, statements) << script;
    }
}

TEST(Helpers, ExpandNumberGivesEngineeringMantissaAndPrefix) {
    struct Case {
        double value;
        const char* unit;
        int engineering, prefix;
        double mantissa;
        const char* expanded;
    };
    const Case cases[] = {
        {0.0015, "s", 1, 1, 1.5, "ms"},    {0, "s", 1, 1, 0, "s"},
        {-2.2e-9, "F", 1, 1, -2.2, "nF"},  {1e-3, "s", 1, 1, 1, "ms"},
        {1000, "Hz", 1, 1, 1, "kHz"},      {999.5, "Hz", 1, 1, 999.5, "Hz"},
        {4.7e-6, nullptr, 1, 1, 4.7, "u"}, {5e15, "Hz", 1, 1, 5000, "THz"},
        {2e-18, "s", 1, 1, 0.002, "fs"},   {0.00015, "s", 1, 0, 150, "e-6s"},
        {0.00015, "s", 0, 0, 1.5, "e-4s"},
    };
    for (const Case& c : cases) {
        double m = 0;
        CString unit;
        ExpandNumber(c.value, c.unit, &m, &unit, c.engineering, c.prefix);
        EXPECT_DOUBLE_EQ(m, c.mantissa) << c.value;
        EXPECT_EQ(unit, c.expanded) << c.value;
    }
}

TEST(Helpers, GcdAndLcmOfFrequenciesTolerateRounding) {
    EXPECT_EQ(GCD(1000, 1500), 500);
    EXPECT_NEAR(GCD(1000, 1500.0000001), 500, 1e-6);
    EXPECT_NEAR(GCD(1500.0000001, 1000), 500, 1e-6);
    EXPECT_EQ(GCD(60, 0), 60);
    EXPECT_EQ(GCD(-60, 90), 30);
    EXPECT_NEAR(GCD(0.3, 0.2), 0.1, 1e-12);
    EXPECT_EQ(GCD(1e6, 1e6 + 1), 1);
    EXPECT_NEAR(LCM(50, 60), 300, 1e-9);
    EXPECT_EQ(LCM(0, 60), 0);
}

TEST(Helpers, GroundMemoryTicksAndStrings) {
    EXPECT_EQ(ConvertNullToGround("") + ConvertNullToGround("out"), "$0out");
    MEMORYSTATUS status;
    GlobalMemoryStatus(&status);
    EXPECT_GT(status.dwTotalPhys, 1u << 20);
    EXPECT_EQ(status.dwTotalPhys, GetTotalPhysicalMemory());
    const uint32_t t0 = GetTickCount();
    EXPECT_LE(static_cast<uint32_t>(GetTickCount() - t0), 1000u);

    EXPECT_STREQ(GetResourceText(IDS_PROPERTY_ERR_UNTERMINATED), "unterminated '{' in item '%s'");
    EXPECT_EQ(GetResourceString(IDS_PROPERTY_ERR_UNKNOWN_TYPE), "unknown type '%s' in item '%s'");
    EXPECT_STREQ(GetResourceText(99999), "");
}
