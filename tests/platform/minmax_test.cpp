// Ranges and plot axes: emptiness, growth and reset.
#include "platform/minmax.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(CMinMax, IsNullUntilTheFirstPointThenGrows) {
    CMinMax r;
    EXPECT_TRUE(r.IsNull());
    r.Add(std::nan(""));
    EXPECT_TRUE(r.IsNull()) << "a NaN is no point";

    r.Add(3.0);
    EXPECT_FALSE(r.IsNull());
    EXPECT_EQ(r.GetMin(), 3.0);
    EXPECT_EQ(r.GetMax(), 3.0);
    r.Add(-1.5);
    r.Add(7.25);
    r.Add(2.0);
    r.Add(std::nan(""));
    EXPECT_EQ(r.GetMin(), -1.5);
    EXPECT_EQ(r.GetMax(), 7.25);

    CMinMax ordered(9.0, -4.0);
    EXPECT_EQ(ordered.GetMin(), -4.0);
    EXPECT_EQ(ordered.GetMax(), 9.0);

    r.Reset();
    EXPECT_TRUE(r.IsNull());
    EXPECT_EQ(r, CMinMax());
}

TEST(CMinMax, SetOneEndOnANullRangeSetsBoth) {
    CMinMax a;
    a.SetMin(1e-3);
    EXPECT_FALSE(a.IsNull());
    EXPECT_EQ(a.GetMin(), 1e-3);
    EXPECT_EQ(a.GetMax(), 1e-3);
    a.SetMax(10.0);
    EXPECT_EQ(a.GetMin(), 1e-3);
    EXPECT_EQ(a.GetMax(), 10.0);
    a.SetMin(-2.0);
    EXPECT_EQ(a.GetMin(), -2.0);
    EXPECT_EQ(a.GetMax(), 10.0);

    CMinMax b;
    b.SetMax(5.0);
    EXPECT_EQ(b.GetMin(), 5.0);
    EXPECT_EQ(b.GetMax(), 5.0);
    EXPECT_NE(a, b);
}

TEST(CGrapherAxes, ResetEmptiesRangesClearsFlagAndUnsetsScales) {
    const CGrapherAxes fresh;
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(fresh.GetRange(i).IsNull());
        EXPECT_EQ(fresh.GetScale(i), 4);
    }
    EXPECT_EQ(fresh.GetFlag(), 0);

    CGrapherAxes axes;
    axes.GetRange(0).Add(1.0);
    axes.GetRange(3).SetMax(1e6);
    axes.SetFlag(1);
    axes.SetScale(1, 2);
    axes.SetScale(3, 0);
    EXPECT_NE(axes, fresh);

    axes.Reset();
    EXPECT_EQ(axes, fresh);
}
