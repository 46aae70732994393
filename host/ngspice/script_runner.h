// Runs a framed Nutmeg script on ngspice, statement by statement, and turns
// its scopes into result pages.
#pragma once

#include "canal/ngspice_export.h"
#include "report/page.h"

#include <functional>
#include <string>
#include <vector>

namespace host {

class NgSpiceSession;
class PlotListener;

/// What a script run produced. Pages already filled are kept when a later
/// statement fails.
struct CANAL_NGSPICE_EXPORT RunResult {
    bool ok = true;
    std::string error; ///< first failure, with ngspice's own message
    std::vector<report::Page> pages;
    std::vector<std::string> log; ///< everything ngspice printed, in order
    /// Things the host did differently (skipped options, ...) and housekeeping ngspice refused
    /// (restoring the temperature, removing helper plots), which costs no result.
    std::vector<std::string> notes;
};

struct CANAL_NGSPICE_EXPORT RunOptions {
    /// Called with short progress texts ("Simulating...: ac 1.2 kHz"), throttled
    /// to one call per 33 ms; may be empty.
    std::function<void(const std::string&)> status;
    /// Polled between statements and data rows; returning true stops the run.
    std::function<bool()> stopRequested;
    /// Receives the plot data of every analysis the script runs (borrowed; may be null).
    PlotListener* listener = nullptr;
    /// ngspice keeps options for every later analysis, so a script whose option set differs from
    /// the previous script's first re-reads the circuit from its deck, which also undoes earlier
    /// "alter"s. Runs that depend on parameters changed just before them set this to keep the
    /// circuit as it is (options of earlier scripts then stay in force), and a temperature it
    /// sets stays set after the run ("set -temp" restores the circuit's own).
    bool keepCircuitState = false;
    /// An inner run of a compound analysis: no pages (the listener gets the data, then each
    /// plot is destroyed so that memory stays flat over many runs), no "show"/"showmod", and
    /// node analyses keep the save list ngspice holds unless the text has its own "save".
    bool silent = false;
    /// Runs a compound analysis: receives the text after "orvo" ("MONTE ANALYSIS:list{...}")
    /// and returns false with a message in `error` when it fails. Called on the runner's thread,
    /// between two statements of the script; what it throws fails the statement. Without it,
    /// "orvo" statements fail.
    std::function<bool(const std::string& keyAndRecord, std::string& error)> orvo;
    /// Told the vectors of every "iplot" statement (empty for "iplot" alone), before the
    /// statements after it run: compound analyses plot what their scope plots.
    std::function<void(const std::vector<std::string>& vectors)> iplot;
};

/// Borrows the process's ngspice session; the session must outlive the runner.
class CANAL_NGSPICE_EXPORT ScriptRunner {
public:
    explicit ScriptRunner(NgSpiceSession& session);

    /// Loads a netlist file into ngspice; false with a message when ngspice
    /// rejects it.
    bool LoadCircuitFile(const std::string& path, std::string& error);
    /// Loads a netlist given as lines (the title line first, ".end" last).
    bool LoadCircuitLines(const std::vector<std::string>& lines, std::string& error);

    /// Executes the script; see the dialect table in the design notes.
    RunResult Run(const std::string& script, const RunOptions& options = {});

private:
    NgSpiceSession& session_;
};

} // namespace host
