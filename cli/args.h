// Command-line arguments of one tool command: positionals, valued options and --help.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

/// What a command line holds once its options are sorted out.
struct ParsedArgs {
    std::vector<std::string> positionals;
    std::map<std::string, std::string, std::less<>> values; ///< option name ("--mask") -> value
    bool help = false;

    /// The value of `option`, or null when it was not given.
    const std::string* Value(std::string_view option) const;
};

/// Sorts `args` (the words after the command name) into positionals and the
/// options named in `valueOptions`, each taking one value ("--mask 5" or
/// "--mask=5"). "-h"/"--help" set `help`; "--" ends the options. Returns the
/// parsed arguments, or nothing with `error` set to a message naming `command`.
std::optional<ParsedArgs> ParseArgs(std::string_view command, const std::vector<std::string>& args,
                                    const std::vector<std::string_view>& valueOptions,
                                    std::string& error);

/// A mask given in decimal or, with "0x", hexadecimal; negative values are
/// allowed (-1 is every bit). Nothing when the text is not such a number.
std::optional<long> ParseMask(std::string_view text);

} // namespace cli
