// SVG plots: well-formed documents, one polyline point per value, decade ticks
// on log axes, and no failure on NaN, empty, single-point or flat traces.
#include "report/axis.h"
#include "report/numbers.h"
#include "report/svg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <regex>

namespace {

/// Checks that every start tag is closed in order; returns the first problem.
std::string TagBalanceProblem(const std::string& svg) {
    std::vector<std::string> stack;
    for (size_t at = svg.find('<'); at != std::string::npos; at = svg.find('<', at + 1)) {
        size_t end = svg.find('>', at);
        if (end == std::string::npos)
            return "unterminated tag";
        std::string tag = svg.substr(at + 1, end - at - 1);
        if (tag.empty() || tag[0] == '?' || tag[0] == '!')
            continue;
        if (tag.find('<') != std::string::npos)
            return "'<' inside a tag";
        if (tag.back() == '/')
            continue;
        if (tag[0] == '/') {
            std::string name = tag.substr(1);
            if (stack.empty() || stack.back() != name)
                return "unexpected </" + name + ">";
            stack.pop_back();
            continue;
        }
        stack.push_back(tag.substr(0, tag.find_first_of(" \t\n")));
    }
    return stack.empty() ? "" : "unclosed <" + stack.back() + ">";
}

std::vector<size_t> PolylinePointCounts(const std::string& svg) {
    std::vector<size_t> counts;
    std::regex re("<polyline points=\"([^\"]*)\"");
    for (auto it = std::sregex_iterator(svg.begin(), svg.end(), re); it != std::sregex_iterator();
         ++it) {
        std::string points = (*it)[1];
        counts.push_back(static_cast<size_t>(std::count(points.begin(), points.end(), ',')));
    }
    return counts;
}

report::Page AcPage(size_t n) {
    report::Page page;
    page.title = "AC <sweep> & more";
    page.xName = "frequency";
    page.xAxis.scale = "dec";
    for (size_t i = 0; i < n; ++i) {
        double f = std::pow(10.0, 6.0 * static_cast<double>(i) / static_cast<double>(n - 1));
        page.x.push_back(f);
    }
    report::Trace t{"v(out)", {}, {}, true};
    for (double f : page.x) {
        double w = f / 1000.0; // first-order low pass at 1 kHz
        t.re.push_back(1.0 / (1.0 + w * w));
        t.im.push_back(-w / (1.0 + w * w));
    }
    page.traces.push_back(t);
    return page;
}

} // namespace

TEST(Svg, AcPlotIsWellFormedWithOnePointPerValueInBothPanels) {
    std::string svg = report::ToSvg(AcPage(61));
    EXPECT_EQ(TagBalanceProblem(svg), "");
    EXPECT_EQ(svg.rfind("<?xml", 0), 0u);
    EXPECT_EQ(PolylinePointCounts(svg), (std::vector<size_t>{61, 61})); // magnitude, phase
    EXPECT_NE(svg.find("AC &lt;sweep&gt; &amp; more"), std::string::npos);
    EXPECT_NE(svg.find("magnitude (dB)"), std::string::npos);
    EXPECT_NE(svg.find("phase (deg)"), std::string::npos);
    EXPECT_NE(svg.find("frequency (Hz)"), std::string::npos);
    EXPECT_NE(svg.find(">1k</text>"), std::string::npos); // decade label in engineering form
    EXPECT_NE(svg.find(">1M</text>"), std::string::npos);
    EXPECT_NE(svg.find(">-90</text>"), std::string::npos); // phase ticks on whole angles
}

TEST(Svg, LogTicksSitAtDecadesWithMinorTicksBetween) {
    auto ticks = report::LogTicks(1.0, 1e4);
    std::vector<double> majors;
    for (const auto& t : ticks)
        if (t.major)
            majors.push_back(t.value);
    ASSERT_EQ(majors.size(), 5u);
    for (size_t i = 0; i < majors.size(); ++i)
        EXPECT_DOUBLE_EQ(majors[i], std::pow(10.0, static_cast<double>(i)));
    EXPECT_EQ(ticks.size(), 5u + 4u * 8u); // 2..9 in each of the four decades
    EXPECT_EQ(ticks.front().label, "1");
    EXPECT_EQ(ticks.back().label, "10k");

    // Twenty decades: labels thin out, still at decades.
    auto wide = report::LogTicks(1e-12, 1e8);
    size_t labelled = 0;
    for (const auto& t : wide) {
        ASSERT_TRUE(t.major);
        double e = std::log10(t.value);
        EXPECT_NEAR(e, std::round(e), 1e-9);
        ++labelled;
    }
    EXPECT_LE(labelled, 11u);
    EXPECT_GE(labelled, 5u);

    // Inside one decade: 1-2-5 ticks.
    auto narrow = report::LogTicks(15.0, 90.0);
    std::vector<double> values;
    for (const auto& t : narrow)
        values.push_back(t.value);
    EXPECT_EQ(values, (std::vector<double>{20.0, 50.0}));
}

TEST(Svg, LinearTicksAreOneTwoFiveSteps) {
    auto ticks = report::LinearTicks(0.0, 1e-3);
    ASSERT_FALSE(ticks.empty());
    EXPECT_EQ(ticks.front().label, "0");
    EXPECT_EQ(ticks.back().label, "1m");
    double step = ticks[1].value - ticks[0].value;
    EXPECT_NEAR(step, 2e-4, 1e-12);
    EXPECT_EQ(ticks[1].label, "200u");

    auto negative = report::LinearTicks(-7.0, 3.0);
    EXPECT_EQ(negative.front().label, "-6");
    EXPECT_EQ(negative.back().label, "2");
    EXPECT_TRUE(report::LinearTicks(1.0, 1.0).empty());
    EXPECT_TRUE(report::LinearTicks(NAN, 1.0).empty());
}

