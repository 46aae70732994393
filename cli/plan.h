// `canal plan`: what an analysis would ask of the simulator, printed without one.
#pragma once

#include "analyses/core/analysis.h"
#include "cli/args.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace cli {

/// Runs the command of `analysis` (mask 1) against a recording engine: `orvo KEY RECORD`
/// statements go to the engine's ExecuteCommand on a fresh collection, `iplot LIST` sets the
/// engine's iplot, and the other statements of a compound analysis's script stay unprinted;
/// an analysis without an orvo statement hands every statement to the engine instead.
/// Returns the plan's lines ("exec:", "param", "log:", then "result: N") and sets `result`.
std::vector<std::string> PlanLines(const Analyses::Analysis& analysis, int& result);

/// `canal plan NICKNAME [--settings FILE] [--seed N]`.
int PlanAnalysis(const Invocation& call, std::ostream& out, std::ostream& err);

} // namespace cli
