// CSV pages: column layout, magnitude/phase of complex traces, full precision, quoting.
#include "report/csv.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(Csv, RealTracesGiveOneColumnEachWithFullPrecision) {
    report::Page page;
    page.xName = "time";
    page.x = {0.0, 1e-3, 2e-3};
    page.traces.push_back({"v(out)", {0.1, 1.0 / 3.0, -2.5e-12}, {}, true, {}});
    page.traces.push_back(
        {"v(in)", {1, 2, 3}, {}, false, {}}); // saved, not plotted: still a column
    EXPECT_EQ(report::ToCsv(page), "time,v(out),v(in)\n"
                                   "0,0.10000000000000001,1\n"
                                   "0.001,0.33333333333333331,2\n"
                                   "0.002,-2.4999999999999998e-12,3\n");
}

TEST(Csv, ComplexTracesGiveMagnitudeAndPhaseInDegreesUnderQuotedNames) {
    report::Page page;
    page.x = {10.0, 100.0};
    page.traces.push_back({"v(a,b)", {1.0, 0.0}, {1.0, -2.0}, true, {}});
    page.traces.push_back({"v(c)", {3.0, 0.5}, {}, true, {}});
    EXPECT_EQ(report::ToCsv(page), "x,\"|v(a,b)|\",\"phase(v(a,b))\",v(c)\n"
                                   "10,1.4142135623730951,45,3\n"
                                   "100,2,-90,0.5\n");

    EXPECT_EQ(report::CsvField("say \"hi\""), "\"say \"\"hi\"\"\"");
    EXPECT_EQ(report::CsvField("two\nlines"), "\"two\nlines\"");
    EXPECT_EQ(report::CsvField(" padded"), "\" padded\"");
    EXPECT_EQ(report::CsvField("plain"), "plain");
}

TEST(Csv, ShortTracesAndSpecialValuesLeaveReadableCells) {
    report::Page page;
    page.xName = "time";
    page.x = {0, 1, 2};
    page.traces.push_back({"a", {NAN, INFINITY}, {}, true, {}});
    page.traces.push_back({"b", {1.0}, {1.0}, true, {}});
    EXPECT_EQ(report::ToCsv(page), "time,a,|b|,phase(b)\n"
                                   "0,nan,1.4142135623730951,45\n"
                                   "1,inf,,\n"
                                   "2,,,\n");
}

TEST(Csv, PagesWithoutXAreNameValueRows) {
    report::Page op;
    op.traces.push_back({"v(out)", {2.5}, {}, true, {}});
    op.traces.push_back({"i(v1)", {-1e-3}, {}, true, {}});
    EXPECT_EQ(report::ToCsv(op), "name,value\nv(out),2.5\ni(v1),-0.001\n");

    report::Page pz;
    pz.traces.push_back({"pole", {-1.0, -1.0}, {2.0, -2.0}, true, {}});
    EXPECT_EQ(report::ToCsv(pz), "name,value,imaginary\npole[0],-1,2\npole[1],-1,-2\n");
}
