// SVG plots and their axes: the exact document of a small plot, tick placement, labels and
// fitted ranges, well-formed documents with one polyline point per value, no failure on NaN,
// empty, single-point or flat traces, and histograms.
#include "report/axis.h"
#include "report/histogram.h"
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
    report::Trace t{"v(out)", {}, {}, true, {}};
    for (double f : page.x) {
        double w = f / 1000.0; // first-order low pass at 1 kHz
        t.re.push_back(1.0 / (1.0 + w * w));
        t.im.push_back(-w / (1.0 + w * w));
    }
    page.traces.push_back(t);
    return page;
}

} // namespace

TEST(Svg, SmallPlotIsDrawnExactly) {
    report::Page page;
    page.title = "t";
    page.xName = "time";
    page.x = {0, 3};
    page.traces.push_back({"v(a)", {0, 3}, {}, true, {}});
    EXPECT_EQ(report::ToSvg(page, {320, 240}), R"svg(<?xml version="1.0" encoding="UTF-8"?>
<svg xmlns="http://www.w3.org/2000/svg" width="320" height="240" viewBox="0 0 320 240" font-family="Helvetica, Arial, sans-serif" font-size="12">
<rect x="0" y="0" width="320" height="240" fill="#ffffff"/>
<text x="160" y="24" text-anchor="middle" font-size="16" font-weight="bold">t</text>
<defs><clipPath id="plot0"><rect x="78" y="48" width="52" height="134"/></clipPath></defs>
<rect x="78" y="48" width="52" height="134" fill="#fbfbfb" stroke="none"/>
<g class="grid">
<line x1="78" y1="48" x2="78" y2="182" stroke="#d0d0d0" stroke-width="1"/>
<line x1="95.33" y1="48" x2="95.33" y2="182" stroke="#d0d0d0" stroke-width="1"/>
<line x1="112.67" y1="48" x2="112.67" y2="182" stroke="#d0d0d0" stroke-width="1"/>
<line x1="130" y1="48" x2="130" y2="182" stroke="#d0d0d0" stroke-width="1"/>
<line x1="78" y1="182" x2="130" y2="182" stroke="#d0d0d0" stroke-width="1"/>
<line x1="78" y1="137.33" x2="130" y2="137.33" stroke="#d0d0d0" stroke-width="1"/>
<line x1="78" y1="92.67" x2="130" y2="92.67" stroke="#d0d0d0" stroke-width="1"/>
<line x1="78" y1="48" x2="130" y2="48" stroke="#d0d0d0" stroke-width="1"/>
</g>
<g class="traces" clip-path="url(#plot0)" fill="none" stroke-width="1.6" stroke-linejoin="round">
<g stroke="#1f77b4">
<polyline points="78,182 130,48"/>
</g>
</g>
<rect x="78" y="48" width="52" height="134" fill="none" stroke="#333333"/>
<line x1="74" y1="182" x2="78" y2="182" stroke="#333333"/>
<text x="71" y="186" text-anchor="end">0</text>
<line x1="74" y1="137.33" x2="78" y2="137.33" stroke="#333333"/>
<text x="71" y="141.33" text-anchor="end">1</text>
<line x1="74" y1="92.67" x2="78" y2="92.67" stroke="#333333"/>
<text x="71" y="96.67" text-anchor="end">2</text>
<line x1="74" y1="48" x2="78" y2="48" stroke="#333333"/>
<text x="71" y="52" text-anchor="end">3</text>
<line x1="78" y1="182" x2="78" y2="186" stroke="#333333"/>
<text x="78" y="200" text-anchor="middle">0</text>
<line x1="95.33" y1="182" x2="95.33" y2="186" stroke="#333333"/>
<text x="95.33" y="200" text-anchor="middle">1</text>
<line x1="112.67" y1="182" x2="112.67" y2="186" stroke="#333333"/>
<text x="112.67" y="200" text-anchor="middle">2</text>
<line x1="130" y1="182" x2="130" y2="186" stroke="#333333"/>
<text x="130" y="200" text-anchor="middle">3</text>
<text x="18" y="115" transform="rotate(-90 18 115)" text-anchor="middle">voltage (V)</text>
<text x="104" y="222" text-anchor="middle">time (s)</text>
<g class="legend">
<line x1="146" y1="58" x2="168" y2="58" stroke="#1f77b4" stroke-width="2.5"/>
<text x="174" y="62" >v(a)</text>
</g>
</svg>
)svg");
}

