// Compound analyses in `canal run`: their output variables, the checks made before they
// simulate, and the result files, histogram and summary made of their pages.
#pragma once

#include "analyses/core/analysis.h"
#include "platform/grapher.h"
#include "report/report.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace host {
class NgSpiceEngine;
}

namespace cli {

/// Whether `analysis` runs as a compound request ("orvo KEY RECORD"): the sweeps, worst case,
/// Monte Carlo, noise figure and trace width.
bool IsCompoundAnalysis(const Analyses::Analysis& analysis);

/// Applies --save to a compound analysis: a sweep saves and plots the named variables; worst
/// case and Monte Carlo measure the one variable named (their OutputVariable); noise figure and
/// trace width choose their own vectors, so it is refused. False with the message on `err`.
bool ApplyCompoundSave(Analyses::Analysis& analysis, const std::string& save, std::ostream& err);

/// Why a compound analysis cannot run as set ("" when it can): the analysis's own reason, or for
/// a noise figure a missing output node or input source.
std::string CompoundCannotSimulate(Analyses::Analysis& analysis);

/// Checks a compound analysis against the circuit the engine has loaded, before anything is
/// simulated: every element, model and parameter it sweeps or tolerances, its output variables
/// and saved nodes, a noise figure's nodes and source (each refusal named on `err`,
/// ExitFailure); then every tolerance as the settings page would (the validation's message,
/// ExitUsage). ExitOk when it may run. `circuit` names the circuit in messages.
int CheckCompoundAnalysis(host::NgSpiceEngine& engine, const Analyses::Analysis& analysis,
                          const std::string& circuit, std::ostream& err);

/// Adds to the section of a compound analysis what its result pages (`pages`, as the analysis
/// left them; `section.pages` already holds them as report pages, in the same order) hold:
/// "results.txt" (every result log), "runs.csv" (the Runs table of worst case and Monte
/// Carlo), "tracewidth.csv" (the Trace Widths table); for Monte Carlo the histogram of the
/// measured values; the nominal and worst runs marked among the traces; and the summary line
/// the tool prints.
void AddCompoundResults(report::Section& section, const Analyses::Analysis& analysis,
                        const std::vector<CGrapherPage>& pages);

} // namespace cli
