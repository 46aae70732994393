// Plot ranges, axes and grapher pages: emptiness, growth, reset, and traces that turn complex.
#include "platform/grapher.h"
#include "platform/minmax.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

TEST(CGrapherPage, TracesTurnComplexWithoutLosingEarlierPoints) {
    CGrapherPage page("Parameter Sweep");
    CGrapherTrace& trace = page.AddTrace("v(out) r1=1k");
    for (int i = 0; i < 40; ++i)
        page.AddTrace(CString::Formatted("filler%d", i));
    trace.AddPoint(1.0, 0.5);
    trace.AddPoint(10.0, CComplex(0.25, -0.75));
    trace.AddPoint(100.0, 0.125);
    EXPECT_EQ(&trace, page.FindTrace("v(out) r1=1k")) << "references survive later traces";
    EXPECT_EQ(page.FindTrace("v(OUT) r1=1k"), nullptr);
    EXPECT_TRUE(trace.IsComplex());
    EXPECT_EQ(trace.re, (std::vector<double>{0.5, 0.25, 0.125}));
    EXPECT_EQ(trace.im, (std::vector<double>{0.0, -0.75, 0.0}));
    EXPECT_FALSE(page.GetTraces()[1].IsComplex());
}

namespace {

std::pair<double, double> Ends(const CMinMax& r) {
    return {r.GetMin(), r.GetMax()};
}

} // namespace

TEST(CMinMax, IsNullUntilTheFirstPointThenGrows) {
    CMinMax r;
    r.Add(std::nan(""));
    EXPECT_TRUE(r.IsNull()) << "a NaN is no point";
    r.Add(3.0);
    EXPECT_EQ(Ends(r), std::make_pair(3.0, 3.0));
    for (const double v : {-1.5, 7.25, 2.0, std::nan("")})
        r.Add(v);
    EXPECT_EQ(Ends(r), std::make_pair(-1.5, 7.25));
    EXPECT_EQ(Ends(CMinMax(9.0, -4.0)), std::make_pair(-4.0, 9.0));
    r.Reset();
    EXPECT_TRUE(r.IsNull());
    EXPECT_EQ(r, CMinMax());

    // Setting one end of a null range sets both.
    CMinMax a, b;
    a.SetMin(1e-3);
    EXPECT_EQ(Ends(a), std::make_pair(1e-3, 1e-3));
    a.SetMax(10.0);
    a.SetMin(-2.0);
    EXPECT_EQ(Ends(a), std::make_pair(-2.0, 10.0));
    b.SetMax(5.0);
    EXPECT_EQ(Ends(b), std::make_pair(5.0, 5.0));
    EXPECT_NE(a, b);
}

TEST(CGrapherAxes, ResetEmptiesRangesClearsFlagAndUnsetsScales) {
    const CGrapherAxes fresh;
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(fresh.GetRange(i).IsNull() && fresh.GetScale(i) == 4 && fresh.GetFlag() == 0);
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