TEST(Svg, AcPlotIsWellFormedWithOnePointPerValueInBothPanels) {
    const std::string svg = report::ToSvg(AcPage(61));
    EXPECT_EQ(TagBalanceProblem(svg), "");
    EXPECT_EQ(PolylinePointCounts(svg), (std::vector<size_t>{61, 61})); // magnitude, phase
    // Decade labels in engineering form, phase ticks on whole angles.
    for (const char* text : {"AC &lt;sweep&gt; &amp; more", ">magnitude (dB)<", ">phase (deg)<",
                             ">frequency (Hz)<", ">1k</text>", ">1M</text>", ">-90</text>"})
        EXPECT_NE(svg.find(text), std::string::npos) << text;

    // Third-order low pass: the phase passes -180 degrees, which atan2 wraps to +180.
    report::Page page;
    page.xName = "frequency";
    report::Trace t{"v(out)", {}, {}, true, {}};
    for (int i = 0; i <= 40; ++i) {
        const double w = std::pow(10.0, -2.0 + i * 0.1);
        const std::complex<double> h = 1.0 / std::pow(std::complex<double>(1.0, w), 3);
        page.x.push_back(w);
        t.re.push_back(h.real());
        t.im.push_back(h.imag());
    }
    page.traces.push_back(t);
    const std::string phase = report::ToSvg(page);
    EXPECT_NE(phase.find(">-270</text>"), std::string::npos) << "no wrap jump";
    EXPECT_EQ(phase.find(">180</text>"), std::string::npos);
}

TEST(Svg, NanEmptySinglePointAndFlatTracesStillGiveAValidPlot) {
    report::Page page;
    page.xName = "time";
    page.x = {0.0, 1.0, 2.0, 3.0, 4.0};
    page.traces.push_back({"gappy", {1.0, NAN, 2.0, INFINITY, 3.0}, {}, true, {}});
    page.traces.push_back({"empty", {}, {}, true, {}});
    page.traces.push_back({"flat", {5.0, 5.0, 5.0, 5.0, 5.0}, {}, true, {}});
    const std::string svg = report::ToSvg(page);
    EXPECT_EQ(TagBalanceProblem(svg), "");
    // "gappy" breaks into three runs of one point, "flat" is one run of five.
    EXPECT_EQ(PolylinePointCounts(svg), (std::vector<size_t>{1, 1, 1, 5}));
    for (const char* absent : {"nan", "inf", "voltage (V)"}) // no common quantity
        EXPECT_EQ(svg.find(absent), std::string::npos) << absent;

    report::Page single;
    single.x = {2.0};
    single.traces.push_back({"one", {0.0}, {}, true, {}});
    const std::string one = report::ToSvg(single);
    EXPECT_EQ(TagBalanceProblem(one), "");
    EXPECT_NE(one.find("<circle"), std::string::npos);

    single.traces[0].re = {NAN};
    const std::string none = report::ToSvg(single);
    EXPECT_EQ(TagBalanceProblem(none), "");
    EXPECT_TRUE(PolylinePointCounts(none).empty());
    EXPECT_NE(none.find("no data"), std::string::npos);
}

TEST(Svg, LegendShortensLongNamesAndCountsTheTracesThatDoNotFit) {
    report::Page page;
    page.xName = "time";
    page.x = {0.0, 1.0};
    for (int i = 0; i < 30; ++i)
        page.traces.push_back(
            {"v(a-rather-long-node-name-" + std::to_string(i) + ")", {0, 1}, {}, true, {}});
    const std::string svg = report::ToSvg(page);
    const std::string legend = svg.substr(svg.find("<g class=\"legend\">"));
    // 520 pixels leave room for 23 lines: 22 traces and the count of the other 8.
    EXPECT_EQ(std::count(legend.begin(), legend.end(), '~'), 22);
    EXPECT_NE(legend.find(">v(a-rather-long-node-~</text>"), std::string::npos) << legend;
    EXPECT_NE(legend.find(">... and 8 more</text>"), std::string::npos) << legend;
}

