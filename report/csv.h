// CSV form of a result page: the x column, then one column per trace.
#pragma once

#include "canal/export.h"
#include "report/page.h"

#include <string>
#include <string_view>

namespace report {

/// Quotes a field when it holds a comma, a double quote, a line break or
/// leading/trailing blanks; inner quotes are doubled.
CANAL_EXPORT std::string CsvField(std::string_view text);

/// The whole page as CSV text with "\n" line ends. Pages with x values: a header
/// row (x name, then the traces), one row per x value; complex traces give two
/// columns, "|name|" (magnitude) and "phase(name)" (degrees). Pages without x
/// values (operating point, transfer function, poles and zeros) give "name,value"
/// rows, with an "imaginary" column when some trace is complex. Traces with x values of
/// their own share one x column, the union of all x values, and leave a cell empty where they
/// have no point; when that table would be mostly empty (more than a million cells, eight per
/// point: the runs of a Monte Carlo analysis), each trace gets an x column of its own instead,
/// "time (Run #1)" before "Run #1". Numbers carry 17 significant digits; missing values are
/// empty cells.
CANAL_EXPORT std::string ToCsv(const Page& page);

/// A chart as CSV: its columns as the header row, then its rows as they are (the chart's
/// numbers keep the text the analysis gave them).
CANAL_EXPORT std::string ChartToCsv(const Chart& chart);

} // namespace report
