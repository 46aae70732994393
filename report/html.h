// The self-contained HTML report: every section and page with its plot
// inlined, links to the CSV files, charts as tables and the logs.
#pragma once

#include "canal/export.h"
#include "report/report.h"

#include <string>
#include <string_view>

namespace report {

/// Escapes &, <, >, " and ' so that any text is safe in element content and
/// quoted attribute values.
CANAL_EXPORT std::string HtmlEscape(std::string_view text);

/// The whole report.html. File links use the names WriteReport gives.
CANAL_EXPORT std::string ToHtml(const Report& report);

} // namespace report