TEST(Svg, RunsOfAStatisticalAnalysisAreASampledBackgroundBehindTheNominalAndWorstRuns) {
    report::Page page;
    page.xName = "time";
    page.x = {0.0, 1.0};
    page.traces.push_back({"Nominal", {0, 1}, {}, true, {}, report::TraceRole::Nominal});
    for (int i = 0; i < 150; ++i)
        page.traces.push_back(
            {"Run #" + std::to_string(i), {0, 1}, {}, true, {}, report::TraceRole::Background});
    page.traces.push_back({"Worst", {0, 2}, {}, true, {}, report::TraceRole::Worst});
    const std::string svg = report::ToSvg(page);
    EXPECT_EQ(TagBalanceProblem(svg), "");
    EXPECT_EQ(PolylinePointCounts(svg).size(), 102u);
    // Drawn over the background: the nominal and the worst run come last.
    const size_t legendAt = svg.find("<g class=\"legend\">");
    EXPECT_GT(svg.rfind("stroke=\"#222222\" stroke-width=\"2.4\"", legendAt),
              svg.rfind("stroke=\"#aab4c0\"", legendAt));
    const std::string legend = svg.substr(legendAt);
    for (const char* text : {">Nominal</text>", ">Worst</text>", ">150 others, 100 drawn</text>"})
        EXPECT_NE(legend.find(text), std::string::npos) << text;
    EXPECT_EQ(legend.find("Run #"), std::string::npos);
}

TEST(Svg, PointsSharingAPixelColumnKeepTheirEnvelope) {
    report::Page page;
    page.xName = "time";
    report::Trace t{"v(out)", {}, {}, true, {}};
    for (int k = 0; k <= 100000; ++k) {
        page.x.push_back(k);
        t.re.push_back(std::sin(k * 0.01) + (k == 50000 ? 5.0 : 0.0)); // one spike
    }
    page.traces.push_back(t);
    const std::string svg = report::ToSvg(page);
    ASSERT_EQ(PolylinePointCounts(svg).size(), 1u);
    EXPECT_LT(PolylinePointCounts(svg)[0], 4u * 700u);
    // The line still reaches the spike, far above the sine's peaks (y 324 of 48 to 462).
    std::regex point("([0-9.]+),([0-9.]+)");
    const std::string line = svg.substr(svg.find("<polyline"));
    double top = 1e9;
    for (auto it = std::sregex_iterator(line.begin(), line.begin() + line.find("/>"), point);
         it != std::sregex_iterator(); ++it)
        top = std::min(top, std::stod((*it)[2]));
    EXPECT_LT(top, 100.0);
}

TEST(Svg, AxesNameTheCommonQuantityAndOnlyPlottedValuesOverXMakeAGraph) {
    report::Page page;
    page.xName = "time";
    page.x = {0.0, 1.0};
    page.traces.push_back({"v(out)", {0.0, 1.0}, {}, true, {}});
    page.traces.push_back({"V(in)", {1.0, 1.0}, {}, true, {}});
    page.traces.push_back({"i(vcc)", {1.0, 1.0}, {}, false, {}}); // saved, not plotted
    EXPECT_NE(report::ToSvg(page).find(">voltage (V)</text>"), std::string::npos);
    page.traces[0].name = "vcc#branch";
    page.traces[1].name = "i(r1)";
    EXPECT_NE(report::ToSvg(page).find(">current (A)</text>"), std::string::npos);
    page.yAxis.label = "amps";
    EXPECT_NE(report::ToSvg(page).find(">amps</text>"), std::string::npos);

    // A log axis drops values that have no logarithm.
    report::Page log;
    log.xAxis.scale = "log";
    log.x = {0.0, 10.0, 100.0, 1000.0};
    log.traces.push_back({"v", {1.0, 2.0, 3.0, 4.0}, {}, true, {}});
    EXPECT_EQ(PolylinePointCounts(report::ToSvg(log)), (std::vector<size_t>{3}));

    report::Page op;
    op.traces.push_back({"v", {1.0}, {}, true, {}});
    EXPECT_FALSE(report::HasGraph(op)) << "an operating point";
    op.x = {1.0};
    EXPECT_TRUE(report::HasGraph(op));
    op.traces[0].plotted = false;
    EXPECT_FALSE(report::HasGraph(op));
}

