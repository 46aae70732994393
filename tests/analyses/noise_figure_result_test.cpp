// Noise figure result: the figure in decibels and the three texts for a zero noise value.
#include "analyses/compound/noise_figure_result.h"

#include <gtest/gtest.h>

namespace {

TEST(NoiseFigureResult, FigureOrTheTextForAZeroSide) {
    CString text;
    double figure = 0.0;
    EXPECT_EQ(NoiseFigureResult(1e-6, 1e-7, text, &figure), 1);
    EXPECT_EQ(text, "20db");
    EXPECT_DOUBLE_EQ(figure, 20.0);
    EXPECT_EQ(NoiseFigureResult(1e-7, 1e-6, text), 1);
    EXPECT_EQ(text, "-20db");
    EXPECT_EQ(NoiseFigureResult(-3e-9, 1e-9, text), 1);
    EXPECT_EQ(text, "9.54243db");
    // Tiny is not zero: only exact zeros lose the figure.
    EXPECT_EQ(NoiseFigureResult(1e-300, 1e-300, text), 1);
    EXPECT_EQ(text, "0db");

    figure = 7.0;
    EXPECT_EQ(NoiseFigureResult(0.0, 0.0, text, &figure), 0);
    EXPECT_EQ(text, "Unable to produce a result: both input and output noise sources are zero");
    EXPECT_EQ(figure, 7.0);
    EXPECT_EQ(NoiseFigureResult(0.0, 1e-7, text), 0);
    EXPECT_EQ(text, "Negative Infinity");
    EXPECT_EQ(NoiseFigureResult(1e-6, -0.0, text), 0);
    EXPECT_EQ(text, "Infinity");
}

} // namespace
