// SVG plot of a result page: axes in the page's scales, grid, legend and one
// polyline per plotted trace. Complex traces plot as magnitude in dB over a
// second panel with the phase in degrees.
#pragma once

#include "report/page.h"

#include <string>
#include <string_view>
#include <vector>

namespace report {

struct SvgOptions {
    int width = 880;  ///< pixels
    int height = 520; ///< pixels
};

/// One axis tick: where it is, what it says; minor ticks draw grid only.
struct Tick {
    double value = 0.0;
    std::string label;
    bool major = true;
};

/// 1-2-5 stepped ticks covering [lo, hi], about `target` of them.
std::vector<Tick> LinearTicks(double lo, double hi, int target = 6);
/// Ticks for a logarithmic axis over [lo, hi] (both > 0): decades, with 2..9
/// minor ticks when few decades show, and 1-2-5 labels inside a single decade.
std::vector<Tick> LogTicks(double lo, double hi);

/// True when the page has x values and some plotted trace with values: only
/// such pages get a plot.
bool HasGraph(const Page& page);

/// Escapes &, <, >, " and ' for XML text and attribute values.
std::string XmlEscape(std::string_view text);

/// A complete standalone SVG document (UTF-8, no external references).
/// NaN and infinite values, and values <= 0 on a logarithmic axis, break the
/// line rather than the plot.
std::string ToSvg(const Page& page, const SvgOptions& options = {});

} // namespace report
