// Locale-free number texts for the renderers: full-precision data and short
// engineering labels for plot ticks.
#pragma once

#include "canal/export.h"

#include <string>

namespace report {

/// "%.17g" in the C locale: reads back to the same double. "nan", "inf", "-inf"
/// for the special values.
std::string FormatFull(double value);
/// FormatFull appended to `out`: a table of many numbers then needs no string per number.
void AppendFull(std::string& out, double value);

/// A short engineering label: 0.0025 gives "2.5m", 47000 gives "47k", 1e6 gives
/// "1M". At most `digits` significant digits; exponent form beyond the prefixes.
CANAL_EXPORT std::string FormatEngineering(double value, int digits = 4);

/// A value with its unit in engineering form: "1.126 V", "12.3 mV", "0 A"; with no unit
/// just FormatEngineering.
CANAL_EXPORT std::string FormatQuantity(double value, const std::string& unit, int digits = 4);

/// Shortest text that reads back to `value` (C locale), e.g. "0.1", "1e+10".
std::string FormatShort(double value);

} // namespace report
