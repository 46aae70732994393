// Histograms of measured values: how values fall into bins, and what the plot marks and names.
#include "report/histogram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

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
    EXPECT_NE(svg.find(">Distribution of MAX of v(out)</text>"), std::string::npos);
    EXPECT_NE(svg.find(">5 valid runs</text>"), std::string::npos);
    EXPECT_NE(svg.find(">MAX of v(out) (V)</text>"), std::string::npos);
    // Five bins 0.06 wide: 1, 2, 0, 1 and 1 values; the empty one draws no bar.
    const std::string bars = svg.substr(svg.find("<g class=\"bars\""));
    EXPECT_EQ(std::count_if(bars.begin(), bars.begin() + bars.find("</g>"),
                            [](char c) { return c == '/'; }),
              4);
    for (const char* label : {">mean 1.04 V</text>", ">mean \xC2\xB1 sigma, sigma 100 mV</text>",
                              ">nominal 1 V</text>", ">worst 1.2 V</text>"})
        EXPECT_NE(svg.find(label), std::string::npos) << label;
    // Mean, both sigma lines, nominal and worst.
    const std::string markers = svg.substr(svg.find("<g class=\"markers\""));
    const std::string lines = markers.substr(0, markers.find("</g>"));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '<'), 6);
    size_t dashed = 0;
    for (size_t at = lines.find("dasharray"); at != std::string::npos;
         at = lines.find("dasharray", at + 1))
        ++dashed;
    EXPECT_EQ(dashed, 2u); // mean - sigma and mean + sigma
}
