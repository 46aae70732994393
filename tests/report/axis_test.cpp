// Plot axes: tick placement and labels, and ranges fitted to data.
#include "report/axis.h"
#include "report/numbers.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(Axis, LogTicksSitAtDecadesWithMinorTicksBetween) {
    auto ticks = report::LogTicks(1.0, 1e4);
    std::vector<double> majors;
    for (const auto& t : ticks)
        if (t.major)
            majors.push_back(t.value);
    ASSERT_EQ(majors.size(), 5u);
    for (size_t i = 0; i < majors.size(); ++i)
        EXPECT_DOUBLE_EQ(majors[i], std::pow(10.0, static_cast<double>(i)));
    EXPECT_EQ(ticks.size(), 5u + 4u * 8u);                      // 2..9 in each of the four decades
    EXPECT_EQ(report::LogTicks(1.0, 1e5).size(), 6u + 5u * 8u); // minor ticks up to six decades
    EXPECT_EQ(report::LogTicks(1.0, 1e6).size(), 7u);           // and none beyond
    EXPECT_EQ(ticks.front().label, "1");
    EXPECT_EQ(ticks.back().label, "10k");

    // Twenty decades: every third one is labelled, and nothing between.
    auto wide = report::LogTicks(1e-12, 1e8);
    ASSERT_EQ(wide.size(), 7u);
    for (size_t i = 0; i < wide.size(); ++i)
        EXPECT_NEAR(std::log10(wide[i].value), -12.0 + 3.0 * static_cast<double>(i), 1e-9);

    // Inside one decade: 1-2-5 ticks.
    auto narrow = report::LogTicks(15.0, 90.0);
    std::vector<double> values;
    for (const auto& t : narrow)
        values.push_back(t.value);
    EXPECT_EQ(values, (std::vector<double>{20.0, 50.0}));
}

TEST(Axis, LinearTicksAreOneTwoFiveSteps) {
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
    const std::vector<double> data{0.13, 0.87};
    report::Scale s;
    report::Axis ranged;
    ranged.hasRange = true;
    ranged.min = 2.0;
    ranged.max = 5.0;
    report::FitScale(s, {&data}, &ranged, true, 5);
    EXPECT_EQ(std::make_pair(s.lo, s.hi), std::make_pair(2.0, 5.0));
    report::FitScale(s, {&data}, nullptr, true, 5); // whole steps of 0.1
    EXPECT_NEAR(s.lo, 0.1, 1e-15);
    EXPECT_NEAR(s.hi, 0.9, 1e-15);
    report::FitScale(s, {&data}, nullptr, false, 5);
    EXPECT_EQ(std::make_pair(s.lo, s.hi), std::make_pair(0.13, 0.87));
    EXPECT_DOUBLE_EQ(s.Frac(0.5), 0.5);

    const std::vector<double> flat{5.0, 5.0}, zero{0.0}, none{NAN};
    report::FitScale(s, {&flat}, nullptr, false, 5);
    EXPECT_EQ(std::make_pair(s.lo, s.hi), std::make_pair(4.5, 5.5));
    report::FitScale(s, {&zero}, nullptr, false, 5);
    EXPECT_EQ(std::make_pair(s.lo, s.hi), std::make_pair(-1.0, 1.0));
    report::FitScale(s, {&none}, nullptr, true, 5);
    EXPECT_EQ(std::make_pair(s.lo, s.hi), std::make_pair(0.0, 1.0));

    report::Scale log{.log = true};
    ranged.min = 0.0; // no logarithm: the data decide
    report::FitScale(log, {&flat}, &ranged, true, 5);
    EXPECT_NEAR(log.lo, 1.0, 1e-12); // 5 / sqrt(10) and 5 * sqrt(10), out to decades
    EXPECT_NEAR(log.hi, 100.0, 1e-12);
    EXPECT_FALSE(log.Usable(0.0));
    EXPECT_DOUBLE_EQ(log.Frac(10.0), 0.5);

    const std::vector<double> phase{-170.0, 10.0};
    report::Scale degrees{.degrees = true};
    report::FitScale(degrees, {&phase}, nullptr, true, 4); // steps of 45 degrees
    EXPECT_EQ(std::make_pair(degrees.lo, degrees.hi), std::make_pair(-180.0, 45.0));
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
    // With a unit the prefix moves to it.
    EXPECT_EQ(report::FormatQuantity(0.01234, "V"), "12.34 mV");
    EXPECT_EQ(report::FormatQuantity(1.126, "V"), "1.126 V");
    EXPECT_EQ(report::FormatQuantity(0.0, "A"), "0 A");
    EXPECT_EQ(report::FormatQuantity(3.5e-6, ""), "3.5u");
}