TEST(Histogram, BinsAreAboutTheRootOfTheCountWideAndTheLargestValueClosesTheLast) {
    struct Case {
        std::vector<double> values;
        std::vector<size_t> counts;
        double lo, width;
    };
    std::vector<double> hundred;
    for (int i = 0; i < 100; ++i)
        hundred.push_back(i);
    const Case cases[] = {
        {{}, {}, 0.0, 1.0},
        {{2, 2, 2}, {3}, 1.9, 0.2},                   // alike: one bar a tenth of the value wide
        {{0, 1, NAN, 10}, {2, 0, 0, 0, 1}, 0.0, 2.0}, // at least five bins; NaN left out
        {hundred, std::vector<size_t>(10, 10), 0.0, 9.9},
    };
    for (const Case& c : cases) {
        const report::Bins bins = report::MakeBins(c.values);
        EXPECT_EQ(bins.counts, c.counts) << c.values.size();
        EXPECT_DOUBLE_EQ(bins.lo, c.lo);
        EXPECT_DOUBLE_EQ(bins.width, c.width);
    }
}

TEST(Histogram, PlotMarksTheMeanTheSpreadAndTheNominalAndWorstValues) {
    report::Histogram h{"MAX of v(out)", "V", {0.9, 1.0, 1.0, 1.1, 1.2}, 1.04, 0.1};
    h.hasNominal = true;
    h.nominal = 1.0;
    h.hasWorst = true;
    h.worst = 1.2;
    const std::string svg = report::HistogramToSvg(h);
    // Five bins 0.06 wide: 1, 2, 0, 1 and 1 values; the empty one draws no bar.
    const std::string bars = svg.substr(svg.find("<g class=\"bars\""));
    EXPECT_EQ(std::count_if(bars.begin(), bars.begin() + bars.find("</g>"),
                            [](char c) { return c == '/'; }),
              4);
    for (const char* label : {">Distribution of MAX of v(out)</text>", ">5 valid runs</text>",
                              ">MAX of v(out) (V)</text>", ">mean 1.04 V</text>",
                              ">mean \xC2\xB1 sigma, sigma 100 mV</text>", ">nominal 1 V</text>",
                              ">worst 1.2 V</text>"})
        EXPECT_NE(svg.find(label), std::string::npos) << label;
    // Mean, both sigma lines, nominal and worst.
    const std::string markers = svg.substr(svg.find("<g class=\"markers\""));
    const std::string lines = markers.substr(0, markers.find("</g>"));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '<'), 6);
    const std::regex dashed("dasharray");
    EXPECT_EQ(std::distance(std::sregex_iterator(lines.begin(), lines.end(), dashed),
                            std::sregex_iterator()),
              2)
        << "mean - sigma and mean + sigma";
}

namespace {

std::vector<double> Values(const std::vector<report::Tick>& ticks, bool majorOnly = false) {
    std::vector<double> values;
    for (const auto& t : ticks)
        if (t.major || !majorOnly)
            values.push_back(t.value);
    return values;
}

} // namespace

TEST(Axis, LogTicksSitAtDecadesWithMinorTicksBetween) {
    const auto ticks = report::LogTicks(1.0, 1e4);
    EXPECT_EQ(Values(ticks, true), (std::vector<double>{1, 10, 100, 1e3, 1e4}));
    EXPECT_EQ(ticks.size(), 5u + 4u * 8u);                      // 2..9 in each of the four decades
    EXPECT_EQ(report::LogTicks(1.0, 1e5).size(), 6u + 5u * 8u); // minor ticks up to six decades
    EXPECT_EQ(report::LogTicks(1.0, 1e6).size(), 7u);           // and none beyond
    EXPECT_EQ(ticks.front().label + " " + ticks.back().label, "1 10k");
    // Twenty decades: every third one is labelled, and nothing between.
    const auto wide = report::LogTicks(1e-12, 1e8);
    ASSERT_EQ(wide.size(), 7u);
    for (size_t i = 0; i < wide.size(); ++i)
        EXPECT_NEAR(std::log10(wide[i].value), -12.0 + 3.0 * static_cast<double>(i), 1e-9);
    // Inside one decade: 1-2-5 ticks.
    EXPECT_EQ(Values(report::LogTicks(15.0, 90.0)), (std::vector<double>{20.0, 50.0}));
}

