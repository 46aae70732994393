// The tool's commands as registrations, and the reading of their arguments with CLI11.
#pragma once

#include "platform/resources.h"

#include <cstdint>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

/// A command line once its options are sorted out.
struct Invocation {
    std::vector<std::string> positionals;
    std::map<std::string, std::string, std::less<>> values; ///< option name ("--mask") -> value
    bool help = false;

    /// The value of `option`, or null when it was not given; owned by the invocation.
    const std::string* Value(std::string_view option) const;
};

/// One command of the tool. A command is one entry of the table in commands.cpp:
/// its words, its options, its help and its handler; parsing, help and the
/// positional checks are shared.
struct Command {
    std::string_view name;
    std::vector<std::string_view> positionals; ///< required, in order; names as messages print them
    std::vector<std::string_view> options;     ///< long options taking one value each
    ResourceId summary;                        ///< the command's line in the tool's help
    ResourceId help;                           ///< what "COMMAND --help" prints
    /// Which nicknames the help's NICKNAME paragraph lists. Unless None, the help
    /// text takes that paragraph and the --settings one as its two "%s".
    enum class Nicknames { None, Analyses, AnalysesAndPostProc } nicknames;
    /// Runs the command; gets exactly `positionals.size()` positionals. Returns an ExitCode.
    int (*handler)(const Invocation& call, std::ostream& out, std::ostream& err);
};

/// Sorts `args` (the words after the command name) into positionals and the
/// options named in `valueOptions`, each taking one value ("--mask 5",
/// "--mask=5"); the next word is the value whatever it looks like. "-h" and
/// "--help" set `help`; "--" ends the options; any other word of two or more
/// characters starting with '-' is an unknown option. The first problem from
/// the left wins: nothing is returned and `error` names `command` and the problem.
std::optional<Invocation> ParseArgs(std::string_view command, const std::vector<std::string>& args,
                                    const std::vector<std::string_view>& valueOptions,
                                    std::string& error);

/// A mask given in decimal or, with "0x", hexadecimal; negative values are
/// allowed (-1 is every bit). Nothing when the text is not such a number.
std::optional<long> ParseMask(std::string_view text);

/// A master seed: a decimal integer from 0 to 2^64 - 1 and nothing else.
std::optional<uint64_t> ParseSeed(std::string_view text);

} // namespace cli
