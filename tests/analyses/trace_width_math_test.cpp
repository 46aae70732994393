// Trace width: pin-current vector names, per-pin maxima, and widths from the thickness table.
#include "analyses/compound/trace_width_math.h"

#include <gtest/gtest.h>

namespace {

// (1 / (0.024 * 10^0.44))^(1 / 0.725): square mils for 1 A and a 10 degree rise.
constexpr double kAreaOneAmpTenDegrees = 42.39306714892737;

TEST(TraceWidthMath, PinCurrentVectorsNameComponentSourceAndPin) {
    CString component, pin, source;
    ASSERT_EQ(ParsePinCurrentVectorName("xr1.pinvoltagevr1--2#branch", &component, &pin, &source),
              1);
    EXPECT_EQ(component, "r1");
    EXPECT_EQ(pin, "2");
    EXPECT_EQ(source, "vr1");

    ASSERT_EQ(ParsePinCurrentVectorName("xq12.pinvoltageVsense#branch", &component, &pin, &source),
              1);
    EXPECT_EQ(component, "q12");
    EXPECT_EQ(pin, "$0");
    EXPECT_EQ(source, "Vsense");

    EXPECT_EQ(ParsePinCurrentVectorName(".pinvoltagev--1#branch", &component, &pin, nullptr), 1);
    EXPECT_EQ(component, "");
    EXPECT_EQ(pin, "1");

    for (const char* other :
         {"v(out)", "i(v1)", "xr1.pinvoltagexr1--2#branch", "xr1.pinvoltagevr1--2",
          "xr1.pinvoltage", "xr1.PINVOLTAGEvr1#branch"}) {
        CString keep = "unchanged";
        EXPECT_EQ(ParsePinCurrentVectorName(other, &keep, &keep, &keep), 0) << other;
        EXPECT_EQ(keep, "unchanged") << other;
    }
}

TEST(TraceWidthMath, MaximumIsTheLargestMagnitudeAndTimeZeroStartsAfresh) {
    TraceWidthData d;
    EXPECT_EQ(d.FromVectorName("v(out)"), 0);
    EXPECT_TRUE(d.GetVectorName().IsEmpty());
    ASSERT_EQ(d.FromVectorName("xc3.pinvoltagevc3--1#branch"), 1);
    EXPECT_EQ(d.GetVectorName(), "xc3.pinvoltagevc3--1#branch");
    EXPECT_EQ(d.GetComponent(), "c3");
    EXPECT_EQ(d.GetPin(), "1");

    d.AddPoint(0.0, 0.5);
    EXPECT_EQ(d.GetMaxCurrent(), 0.5);
    d.AddPoint(1e-6, -2.0);
    EXPECT_EQ(d.GetMaxCurrent(), 2.0);
    d.AddPoint(2e-6, 1.0);
    EXPECT_EQ(d.GetMaxCurrent(), 2.0);
    d.AddPoint(0.0, -0.1); // a new run in the same record
    EXPECT_EQ(d.GetMaxCurrent(), 0.1);
}

TEST(TraceWidthMath, ThicknessInterpolatesTheTableAndExtrapolatesItsEnds) {
    EXPECT_DOUBLE_EQ(TraceCopperThickness(1.0), 1.4);
    EXPECT_DOUBLE_EQ(TraceCopperThickness(0.125), 0.2);
    EXPECT_DOUBLE_EQ(TraceCopperThickness(14.0), 19.6);
    EXPECT_DOUBLE_EQ(TraceCopperThickness(1.5), 2.1);
    // Below 1 oz the slope changes from segment to segment, so the choice shows.
    EXPECT_DOUBLE_EQ(TraceCopperThickness(0.3), 0.424);
    EXPECT_DOUBLE_EQ(TraceCopperThickness(0.6), 0.82);
    EXPECT_DOUBLE_EQ(TraceCopperThickness(8.5), 11.9);
    EXPECT_DOUBLE_EQ(TraceCopperThickness(0.1), 0.168); // first segment, extended down
    EXPECT_DOUBLE_EQ(TraceCopperThickness(20.0), 28.0); // 10 to 14 oz segment, extended up
}

TEST(TraceWidthMath, WidthIsAreaOverThickness) {
    EXPECT_DOUBLE_EQ(TraceCrossSectionArea(1.0, 10.0), kAreaOneAmpTenDegrees);
    EXPECT_DOUBLE_EQ(TraceCrossSectionArea(-1.0, 10.0), kAreaOneAmpTenDegrees);
    EXPECT_DOUBLE_EQ(TraceWidthMils(1.0, 10.0, 1.0), kAreaOneAmpTenDegrees / 1.4);
    EXPECT_NEAR(TraceWidthMils(1.0, 10.0, 1.0), 30.2808, 1e-4);
    EXPECT_DOUBLE_EQ(TraceWidthMils(1.0, 10.0, 0.1), kAreaOneAmpTenDegrees / 0.168);
    EXPECT_DOUBLE_EQ(TraceWidthMils(1.0, 10.0, 20.0), kAreaOneAmpTenDegrees / 28.0);
    EXPECT_EQ(TraceWidthMils(0.0, 10.0, 1.0), 0.0);
    // More current or less allowed heating needs a wider trace.
    EXPECT_GT(TraceWidthMils(2.0, 10.0, 1.0), TraceWidthMils(1.0, 10.0, 1.0));
    EXPECT_GT(TraceWidthMils(1.0, 5.0, 1.0), TraceWidthMils(1.0, 10.0, 1.0));
}

TEST(TraceWidthMath, LogLineNamesComponentPinWidthAndCurrent) {
    TraceWidthData d;
    ASSERT_EQ(d.FromVectorName("xr1.pinvoltagevr1#branch"), 1);
    d.AddPoint(0.0, -1.0);
    EXPECT_EQ(d.toLogLine(10.0, 1.0), "Component:r1 ,Pin #$0,Trace Width = 30.2808 mils I=1");
    EXPECT_EQ(d.toLogLine(10.0, 1.0, 5), "Component:r1    ,Pin #$0,Trace Width = 30.2808 mils I=1");
    EXPECT_EQ(d.toLogLine(10.0, 1.0, 1), "Component:r1 ,Pin #$0,Trace Width = 30.2808 mils I=1");

    TraceWidthData q;
    ASSERT_EQ(q.FromVectorName("xq1.pinvoltagevq1--3#branch"), 1);
    q.AddPoint(0.0, 2.0);
    EXPECT_EQ(q.toLogLine(10.0, 2.0), "Component:q1 ,Pin #3,Trace Width = 39.3868 mils I=2");
}

} // namespace
