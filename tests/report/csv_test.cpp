// CSV pages: column layout, magnitude/phase of complex traces, full precision, quoting; and
// compound analyses' grapher pages as report pages.
#include "report/csv.h"
#include "report/grapher_pages.h"
#include "report/svg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

report::Page PageOf(std::vector<double> x, std::vector<report::Trace> traces,
                    const char* xName = "time") {
    report::Page page;
    page.xName = xName;
    page.x = std::move(x);
    page.traces = std::move(traces);
    return page;
}

} // namespace

TEST(Csv, PagesAreColumnsOfFullPrecisionWithMagnitudeAndPhaseOfComplexTraces) {
    const std::pair<report::Page, const char*> cases[] = {
        // Saved but not plotted is still a column.
        {PageOf({0.0, 1e-3, 2e-3}, {{"v(out)", {0.1, 1.0 / 3.0, -2.5e-12}, {}, true, {}},
                                    {"v(in)", {1, 2, 3}, {}, false, {}}}),
         "time,v(out),v(in)\n0,0.10000000000000001,1\n0.001,0.33333333333333331,2\n"
         "0.002,-2.4999999999999998e-12,3\n"},
        {PageOf({10.0, 100.0},
                {{"v(a,b)", {1.0, 0.0}, {1.0, -2.0}, true, {}}, {"v(c)", {3.0, 0.5}, {}, true, {}}},
                ""),
         "x,\"|v(a,b)|\",\"phase(v(a,b))\",v(c)\n10,1.4142135623730951,45,3\n100,2,-90,0.5\n"},
        // Short traces and special values leave readable cells.
        {PageOf({0, 1, 2}, {{"a", {NAN, INFINITY}, {}, true, {}}, {"b", {1.0}, {1.0}, true, {}}}),
         "time,a,|b|,phase(b)\n0,nan,1.4142135623730951,45\n1,inf,,\n2,,,\n"},
        // Without x: name and value rows.
        {PageOf({}, {{"v(out)", {2.5}, {}, true, {}}, {"i(v1)", {-1e-3}, {}, true, {}}}),
         "name,value\nv(out),2.5\ni(v1),-0.001\n"},
        {PageOf({}, {{"pole", {-1.0, -1.0}, {2.0, -2.0}, true, {}}}),
         "name,value,imaginary\npole[0],-1,2\npole[1],-1,-2\n"},
    };
    for (const auto& [page, csv] : cases)
        EXPECT_EQ(report::ToCsv(page), csv);

    for (const auto& [text, field] : {std::pair{"say \"hi\"", "\"say \"\"hi\"\"\""},
                                      {"two\nlines", "\"two\nlines\""},
                                      {" padded", "\" padded\""},
                                      {"plain", "plain"}})
        EXPECT_EQ(report::CsvField(text), field);
    const report::Chart chart{"Runs", {"index", "label"}, {{"0", "Nominal Run"}, {"1", "a, b"}}};
    EXPECT_EQ(report::ChartToCsv(chart), "index,label\n0,Nominal Run\n1,\"a, b\"\n");
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
    EXPECT_EQ(csv.substr(0, 40), "time (run 0),run 0,time (run 1),run 1,ti");
    EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 11);
    EXPECT_EQ(csv.substr(csv.find('\n') + 1, 16), "0,0,0.0001,1,0.0");
    // Three runs share one x column, the union of their points.
    runs.traces.resize(3);
    EXPECT_EQ(report::ToCsv(runs).substr(0, 27), "time,run 0,run 1,run 2\n0,0,");
}

namespace {

CGrapherPage MonteCarloPage() {
    CGrapherPage page("Monte Carlo Analysis");
    page.SetXAxis("time", "s");
    CGrapherTrace& nominal = page.AddTrace("v(out) Nominal Run");
    nominal.AddPoint(0.0, 1.0);
    nominal.AddPoint(2e-3, 2.0);
    CGrapherTrace& run = page.AddTrace("v(out) Run #1");
    run.AddPoint(0.0, 1.5);
    run.AddPoint(1e-3, 1.75);
    run.AddPoint(2e-3, 2.5);
    ChartLog& log = page.AddChartLog("Descriptions of the runs");
    log.AddEntry("Mean: 2.25");
    log.AddEntry("Run #1: 2.5", 1);
    CGrapherChart& table = page.AddChart("Runs");
    table.columns = {"index", "value"};
    table.rows = {{"0", "2"}, {"1", "2.5"}};
    return page;
}

TEST(GrapherPages, RunsKeepTheirOwnXAndLogsAndTablesComeAlong) {
    const std::vector<report::Page> pages = report::PagesFromGrapher({MonteCarloPage()});
    ASSERT_EQ(pages.size(), 1u);
    const report::Page& p = pages[0];
    EXPECT_EQ(p.title + "|" + p.xName + "|" + p.xAxis.label, "Monte Carlo Analysis|time|time (s)");
    EXPECT_EQ(p.log, (std::vector<std::string>{"Descriptions of the runs", "Mean: 2.25",
                                               "  Run #1: 2.5"}));
    ASSERT_EQ(p.charts.size(), 1u);
    EXPECT_EQ(p.charts[0].rows[1], (std::vector<std::string>{"1", "2.5"}));

    // One x column, the union of the runs' points; a run without a point there leaves a gap.
    EXPECT_EQ(report::ToCsv(p),
              "time,v(out) Nominal Run,v(out) Run #1\n0,1,1.5\n0.001,,1.75\n0.002,2,2.5\n");
    EXPECT_TRUE(report::HasGraph(p));
    EXPECT_NE(report::ToSvg(p).find("Run #1"), std::string::npos);
}

TEST(GrapherPages, TracesOverTheSameXShareThePageX) {
    CGrapherPage sweep("Parameter Sweep");
    for (const char* name : {"v(out) r1=1k", "v(out) r1=2k"}) {
        CGrapherTrace& t = sweep.AddTrace(name);
        t.AddPoint(10.0, 1.0);
        t.AddPoint(100.0, CComplex(0.5, -0.5));
    }
    const report::Page p = report::PagesFromGrapher({sweep}).front();
    EXPECT_EQ(p.x, (std::vector<double>{10.0, 100.0}));
    ASSERT_EQ(p.traces.size(), 2u);
    EXPECT_TRUE(p.traces[1].x.empty());
    EXPECT_EQ(p.traces[1].im, (std::vector<double>{0.0, -0.5}));
    EXPECT_EQ(p.xAxis.label, "");
}

} // namespace
