// SVG plot of a result page: axes in the page's scales, grid, legend and one
// polyline per plotted trace. Complex traces plot as magnitude in dB over a
// second panel with the phase in degrees.
#pragma once

#include "canal/export.h"
#include "report/page.h"

#include <string>
#include <string_view>

namespace report {

struct CANAL_EXPORT SvgOptions {
    int width = 880;  ///< pixels
    int height = 520; ///< pixels
};

/// True when the page has x values and some plotted trace with values: only
/// such pages get a plot.
CANAL_EXPORT bool HasGraph(const Page& page);

/// A pixel coordinate with at most two decimals ("12.5", "0"); values beyond a million pixels
/// are clamped.
std::string SvgNumber(double v);

/// Escapes &, <, >, " and ' for XML text and attribute values.
CANAL_EXPORT std::string XmlEscape(std::string_view text);

/// A complete standalone SVG document (UTF-8, no external references).
/// NaN and infinite values, and values <= 0 on a logarithmic axis, break the
/// line rather than the plot.
CANAL_EXPORT std::string ToSvg(const Page& page, const SvgOptions& options = {});

} // namespace report
