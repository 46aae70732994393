// Worst case / Monte Carlo pieces: the sign rule, per-point measurement and the run statistics.
#include "analyses/compound/wcmc_measure.h"
#include "analyses/compound/wcmc_statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <span>
#include <vector>

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kHalfPi = kPi / 2;

struct Point {
    double x;
    CComplex value;
};

// Real points are handed over as the second vector of a real row, complex ones alone.
WcMcRunData Measure(const WcMcMeasurement& m, const std::vector<Point>& points, bool complex) {
    WcMcRunData data;
    for (const Point& p : points) {
        const double row[] = {-99.0, p.value.real()};
        if (complex)
            m.ProcessRunDataPoint(&data, 0, p.x, nullptr, &p.value);
        else
            m.ProcessRunDataPoint(&data, 1, p.x, row, nullptr);
    }
    return data;
}

WcMcMeasurement Function(int function, double threshold = 0.0, const WcMcCurve* nominal = nullptr) {
    WcMcMeasurement m;
    m.function = function;
    m.threshold = threshold;
    m.nominal = nominal;
    return m;
}

WcMcRunData Record(double x, double y) {
    WcMcRunData r;
    r.x = x;
    r.y = y;
    r.valid = 1;
    return r;
}

TEST(WcMcRunData, SignFollowsMagnitudeAtZeroPhaseElseTheSideOfTheImaginaryAxis) {
    const struct {
        double magnitude, phase;
        int sign;
    } cases[] = {
        // clang-format off
        {2, 0, 1}, {-2, 0, -1}, {0, 0, 0}, {0, 1, 0}, {3, 1, 1}, {3, -1, 1}, {3, 2, -1},
        {3, -kPi, -1}, {3, kHalfPi, 0}, {3, -kHalfPi, 0}, {3, std::nextafter(kHalfPi, 0.0), 1},
        {3, std::nextafter(kHalfPi, 4.0), -1},
        // clang-format on
    };
    for (const auto& c : cases)
        EXPECT_EQ(WcMcRunData::GetComplexSign(c.magnitude, c.phase), c.sign)
            << c.magnitude << " at " << c.phase;

    WcMcRunData r = Record(-4.0, 2.0);
    r.phase = 2.5;
    EXPECT_EQ(r.GetXSign() + r.GetYSign(), -2);
    r.runLabel = "Run #1";
    r.havePrevious = 1;
    r.previousY = 7.0;
    r.Reset();
    EXPECT_TRUE(r.runLabel.IsEmpty());
    EXPECT_EQ(r.valid + r.havePrevious, 0);
    EXPECT_EQ(r.previousY + r.y + r.x + r.phase, 0.0);
}

TEST(WcMcMeasurement, PointValuesOnTheAxesHaveExactPhasesAndInterpolationIsLinear) {
    // -pi from atan2 for a negative zero imaginary part would be wrong here.
    const struct {
        CComplex value;
        double magnitude, phase;
    } values[] = {{{0, 2}, 2, kHalfPi}, {{0, -2}, 2, -kHalfPi}, {{-3, 0}, 3, kPi},
                  {{-3, -0.0}, 3, kPi}, {{3, 0}, 3, 0},         {{3, 4}, 5, std::atan2(4.0, 3.0)},
                  {{0, 0}, 0, 0}};
    for (const auto& v : values) {
        double y = -1;
        double phase = -1;
        EXPECT_EQ(WcMcPointValue(0, nullptr, &v.value, y, phase), 1);
        EXPECT_EQ(y, v.magnitude) << v.value;
        EXPECT_EQ(phase, v.phase) << v.value;
    }
    // Real data keeps its sign and has phase 0; no data or a bad index changes nothing.
    const double real[] = {-1.5};
    double y = 0;
    double phase = -1;
    EXPECT_EQ(WcMcPointValue(0, real, nullptr, y, phase), 1);
    EXPECT_EQ(WcMcPointValue(0, nullptr, nullptr, y, phase), 0);
    EXPECT_EQ(WcMcPointValue(-1, real, nullptr, y, phase), 0);
    EXPECT_EQ(y, -1.5);
    EXPECT_EQ(phase, 0.0);

    EXPECT_EQ(LinearInterp(0.0, 1.0, 2.0, 5.0, 1.0), 3.0);
    EXPECT_EQ(LinearInterp(1.0, 4.0, 3.0, 0.0, 5.0), -4.0); // extrapolates
    EXPECT_EQ(LinearInterp(2.0, 4.0, 2.0, 9.0, 2.0), 4.0);  // no division by zero
    EXPECT_EQ(LinearInterp(0.0, CComplex(1.0, -2.0), 4.0, CComplex(5.0, 2.0), 1.0),
              CComplex(2.0, -1.0));
    // Magnitudes 5 and 1: halfway is 3, where the interpolated value itself is 1.5+2.5i.
    EXPECT_DOUBLE_EQ(ModulusInterp(0.0, CComplex(3.0, 4.0), 1.0, CComplex(0.0, 1.0), 0.5), 3.0);
}

