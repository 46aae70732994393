// Compound analyses' grapher pages as report pages, and runs with x values of their own in CSV
// and SVG.
#include "report/csv.h"
#include "report/grapher_pages.h"
#include "report/svg.h"

#include <gtest/gtest.h>

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
    EXPECT_EQ(p.title, "Monte Carlo Analysis");
    EXPECT_EQ(p.xName, "time");
    EXPECT_EQ(p.xAxis.label, "time (s)");
    EXPECT_TRUE(p.x.empty());
    ASSERT_EQ(p.traces.size(), 2u);
    EXPECT_EQ(p.traces[1].x, (std::vector<double>{0.0, 1e-3, 2e-3}));
    EXPECT_EQ(p.traces[1].re, (std::vector<double>{1.5, 1.75, 2.5}));
    EXPECT_EQ(p.log, (std::vector<std::string>{"Descriptions of the runs", "Mean: 2.25",
                                               "  Run #1: 2.5"}));
    ASSERT_EQ(p.charts.size(), 1u);
    EXPECT_EQ(p.charts[0].rows[1], (std::vector<std::string>{"1", "2.5"}));

    // One x column, the union of the runs' points; a run without a point there leaves a gap.
    EXPECT_EQ(report::ToCsv(p), "time,v(out) Nominal Run,v(out) Run #1\n"
                                "0,1,1.5\n"
                                "0.001,,1.75\n"
                                "0.002,2,2.5\n");
    EXPECT_TRUE(report::HasGraph(p));
    const std::string svg = report::ToSvg(p);
    EXPECT_NE(svg.find("Run #1"), std::string::npos);
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
    EXPECT_TRUE(p.traces[0].x.empty());
    EXPECT_EQ(p.traces[0].im, (std::vector<double>{0.0, -0.5}));
    EXPECT_EQ(p.xAxis.label, "");
}

} // namespace
