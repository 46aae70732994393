// Worst case / Monte Carlo pieces: the sign rule, per-point measurement and the run statistics.
#include "analyses/compound/wcmc_measure.h"
#include "analyses/compound/wcmc_statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <span>
#include <vector>

namespace {

constexpr double kHalfPi = std::numbers::pi / 2;

struct Point {
    double x;
    double y;
};

WcMcRunData MeasureReal(const WcMcMeasurement& m, const std::vector<Point>& points) {
    WcMcRunData data;
    for (const Point& p : points) {
        const double row[] = {-99.0, p.y}; // the output is the second vector
        m.ProcessRunDataPoint(&data, 1, p.x, row, nullptr);
    }
    return data;
}

struct ComplexPoint {
    double x;
    CComplex c;
};

WcMcRunData MeasureComplex(const WcMcMeasurement& m, const std::vector<ComplexPoint>& points) {
    WcMcRunData data;
    for (const ComplexPoint& p : points)
        m.ProcessRunDataPoint(&data, 0, p.x, nullptr, &p.c);
    return data;
}

WcMcMeasurement Function(int function, double threshold = 0.0) {
    WcMcMeasurement m;
    m.function = function;
    m.threshold = threshold;
    return m;
}

WcMcRunData Record(double x, double y, int valid = 1) {
    WcMcRunData r;
    r.x = x;
    r.y = y;
    r.valid = valid;
    return r;
}

TEST(WcMcRunData, SignFollowsMagnitudeAtZeroPhaseElseTheSideOfTheImaginaryAxis) {
    const struct {
        double magnitude, phase;
        int sign;
    } cases[] = {{2, 0, 1},
                 {-2, 0, -1},
                 {0, 0, 0},
                 {0, 1, 0},
                 {3, 1, 1},
                 {3, -1, 1},
                 {3, 2, -1},
                 {3, -std::numbers::pi, -1},
                 {3, 1.5707963267948966, 0},
                 {3, -1.5707963267948966, 0},
                 {3, std::nextafter(kHalfPi, 0.0), 1},
                 {3, std::nextafter(kHalfPi, 4.0), -1}};
    for (const auto& c : cases)
        EXPECT_EQ(WcMcRunData::GetComplexSign(c.magnitude, c.phase), c.sign)
            << c.magnitude << " at " << c.phase;

    WcMcRunData r = Record(-4.0, 2.0);
    r.phase = 2.5;
    EXPECT_EQ(r.GetXSign(), -1);
    EXPECT_EQ(r.GetYSign(), -1);
    r.runLabel = "Run #1";
    r.havePrevious = 1;
    r.previousY = 7.0;
    r.Reset();
    EXPECT_TRUE(r.runLabel.IsEmpty());
    EXPECT_EQ(r.valid + r.havePrevious, 0);
    EXPECT_EQ(r.previousY + r.y + r.x + r.phase, 0.0);
}

TEST(WcMcMeasurement, ComplexValuesOnTheAxesHaveExactPhases) {
    const CComplex values[] = {{0, 2}, {0, -2}, {-3, 0}, {-3, -0.0}, {3, 0}, {3, 4}, {0, 0}};
    const double magnitudes[] = {2, 2, 3, 3, 3, 5, 0};
    // -pi from atan2 for a negative zero imaginary part would be wrong here.
    const double phases[] = {
        kHalfPi, -kHalfPi, std::numbers::pi, std::numbers::pi, 0, std::atan2(4.0, 3.0), 0};
    for (int i = 0; i < 7; ++i) {
        double y = -1;
        double phase = -1;
        ASSERT_EQ(WcMcPointValue(i, nullptr, values, y, phase), 1);
        EXPECT_EQ(y, magnitudes[i]) << i;
        EXPECT_EQ(phase, phases[i]) << i;
    }

    // Real data keeps its sign and has phase 0; no data or a bad index changes nothing.
    const double real[] = {-1.5};
    double y = 0;
    double phase = -1;
    ASSERT_EQ(WcMcPointValue(0, real, nullptr, y, phase), 1);
    EXPECT_EQ(y, -1.5);
    EXPECT_EQ(phase, 0.0);
    EXPECT_EQ(WcMcPointValue(0, nullptr, nullptr, y, phase), 0);
    EXPECT_EQ(WcMcPointValue(-1, real, nullptr, y, phase), 0);
    EXPECT_EQ(y, -1.5);
}

TEST(WcMcMeasurement, InterpolationIsLinearInPartsOrInMagnitude) {
    EXPECT_EQ(LinearInterp(0.0, 1.0, 2.0, 5.0, 1.0), 3.0);
    EXPECT_EQ(LinearInterp(1.0, 4.0, 3.0, 0.0, 2.5), 1.0);
    EXPECT_EQ(LinearInterp(1.0, 4.0, 3.0, 0.0, 5.0), -4.0); // extrapolates
    EXPECT_EQ(LinearInterp(2.0, 4.0, 2.0, 9.0, 2.0), 4.0);  // no division by zero

    const CComplex mid = LinearInterp(0.0, CComplex(1.0, -2.0), 4.0, CComplex(5.0, 2.0), 1.0);
    EXPECT_EQ(mid, CComplex(2.0, -1.0));
    // Magnitudes 5 and 1: halfway is 3, where the interpolated value itself is 1.5+2.5i.
    EXPECT_DOUBLE_EQ(ModulusInterp(0.0, CComplex(3.0, 4.0), 1.0, CComplex(0.0, 1.0), 0.5), 3.0);
}

TEST(WcMcMeasurement, ExtremesKeepTheFirstOfEqualValues) {
    const WcMcRunData max = MeasureReal(Function(0), {{0, 1}, {1, 3}, {2, 3}, {3, 2}});
    EXPECT_EQ(max.valid, 1);
    EXPECT_EQ(max.x, 1.0);
    EXPECT_EQ(max.y, 3.0);

    const WcMcRunData min = MeasureReal(Function(1), {{0, 2}, {1, -1}, {2, -1}, {3, 0}});
    EXPECT_EQ(min.x, 1.0);
    EXPECT_EQ(min.y, -1.0);

    // Complex data compares magnitudes and keeps the phase of the stored point.
    const WcMcRunData cmax =
        MeasureComplex(Function(0), {{10, {1, 0}}, {20, {0, 3}}, {30, {-3, 0}}, {40, {2, 0}}});
    EXPECT_EQ(cmax.x, 20.0);
    EXPECT_EQ(cmax.y, 3.0);
    EXPECT_EQ(cmax.phase, kHalfPi);
    const WcMcRunData cmin = MeasureComplex(Function(1), {{10, {0, -2}}, {20, {0, 5}}});
    EXPECT_EQ(cmin.phase, -kHalfPi);
}

TEST(WcMcMeasurement, RangeLimitsWhichPointsCount) {
    WcMcMeasurement m = Function(0);
    m.useRange = 1;
    m.rangeXLow = 1.0;
    m.rangeXHigh = 2.0;
    WcMcRunData data;
    const double big[] = {100.0};
    const double small[] = {1.0};
    const double mid[] = {2.0};
    EXPECT_EQ(m.ProcessRunDataPoint(&data, 0, 0.5, big, nullptr), 0);
    EXPECT_EQ(data.valid, 0);
    EXPECT_EQ(m.ProcessRunDataPoint(&data, 0, 1.0, small, nullptr), 1);
    EXPECT_EQ(m.ProcessRunDataPoint(&data, 0, 2.0, mid, nullptr), 1);
    EXPECT_EQ(m.ProcessRunDataPoint(&data, 0, 2.5, big, nullptr), 0);
    EXPECT_EQ(data.x, 2.0);
    EXPECT_EQ(data.y, 2.0);

    // Off, the same range values change nothing.
    m.useRange = 0;
    EXPECT_EQ(m.ProcessRunDataPoint(&data, 0, 7.0, big, nullptr), 1);
    EXPECT_EQ(data.x, 7.0);

    // An unknown function measures nothing.
    WcMcRunData none;
    EXPECT_EQ(Function(5).ProcessRunDataPoint(&none, 0, 1.0, big, nullptr), 0);
    EXPECT_EQ(none.valid, 0);
    EXPECT_EQ(Function(0).ProcessRunDataPoint(nullptr, 0, 1.0, big, nullptr), 0);
}

TEST(WcMcMeasurement, EdgesInterpolateTheFirstCrossingOfRealData) {
    const WcMcRunData rise =
        MeasureReal(Function(2, 2.0), {{0, 0}, {1, 1}, {2, 3}, {3, 0}, {4, 5}});
    EXPECT_EQ(rise.valid, 1);
    EXPECT_DOUBLE_EQ(rise.x, 1.5);
    EXPECT_DOUBLE_EQ(rise.y, 2.0);

    const WcMcRunData fall = MeasureReal(Function(3, 2.0), {{0, 3}, {1, 1}, {2, 3}, {3, 0}});
    EXPECT_DOUBLE_EQ(fall.x, 0.5);

    // A curve that starts beyond the threshold has not crossed it there.
    const WcMcRunData late = MeasureReal(Function(2, 2.0), {{0, 5}, {1, 6}, {2, 1}, {3, 3}});
    EXPECT_EQ(late.valid, 1);
    EXPECT_DOUBLE_EQ(late.x, 2.5);

    // Touching the threshold is not crossing it; leaving it is, from the touching point.
    const WcMcRunData touch = MeasureReal(Function(2, 2.0), {{0, 1}, {1, 2}, {2, 2}, {3, 4}});
    EXPECT_DOUBLE_EQ(touch.x, 2.0);

    const WcMcRunData never = MeasureReal(Function(3, 2.0), {{0, 3}, {1, 4}, {2, 2}});
    EXPECT_EQ(never.valid, 0);
    EXPECT_EQ(never.havePrevious, 1);
    EXPECT_EQ(never.previousX, 2.0);
}

TEST(WcMcMeasurement, EdgesOnComplexDataInterpolateMagnitudeAndRecomputePhase) {
    // Purely imaginary: magnitude 1 then 3, crossing 2 halfway, phase +pi/2.
    const WcMcRunData up = MeasureComplex(Function(2, 2.0), {{0, {0, 1}}, {1, {0, 3}}});
    EXPECT_EQ(up.valid, 1);
    EXPECT_DOUBLE_EQ(up.x, 0.5);
    EXPECT_DOUBLE_EQ(up.y, 2.0);
    EXPECT_DOUBLE_EQ(up.phase, kHalfPi);

    const WcMcRunData down = MeasureComplex(Function(3, 2.0), {{0, {0, -4}}, {2, {0, -1}}});
    EXPECT_DOUBLE_EQ(down.x, 4.0 / 3.0);
    EXPECT_DOUBLE_EQ(down.y, 2.0);
    EXPECT_DOUBLE_EQ(down.phase, -kHalfPi);

    // From 1 (phase 0) to 3i: the phase is that of the interpolated value 0.5+1.5i.
    const WcMcRunData turn = MeasureComplex(Function(2, 2.0), {{0, {1, 0}}, {1, {0, 3}}});
    EXPECT_DOUBLE_EQ(turn.x, 0.5);
    EXPECT_DOUBLE_EQ(turn.y, 2.0);
    EXPECT_DOUBLE_EQ(turn.phase, std::atan2(1.5, 0.5));
}

TEST(WcMcMeasurement, DeviationIsTheGreatestDistanceFromTheNominalCurve) {
    WcMcCurve nominal;
    nominal.AddPoint(0, 0);
    nominal.AddPoint(1, 10);
    nominal.AddPoint(2, 20);
    EXPECT_EQ(nominal.ValueAt(0.25), 2.5);
    EXPECT_EQ(nominal.ValueAt(-1), 0.0);
    EXPECT_EQ(nominal.ValueAt(9), 20.0);
    EXPECT_EQ(WcMcCurve().ValueAt(1), 0.0);

    WcMcMeasurement m = Function(4);
    m.nominal = &nominal;
    // Deviations 1, 3, 3 (a tie: the first stays), 1 beyond the curve's end.
    const WcMcRunData run = MeasureReal(m, {{0.5, 6}, {1.5, 12}, {1.75, 20.5}, {3, 19}});
    EXPECT_EQ(run.valid, 1);
    EXPECT_EQ(run.x, 1.5);
    EXPECT_EQ(run.y, 3.0);

    // Below the nominal counts as much as above it.
    const WcMcRunData below = MeasureReal(m, {{1, 6}, {2, 21}});
    EXPECT_EQ(below.x, 1.0);
    EXPECT_EQ(below.y, 4.0);

    // The nominal run itself: no curve yet, deviation 0 at the first point.
    const WcMcRunData self = MeasureReal(Function(4), {{0.5, 6}, {1.5, 12}});
    EXPECT_EQ(self.valid, 1);
    EXPECT_EQ(self.x, 0.5);
    EXPECT_EQ(self.y, 0.0);

    // Complex runs compare magnitudes with a nominal curve of magnitudes.
    WcMcCurve acNominal;
    const CComplex nominalPoints[] = {{3, 4}, {0, 2}};
    EXPECT_EQ(acNominal.AddDataPoint(0, 100, nullptr, nominalPoints), 1);
    EXPECT_EQ(acNominal.AddDataPoint(1, 1000, nullptr, nominalPoints), 1);
    EXPECT_EQ(acNominal.AddDataPoint(0, 2000, nullptr, nullptr), 0);
    EXPECT_EQ(acNominal.GetCount(), 2);
    m.nominal = &acNominal;
    const WcMcRunData ac = MeasureComplex(m, {{100, {0, -5.5}}, {1000, {-1, 0}}});
    EXPECT_EQ(ac.x, 1000.0);
    EXPECT_EQ(ac.y, 1.0);
    EXPECT_EQ(ac.phase, 0.0);
}

TEST(WcMcStatistics, MeanAndSpreadCoverNominalAndRandomRunsWithAFixedDivisor) {
    // Nominal 10, four random runs, then a repeated worst run that must not count.
    std::vector<WcMcRunData> runs = {Record(1, 10), Record(2, 12), Record(3, 8),
                                     Record(4, 11), Record(5, 9),  Record(100, 1000)};
    WcMcStatistics s = ComputeMcStatistics(runs, 4);
    EXPECT_EQ(s.validRuns, 5);
    EXPECT_DOUBLE_EQ(s.meanY, 10.0);
    EXPECT_DOUBLE_EQ(s.deviationY, std::sqrt(2.0));
    EXPECT_DOUBLE_EQ(s.meanX, 3.0);
    EXPECT_DOUBLE_EQ(s.deviationX, std::sqrt(2.0));

    // One random run without a measurement: four terms, divisor still 5.
    runs[2].valid = 0;
    s = ComputeMcStatistics(runs, 4);
    EXPECT_EQ(s.validRuns, 4);
    EXPECT_DOUBLE_EQ(s.meanY, 42.0 / 5.0);
    EXPECT_DOUBLE_EQ(s.deviationY, std::sqrt((1.6 * 1.6 + 3.6 * 3.6 + 2.6 * 2.6 + 0.6 * 0.6) / 5));
    EXPECT_DOUBLE_EQ(s.meanX, 12.0 / 5.0);

    // One random run: nominal and that run only.
    s = ComputeMcStatistics(runs, 1);
    EXPECT_DOUBLE_EQ(s.meanY, 11.0);
    EXPECT_DOUBLE_EQ(s.deviationY, 1.0);

    // Records missing from the span count as invalid; a negative count gives nothing.
    s = ComputeMcStatistics(std::span(runs).first(2), 3);
    EXPECT_EQ(s.validRuns, 2);
    EXPECT_DOUBLE_EQ(s.meanY, 22.0 / 4.0);
    s = ComputeMcStatistics(runs, -1);
    EXPECT_EQ(s.validRuns, 0);
    EXPECT_EQ(s.meanY, 0.0);
    EXPECT_EQ(s.deviationY, 0.0);
}

} // namespace