TEST(WcMcMeasurement, EachFunctionMeasuresWhereTheTablesSay) {
    WcMcCurve nominal;
    nominal.AddPoint(0, 0);
    nominal.AddPoint(1, 10);
    nominal.AddPoint(2, 20);
    EXPECT_EQ(nominal.ValueAt(0.25), 2.5);
    EXPECT_EQ(nominal.ValueAt(-1), 0.0);
    EXPECT_EQ(nominal.ValueAt(9), 20.0);
    EXPECT_EQ(WcMcCurve().ValueAt(1), 0.0);
    // Complex runs compare magnitudes with a nominal curve of magnitudes.
    WcMcCurve acNominal;
    const CComplex nominalPoints[] = {{3, 4}, {0, 2}};
    EXPECT_EQ(acNominal.AddDataPoint(0, 100, nullptr, nominalPoints), 1);
    EXPECT_EQ(acNominal.AddDataPoint(1, 1000, nullptr, nominalPoints), 1);
    EXPECT_EQ(acNominal.AddDataPoint(0, 2000, nullptr, nullptr), 0);
    EXPECT_EQ(acNominal.GetCount(), 2);

    // Functions: 0 MAX, 1 MIN, 2 rising and 3 falling edge at the threshold, 4 deviation
    // from the nominal curve; "~" marks complex data. Equal values keep the first point.
    const struct Row {
        const char* what;
        WcMcMeasurement m;
        bool complex;
        std::vector<Point> points;
        int valid;
        double x, y, phase;
    } rows[] = {
        // clang-format off
        {"max", Function(0), false, {{0, 1}, {1, 3}, {2, 3}, {3, 2}}, 1, 1, 3, 0},
        {"min", Function(1), false, {{0, 2}, {1, -1}, {2, -1}, {3, 0}}, 1, 1, -1, 0},
        // Complex extremes compare magnitudes and keep the phase of the stored point.
        {"max~", Function(0), true, {{10, {1, 0}}, {20, {0, 3}}, {30, {-3, 0}}, {40, {2, 0}}}, 1, 20, 3, kHalfPi},
        {"min~", Function(1), true, {{10, {0, -2}}, {20, {0, 5}}}, 1, 10, 2, -kHalfPi},
        {"rise", Function(2, 2.0), false, {{0, 0}, {1, 1}, {2, 3}, {3, 0}, {4, 5}}, 1, 1.5, 2, 0},
        {"fall", Function(3, 2.0), false, {{0, 3}, {1, 1}, {2, 3}, {3, 0}}, 1, 0.5, 2, 0},
        // Starting beyond the threshold is no crossing; touching it is none either, leaving
        // it is, from the touching point.
        {"late", Function(2, 2.0), false, {{0, 5}, {1, 6}, {2, 1}, {3, 3}}, 1, 2.5, 2, 0},
        {"touch", Function(2, 2.0), false, {{0, 1}, {1, 2}, {2, 2}, {3, 4}}, 1, 2.0, 2, 0},
        {"never", Function(3, 2.0), false, {{0, 3}, {1, 4}, {2, 2}}, 0, 0, 0, 0},
        // Complex edges interpolate the magnitude and take the phase of the interpolated value.
        {"rise~", Function(2, 2.0), true, {{0, {0, 1}}, {1, {0, 3}}}, 1, 0.5, 2, kHalfPi},
        {"fall~", Function(3, 2.0), true, {{0, {0, -4}}, {2, {0, -1}}}, 1, 4.0 / 3.0, 2, -kHalfPi},
        {"turn~", Function(2, 2.0), true, {{0, {1, 0}}, {1, {0, 3}}}, 1, 0.5, 2, std::atan2(1.5, 0.5)},
        // Deviations 1, 3, 3 (a tie), 1 beyond the curve's end; below counts as much as above;
        // the nominal run itself has no curve yet.
        {"dev", Function(4, 0, &nominal), false, {{0.5, 6}, {1.5, 12}, {1.75, 20.5}, {3, 19}}, 1, 1.5, 3, 0},
        {"below", Function(4, 0, &nominal), false, {{1, 6}, {2, 21}}, 1, 1, 4, 0},
        {"self", Function(4), false, {{0.5, 6}, {1.5, 12}}, 1, 0.5, 0, 0},
        {"dev~", Function(4, 0, &acNominal), true, {{100, {0, -5.5}}, {1000, {-1, 0}}}, 1, 1000, 1, 0},
        // clang-format on
    };
    for (const Row& r : rows) {
        const WcMcRunData data = Measure(r.m, r.points, r.complex);
        EXPECT_EQ(data.valid, r.valid) << r.what;
        if (!r.valid)
            continue;
        EXPECT_DOUBLE_EQ(data.x, r.x) << r.what;
        EXPECT_DOUBLE_EQ(data.y, r.y) << r.what;
        EXPECT_DOUBLE_EQ(data.phase, r.phase) << r.what;
    }
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
    EXPECT_EQ(data.x + data.y, 4.0);
    m.useRange = 0; // off, the same range values change nothing
    EXPECT_EQ(m.ProcessRunDataPoint(&data, 0, 7.0, big, nullptr), 1);
    EXPECT_EQ(data.x, 7.0);

    WcMcRunData none; // an unknown function measures nothing
    EXPECT_EQ(Function(5).ProcessRunDataPoint(&none, 0, 1.0, big, nullptr), 0);
    EXPECT_EQ(none.valid, 0);
    EXPECT_EQ(Function(0).ProcessRunDataPoint(nullptr, 0, 1.0, big, nullptr), 0);
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

    s = ComputeMcStatistics(runs, 1); // nominal and that run only
    EXPECT_DOUBLE_EQ(s.meanY, 11.0);
    EXPECT_DOUBLE_EQ(s.deviationY, 1.0);

    // Records missing from the span count as invalid; a negative count gives nothing.
    s = ComputeMcStatistics(std::span(runs).first(2), 3);
    EXPECT_EQ(s.validRuns, 2);
    EXPECT_DOUBLE_EQ(s.meanY, 22.0 / 4.0);
    s = ComputeMcStatistics(runs, -1);
    EXPECT_EQ(s.validRuns + s.meanY + s.deviationY, 0.0);
}

} // namespace
