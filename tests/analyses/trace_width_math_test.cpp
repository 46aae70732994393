// Trace width: pin-current vector names, per-pin maxima, and widths from the thickness table.
#include "analyses/compound/trace_width_math.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

// (1 / (0.024 * 10^0.44))^(1 / 0.725): square mils for 1 A and a 10 degree rise.
constexpr double kAreaOneAmpTenDegrees = 42.39306714892737;

TEST(TraceWidthMath, PinCurrentVectorsNameComponentSourceAndPin) {
    const struct {
        const char *vector, *component, *pin, *source;
    } pins[] = {{"xr1.pinvoltagevr1--2#branch", "r1", "2", "vr1"},
                {"xq12.pinvoltageVsense#branch", "q12", "$0", "Vsense"},
                {".pinvoltagev--1#branch", "", "1", "v"}};
    for (const auto& p : pins) {
        CString component, pin, source;
        EXPECT_EQ(ParsePinCurrentVectorName(p.vector, &component, &pin, &source), 1) << p.vector;
        EXPECT_EQ(component + "|" + pin + "|" + source,
                  CString(p.component) + "|" + p.pin + "|" + p.source);
    }
    for (const char* other :
         {"v(out)", "i(v1)", "xr1.pinvoltagexr1--2#branch", "xr1.pinvoltagevr1--2",
          "xr1.pinvoltage", "xr1.PINVOLTAGEvr1#branch"}) {
        CString keep = "unchanged";
        EXPECT_EQ(ParsePinCurrentVectorName(other, &keep, &keep, &keep), 0) << other;
        EXPECT_EQ(keep, "unchanged") << other;
    }
}

TEST(TraceWidthMath, RecordKeepsTheLargestMagnitudeAndTimeZeroStartsAfresh) {
    TraceWidthData d;
    EXPECT_EQ(d.FromVectorName("v(out)"), 0);
    EXPECT_TRUE(d.GetVectorName().IsEmpty());
    ASSERT_EQ(d.FromVectorName("xc3.pinvoltagevc3--1#branch"), 1);
    EXPECT_EQ(d.GetVectorName(), "xc3.pinvoltagevc3--1#branch");
    const std::pair<double, double> points[] = {{0.0, 0.5}, {1e-6, -2.0}, {2e-6, 1.0}};
    for (const auto& [time, amperes] : points)
        d.AddPoint(time, amperes);
    EXPECT_EQ(d.toLogLine(10.0, 2.0), "Component:c3 ,Pin #1,Trace Width = 39.3868 mils I=2");
    EXPECT_EQ(d.toLogLine(10.0, 2.0, 5), "Component:c3    ,Pin #1,Trace Width = 39.3868 mils I=2");
    d.AddPoint(0.0, -0.1); // a new run in the same record
    EXPECT_EQ(d.GetMaxCurrent(), 0.1);
}

TEST(TraceWidthMath, ThicknessInterpolatesTheTableAndExtrapolatesItsEndsWidthIsAreaOverIt) {
    // Below 1 oz the slope changes from segment to segment, so the choice of segment shows;
    // 0.1 extends the first segment down, 20 the 10 to 14 oz one up.
    const std::pair<double, double> thickness[] = {{1.0, 1.4},  {0.125, 0.2}, {14.0, 19.6},
                                                   {1.5, 2.1},  {0.3, 0.424}, {0.6, 0.82},
                                                   {8.5, 11.9}, {0.1, 0.168}, {20.0, 28.0}};
    for (const auto& [ounces, mils] : thickness) {
        EXPECT_DOUBLE_EQ(TraceCopperThickness(ounces), mils) << ounces;
        EXPECT_DOUBLE_EQ(TraceWidthMils(1.0, 10.0, ounces), kAreaOneAmpTenDegrees / mils);
    }
    EXPECT_DOUBLE_EQ(TraceCrossSectionArea(-1.0, 10.0), kAreaOneAmpTenDegrees);
    EXPECT_EQ(TraceWidthMils(0.0, 10.0, 1.0), 0.0);
    // More current or less allowed heating needs a wider trace.
    EXPECT_GT(TraceWidthMils(2.0, 10.0, 1.0), TraceWidthMils(1.0, 10.0, 1.0));
    EXPECT_GT(TraceWidthMils(1.0, 5.0, 1.0), TraceWidthMils(1.0, 10.0, 1.0));
}

} // namespace
