// The run and demo commands, and what they share: simulating one analysis on a loaded
// circuit and writing its report.
#pragma once

#include "analyses/core/analysis.h"
#include "cli/args.h"
#include "cli/distribution.h"
#include "cli/interrupt.h"
#include "cli/status_frontend.h"
#include "host/ngspice/engine.h"
#include "report/report.h"

#include <iosfwd>
#include <memory>
#include <string>

namespace cli {

/// One circuit loaded into ngspice for the tool's runs: the engine and the collection the
/// compound analyses run on, the status line on `err`, and Ctrl-C, which stops the running
/// analysis after its current simulation (a second Ctrl-C ends the tool). Trace width writes
/// its diagnostic files into `outDir`. One at a time: it holds the SIGINT handler.
class CircuitRun {
public:
    /// `jobs` processes make the independent runs of compound analyses (1: this one).
    CircuitRun(std::ostream& err, const std::string& outDir, int jobs = 1);
    CircuitRun(const CircuitRun&) = delete;
    CircuitRun& operator=(const CircuitRun&) = delete;

    /// Loads the netlist file; false with ngspice's message.
    bool Load(const std::string& circuit, std::string& error);
    host::NgSpiceEngine& Engine() { return *engine_; }

    /// Runs the analysis's whole script and returns its section: readable settings, script,
    /// pages, logs, and the failure when there was one. A compound analysis runs on
    /// `collection` (borrowed, may be null: a collection of defaults), whose main analyses it
    /// may take settings from; its section holds its result pages, result files and summary.
    /// A stop request makes the section failed with what was computed kept.
    report::Section Simulate(const Analyses::Analysis& analysis, Analyses* collection = nullptr);
    /// Whether Ctrl-C was pressed since this run began.
    bool Interrupted() const { return interrupt_.Interrupted(); }

private:
    StatusLine status_;
    StatusFrontEnd frontEnd_;
    InterruptGuard interrupt_;
    std::unique_ptr<CRunDistributor> distributor_;
    std::unique_ptr<host::NgSpiceEngine> engine_;
    std::unique_ptr<Analyses> analyses_;
};

/// A section for an analysis that could not run at all (the circuit did not
/// load): its settings and the message, no pages.
report::Section FailedSection(const Analyses::Analysis& analysis, const std::string& error);

/// Why the circuit file at `path` cannot be read (the C library's text), or null when it can.
/// Checking first gives a plain message instead of ngspice's.
const char* UnreadableReason(const std::string& path);

/// `canal run`: simulates the circuit with one analysis and writes the results.
int RunAnalysis(const Invocation& call, std::ostream& out, std::ostream& err);

/// `canal demo`: runs the bundled example and says where the results are.
int RunDemo(const Invocation& call, std::ostream& out, std::ostream& err);

/// Writes the report into `dir` and prints, per section, its summary (a compound analysis's
/// result and files) or a line with its pages, traces and points, then what was written. False when
/// some file failed; the failures go to `err`.
bool WriteAndSummarize(const report::Report& report, const std::string& dir, std::ostream& out,
                       std::ostream& err);

} // namespace cli
