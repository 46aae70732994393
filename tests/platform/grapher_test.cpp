// Grapher pages: traces that turn complex, references that survive growth.
#include "platform/grapher.h"

#include <gtest/gtest.h>

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
