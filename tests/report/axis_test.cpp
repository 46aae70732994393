// Plot axes: tick placement and labels, and ranges fitted to data.
#include "report/axis.h"
#include "report/numbers.h"

#include <gtest/gtest.h>

#include <cmath>

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
