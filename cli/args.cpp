// Command-line arguments of one tool command.
#include "cli/args.h"

#include "platform/resources.h"

#include <algorithm>
#include <charconv>

namespace cli {

const std::string* ParsedArgs::Value(std::string_view option) const {
    const auto it = values.find(option);
    return it == values.end() ? nullptr : &it->second;
}

std::optional<ParsedArgs> ParseArgs(std::string_view command, const std::vector<std::string>& args,
                                    const std::vector<std::string_view>& valueOptions,
                                    std::string& error) {
    const std::string cmd(command);
    ParsedArgs parsed;
    bool optionsEnded = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& word = args[i];
        // A lone "-" is a positional (conventionally standard input).
        if (optionsEnded || word.size() < 2 || word[0] != '-') {
            parsed.positionals.push_back(word);
            continue;
        }
        if (word == "--") {
            optionsEnded = true;
            continue;
        }
        if (word == "-h" || word == "--help") {
            parsed.help = true;
            continue;
        }
        const size_t eq = word.find('=');
        const std::string name = word.substr(0, eq);
        if (std::find(valueOptions.begin(), valueOptions.end(), name) == valueOptions.end()) {
            error = CString::Formatted(GetResourceText(IDS_CLI_ERR_UNKNOWN_OPTION), cmd.c_str(),
                                       name.c_str(), cmd.c_str())
                        .str();
            return std::nullopt;
        }
        std::string value;
        if (eq != std::string::npos) {
            value = word.substr(eq + 1);
        } else if (i + 1 < args.size()) {
            // The next word is the value even when it starts with '-' ("--mask -33").
            value = args[++i];
        } else {
            error = CString::Formatted(GetResourceText(IDS_CLI_ERR_MISSING_VALUE), cmd.c_str(),
                                       name.c_str())
                        .str();
            return std::nullopt;
        }
        if (!parsed.values.emplace(name, std::move(value)).second) {
            error = CString::Formatted(GetResourceText(IDS_CLI_ERR_REPEATED_OPTION), cmd.c_str(),
                                       name.c_str())
                        .str();
            return std::nullopt;
        }
    }
    return parsed;
}

std::optional<long> ParseMask(std::string_view text) {
    bool negative = false;
    if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
        negative = text[0] == '-';
        text.remove_prefix(1);
    }
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    if (text.empty() || text[0] == '-' || text[0] == '+')
        return std::nullopt;
    long magnitude = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), magnitude, base);
    if (ec != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return negative ? -magnitude : magnitude;
}

} // namespace cli
