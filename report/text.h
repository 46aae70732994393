// Plain-text renderers: the analysis settings, page logs and charts.
#pragma once

#include "canal/export.h"
#include "report/report.h"

#include <string>

class CTreeCtrl;

namespace report {

/// The readable text of an analysis: one item per line, two blanks per level.
CANAL_EXPORT std::string AnalysisToText(const CTreeCtrl& ctrl);

/// A chart as a text table: title line, header, a rule, then rows; columns are
/// padded to their widest cell, numbers aligned right.
CANAL_EXPORT std::string ChartToText(const Chart& chart);

/// One page: its title, error, log lines and charts.
CANAL_EXPORT std::string PageLogToText(const Page& page);

/// A section's log file: every page's log and charts, the notes, then the
/// simulator's own output.
CANAL_EXPORT std::string SectionLogToText(const Section& section);

} // namespace report
