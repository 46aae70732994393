// The run and demo commands, and what they share: simulating one analysis on a loaded
// circuit and writing its report.
#pragma once

#include "analyses/core/analysis.h"
#include "cli/args.h"
#include "report/report.h"

#include <chrono>
#include <iosfwd>
#include <string>

namespace host {
class ScriptRunner;
}

namespace cli {

/// A status line on the error stream, rewritten in place with a carriage
/// return. It shows when the stream is a terminal, or once the work has taken
/// longer than half a second, so quick runs in scripts stay quiet.
class StatusLine {
public:
    StatusLine(std::ostream& err, bool terminal);
    ~StatusLine();
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    void Update(const std::string& text);
    /// Blanks the line so that the next message starts clean.
    void Clear();

    /// True when `err` is the process's standard error and that is a terminal.
    static bool IsTerminal(const std::ostream& err);

private:
    std::ostream& err_;
    bool terminal_;
    std::chrono::steady_clock::time_point start_;
    size_t shown_ = 0; ///< length of the text on the line now
};

/// Runs the analysis' whole script on the circuit the runner has loaded and
/// returns its section: readable settings, script, pages, logs, and the failure
/// when there was one. `status` is borrowed and may be null.
report::Section SimulateAnalysis(host::ScriptRunner& runner, const Analyses::Analysis& analysis,
                                 StatusLine* status);

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

/// Writes the report into `dir` and prints, per section, a line with its pages,
/// traces and points, then what was written. False when some file failed; the
/// failures go to `err`.
bool WriteAndSummarize(const report::Report& report, const std::string& dir, std::ostream& out,
                       std::ostream& err);

} // namespace cli
