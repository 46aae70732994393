// The result pages of compound analyses (grapher pages) as report pages.
#pragma once

#include "canal/export.h"
#include "platform/grapher.h"
#include "report/page.h"

#include <vector>

namespace report {

/// One report page per grapher page, in order: the title; the x axis named and labelled with
/// its unit ("time (s)"); every trace with its own x values (runs of a compound analysis have
/// their own points), or over a page x when all traces share the same x values; each chart log
/// as log lines (its title, then its entries indented two blanks per level); each table as a
/// chart.
CANAL_EXPORT std::vector<Page> PagesFromGrapher(const std::vector<CGrapherPage>& pages);

} // namespace report
