// CSV pages: column layout, magnitude/phase of complex traces, full precision, quoting.
#include "report/csv.h"

#include <gtest/gtest.h>

#include <algorithm>
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

TEST(Csv, ManyRunsWithXOfTheirOwnGetAnXColumnEachAndFewShareOne) {
    // Four hundred runs whose time points all differ: one shared x column would be a table of
    // 4000 rows with one value in 400.
    report::Page runs;
    runs.xName = "time";
    for (int r = 0; r < 400; ++r) {
        report::Trace t{"run " + std::to_string(r), {}, {}, true, {}};
        for (int k = 0; k < 10; ++k) {
            t.x.push_back(k + r * 1e-4);
            t.re.push_back(r);
        }
        runs.traces.push_back(t);
    }
    const std::string csv = report::ToCsv(runs);
    EXPECT_EQ(csv.substr(0, csv.find('\n')).substr(0, 40),
              "time (run 0),run 0,time (run 1),run 1,ti");
    EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 11);
    EXPECT_EQ(csv.substr(csv.find('\n') + 1, 16), "0,0,0.0001,1,0.0");

    // Three runs share one x column, the union of their points.
    runs.traces.resize(3);
    EXPECT_EQ(report::ToCsv(runs).substr(0, 27), "time,run 0,run 1,run 2\n0,0,");

    const report::Chart chart{"Runs", {"index", "label"}, {{"0", "Nominal Run"}, {"1", "a, b"}}};
    EXPECT_EQ(report::ChartToCsv(chart), "index,label\n0,Nominal Run\n1,\"a, b\"\n");
}
