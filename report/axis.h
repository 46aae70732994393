// Plot axes: value ranges fitted to the data, the mapping of values onto an
// axis, and the ticks that label it.
#pragma once

#include "report/page.h"

#include <string>
#include <string_view>
#include <vector>

namespace report {

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

/// True for the page scales that plot logarithmically: "log", "dec" and "oct".
bool IsLogScale(std::string_view scale);

/// The value range of one axis and where a value falls on it.
struct Scale {
    bool log = false;
    bool degrees = false; ///< angle axis: ticks at multiples of 15, 45, 90 degrees
    double lo = 0.0;
    double hi = 1.0;

    /// False for values the axis cannot show: NaN, infinities, and on a log axis values <= 0.
    bool Usable(double v) const;
    /// 0 at lo, 1 at hi; linear in the value or in its logarithm.
    double Frac(double v) const;
    /// The tick step for about `target` ticks over `span`.
    double Step(double span, int target) const;
};

/// Sets the range of `scale` from an explicit `axis` range when it is usable
/// (`axis` may be null), else from the usable values of `data`, else a
/// fallback; never leaves a zero or inverted range. `roundOut` widens the range
/// to whole ticks of about `target` (y axes). The data vectors are borrowed.
void FitScale(Scale& scale, const std::vector<const std::vector<double>*>& data, const Axis* axis,
              bool roundOut, int target);

/// The ticks of a fitted scale: decades on a log axis, else about `target` steps.
std::vector<Tick> TicksFor(const Scale& scale, int target);

} // namespace report
