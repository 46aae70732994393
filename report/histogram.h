// SVG histogram of the values a statistical analysis measured, with its mean and spread marked.
#pragma once

#include "report/page.h"
#include "report/svg.h"

#include <cstddef>
#include <string>
#include <vector>

namespace report {

/// Equal-width bins over the values: about the square root of their number (5 to 40 bins),
/// spanning the smallest to the largest value; a single bin when all values are equal.
struct Bins {
    double lo = 0.0;
    double width = 1.0;
    std::vector<size_t> counts;
};
/// Non-finite values are left out.
Bins MakeBins(const std::vector<double>& values);

/// A complete standalone SVG document in the style of ToSvg: bars of the bins; the mean as a
/// solid line and mean +- one standard deviation as dashed lines; the nominal and the worst
/// value, when known, as coloured lines; a legend naming them with their values.
std::string HistogramToSvg(const Histogram& histogram, const SvgOptions& options = {});

} // namespace report
