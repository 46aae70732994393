// The canal tool's commands, callable in-process (tests) and from main().
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace cli {

/// Exit statuses of the tool.
enum ExitCode : int {
    ExitOk = 0,
    ExitFailure = 1, ///< the work ran and failed (simulator error, cannot simulate)
    ExitUsage = 2,   ///< bad arguments, unknown nickname, unreadable or unparsable input
};

/// The whole tool: argv[0] excluded. Writes results to `out`, messages to `err`.
int Main(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

/// `canal script|describe|props NICKNAME [--settings FILE] [--mask N]`.
int ScriptCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int DescribeCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int PropsCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

/// `canal run CIRCUIT NICKNAME [--settings FILE] [--save VECTORS] [--out DIR]`.
int RunCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

/// `canal demo`: runs the bundled example and says where the results are.
int DemoCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

} // namespace cli
