// Pieces the worst-case and Monte Carlo reports share: run traces, the nominal curve, numbers.
#pragma once

#include "analyses/compound/wcmc_analysis.h"

/// Shortest text that reads back to the same double ("0.1", "1e+10"): the form
/// of the numbers in result tables, so that a table read back loses nothing.
CString WcMcShortestNumber(double value);

/// The run's output curve as a trace called `name` on `page`; nothing for a
/// run that produced no points.
void AddWcMcRunTrace(CGrapherPage& page, const WcMcRunResult& run, const CString& name);

/// The nominal run's curve as function 4 compares against it: magnitudes
/// (values for real data) over x.
WcMcCurve WcMcNominalCurve(const CGrapherTrace& curve);

/// Titles the page and names its x axis by the underlying analysis.
void PrepareWcMcPage(CGrapherPage& page, unsigned title, const WcMcAnalysis& analysis);