TEST(Axis, LinearTicksAreOneTwoFiveSteps) {
    const auto ticks = report::LinearTicks(0.0, 1e-3);
    ASSERT_GE(ticks.size(), 2u);
    EXPECT_EQ(ticks.front().label + " " + ticks[1].label + " " + ticks.back().label, "0 200u 1m");
    EXPECT_NEAR(ticks[1].value - ticks[0].value, 2e-4, 1e-12);
    const auto negative = report::LinearTicks(-7.0, 3.0);
    EXPECT_EQ(negative.front().label + " " + negative.back().label, "-6 2");
    EXPECT_TRUE(report::LinearTicks(1.0, 1.0).empty());
    EXPECT_TRUE(report::LinearTicks(NAN, 1.0).empty());

    // Six ticks over these spans want steps of 1.4, 1.6, 3, 4, 7 and 8: each lands
    // on the 1-2-5 step its side of a boundary (1.5, 3.5, 7.5) gives.
    const std::pair<double, double> spansAndSteps[] = {{8.4, 1.0},  {9.6, 2.0},  {18.0, 2.0},
                                                       {24.0, 5.0}, {42.0, 5.0}, {48.0, 10.0}};
    for (const auto& [span, wanted] : spansAndSteps) {
        const auto spanTicks = report::LinearTicks(0.0, span);
        ASSERT_GE(spanTicks.size(), 2u) << span;
        EXPECT_EQ(spanTicks[1].value - spanTicks[0].value, wanted) << span;
    }
}

TEST(Axis, FitScaleTakesAUsableRangeElseRoundsTheDataOut) {
    const auto fit = [](report::Scale s, std::vector<double> data, const report::Axis* axis,
                        bool round, int ticks = 5) {
        report::FitScale(s, {&data}, axis, round, ticks);
        return s;
    };
    const auto ends = [](const report::Scale& s) { return std::make_pair(s.lo, s.hi); };
    report::Axis ranged;
    ranged.hasRange = true;
    ranged.min = 2.0;
    ranged.max = 5.0;
    EXPECT_EQ(ends(fit({}, {0.13, 0.87}, &ranged, true)), std::make_pair(2.0, 5.0));
    const report::Scale rounded = fit({}, {0.13, 0.87}, nullptr, true); // whole steps of 0.1
    EXPECT_NEAR(rounded.lo, 0.1, 1e-15);
    EXPECT_NEAR(rounded.hi, 0.9, 1e-15);
    const report::Scale exact = fit({}, {0.13, 0.87}, nullptr, false);
    EXPECT_EQ(ends(exact), std::make_pair(0.13, 0.87));
    EXPECT_DOUBLE_EQ(exact.Frac(0.5), 0.5);
    EXPECT_EQ(ends(fit({}, {5.0, 5.0}, nullptr, false)), std::make_pair(4.5, 5.5));
    EXPECT_EQ(ends(fit({}, {0.0}, nullptr, false)), std::make_pair(-1.0, 1.0));
    EXPECT_EQ(ends(fit({}, {NAN}, nullptr, true)), std::make_pair(0.0, 1.0));

    ranged.min = 0.0; // no logarithm: the data decide
    const report::Scale log = fit({.log = true}, {5.0, 5.0}, &ranged, true);
    EXPECT_NEAR(log.lo, 1.0, 1e-12); // 5 / sqrt(10) and 5 * sqrt(10), out to decades
    EXPECT_NEAR(log.hi, 100.0, 1e-12);
    EXPECT_FALSE(log.Usable(0.0));
    EXPECT_DOUBLE_EQ(log.Frac(10.0), 0.5);
    EXPECT_EQ(ends(fit({.degrees = true}, {-170.0, 10.0}, nullptr, true, 4)), // steps of 45
              std::make_pair(-180.0, 45.0));
}

TEST(Numbers, EngineeringLabelsAndFullPrecision) {
    using report::FormatEngineering;
    EXPECT_EQ(FormatEngineering(0.0025) + " " + FormatEngineering(47000) + " " +
                  FormatEngineering(1e6) + " " + FormatEngineering(-1.5e-9) + " " +
                  FormatEngineering(999.99, 3) + " " + FormatEngineering(1e21) + " " +
                  FormatEngineering(NAN),
              "2.5m 47k 1M -1.5n 1k 1e+21 nan");
    EXPECT_EQ(report::FormatFull(0.1) + " " + report::FormatFull(-INFINITY) + " " +
                  report::FormatShort(1e10),
              "0.10000000000000001 -inf 1e+10");
    // With a unit the prefix moves to it.
    EXPECT_EQ(report::FormatQuantity(0.01234, "V") + ", " + report::FormatQuantity(1.126, "V") +
                  ", " + report::FormatQuantity(0.0, "A") + ", " +
                  report::FormatQuantity(3.5e-6, ""),
              "12.34 mV, 1.126 V, 0 A, 3.5u");
}