TEST(Svg, NanEmptySinglePointAndFlatTracesStillGiveAValidPlot) {
    report::Page page;
    page.xName = "time";
    page.x = {0.0, 1.0, 2.0, 3.0, 4.0};
    page.traces.push_back({"gappy", {1.0, NAN, 2.0, INFINITY, 3.0}, {}, true});
    page.traces.push_back({"empty", {}, {}, true});
    page.traces.push_back({"flat", {5.0, 5.0, 5.0, 5.0, 5.0}, {}, true});
    std::string svg = report::ToSvg(page);
    EXPECT_EQ(TagBalanceProblem(svg), "");
    // "gappy" breaks into three runs of one point, "flat" is one run of five.
    EXPECT_EQ(PolylinePointCounts(svg), (std::vector<size_t>{1, 1, 1, 5}));
    EXPECT_EQ(svg.find("nan"), std::string::npos);
    EXPECT_EQ(svg.find("voltage (V)"), std::string::npos); // no common quantity
    EXPECT_EQ(svg.find("inf"), std::string::npos);

    report::Page single;
    single.xName = "time";
    single.x = {2.0};
    single.traces.push_back({"one", {0.0}, {}, true});
    std::string one = report::ToSvg(single);
    EXPECT_EQ(TagBalanceProblem(one), "");
    EXPECT_NE(one.find("<circle"), std::string::npos);

    report::Page nothing;
    nothing.x = {1.0, 2.0};
    nothing.traces.push_back({"all nan", {NAN, NAN}, {}, true});
    std::string none = report::ToSvg(nothing);
    EXPECT_EQ(TagBalanceProblem(none), "");
    EXPECT_TRUE(PolylinePointCounts(none).empty());
    EXPECT_NE(none.find("no data"), std::string::npos);
}

TEST(Svg, PhaseIsPlottedWithoutWrapJumps) {
    // Third-order low pass: the phase passes -180 degrees, which atan2 wraps to +180.
    report::Page page;
    page.xName = "frequency";
    report::Trace t{"v(out)", {}, {}, true};
    for (int i = 0; i <= 40; ++i) {
        double w = std::pow(10.0, -2.0 + i * 0.1);
        std::complex<double> h = 1.0 / std::pow(std::complex<double>(1.0, w), 3);
        page.x.push_back(w);
        t.re.push_back(h.real());
        t.im.push_back(h.imag());
    }
    page.traces.push_back(t);
    std::string svg = report::ToSvg(page);
    EXPECT_NE(svg.find(">-270</text>"), std::string::npos);
    EXPECT_EQ(svg.find(">180</text>"), std::string::npos);
}

TEST(Svg, VerticalTitleNamesTheCommonQuantity) {
    report::Page page;
    page.xName = "time";
    page.x = {0.0, 1.0};
    page.traces.push_back({"v(out)", {0.0, 1.0}, {}, true});
    page.traces.push_back({"V(in)", {1.0, 1.0}, {}, true});
    page.traces.push_back({"i(vcc)", {1.0, 1.0}, {}, false}); // saved, not plotted
    EXPECT_NE(report::ToSvg(page).find(">voltage (V)</text>"), std::string::npos);
    page.traces[0].name = "vcc#branch";
    page.traces[1].name = "i(r1)";
    EXPECT_NE(report::ToSvg(page).find(">current (A)</text>"), std::string::npos);
    page.yAxis.label = "amps";
    EXPECT_NE(report::ToSvg(page).find(">amps</text>"), std::string::npos);
}

TEST(Svg, LogAxisDropsValuesThatHaveNoLogarithm) {
    report::Page page;
    page.xName = "frequency";
    page.xAxis.scale = "log";
    page.x = {0.0, 10.0, 100.0, 1000.0};
    page.traces.push_back({"v", {1.0, 2.0, 3.0, 4.0}, {}, true});
    EXPECT_EQ(PolylinePointCounts(report::ToSvg(page)), (std::vector<size_t>{3}));
}

TEST(Svg, OnlyPagesWithXAndPlottedValuesHaveAGraph) {
    report::Page page;
    page.traces.push_back({"v", {1.0}, {}, true});
    EXPECT_FALSE(report::HasGraph(page)); // operating point
    page.x = {1.0};
    EXPECT_TRUE(report::HasGraph(page));
    page.traces[0].plotted = false;
    EXPECT_FALSE(report::HasGraph(page));
}

TEST(Numbers, EngineeringLabelsAndFullPrecision) {
    EXPECT_EQ(report::FormatEngineering(0.0025), "2.5m");
    EXPECT_EQ(report::FormatEngineering(47000), "47k");
    EXPECT_EQ(report::FormatEngineering(1e6), "1M");
    EXPECT_EQ(report::FormatEngineering(-1.5e-9), "-1.5n");
    EXPECT_EQ(report::FormatEngineering(999.99, 3), "1k");
    EXPECT_EQ(report::FormatEngineering(1e21), "1e+21");
    EXPECT_EQ(report::FormatEngineering(NAN), "nan");
    EXPECT_EQ(report::FormatFull(0.1), "0.10000000000000001");
    EXPECT_EQ(report::FormatFull(-INFINITY), "-inf");
    EXPECT_EQ(report::FormatShort(1e10), "1e+10");
}
