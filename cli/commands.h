// The canal tool's entry points, callable in-process (tests) and from main().
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

/// Exit statuses of the tool.
enum ExitCode : int {
    ExitOk = 0,
    ExitFailure = 1,       ///< the work ran and failed (simulator error, cannot simulate)
    ExitUsage = 2,         ///< bad arguments, unknown nickname, unreadable or unparsable input
    ExitInterrupted = 130, ///< stopped by Ctrl-C; what was computed is written (as shells say)
};

/// The whole tool: argv[0] excluded. Writes results to `out`, messages to `err`.
int Main(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

/// One command by name with the words after it, as `canal NAME ARGS...`; an
/// unknown name is a usage error.
int CallCommand(std::string_view name, const std::vector<std::string>& args, std::ostream& out,
                std::ostream& err);

/// `canal run CIRCUIT NICKNAME [--settings FILE] [--save VECTORS] [--out DIR] [--seed N]`.
int RunCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

/// Calls `body` and returns its status. Whatever escapes it becomes
/// "canal: internal error: ..." on `err` and ExitFailure, so that the tool never
/// ends on an exception without a word.
int CatchAll(const std::function<int()>& body, std::ostream& err) noexcept;

} // namespace cli
