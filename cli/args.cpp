// The reading of a command's arguments: CLI11 does the parsing, this file keeps the tool's
// own conventions and messages on top of it.
#include "cli/args.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>

namespace cli {

namespace {

// Thrown from an option's parse callback, so that parsing stops where the
// second occurrence stands and later words cannot report first.
struct RepeatedOption {
    std::string name;
};

// Every argument message starts with the command; the unknown-option one names
// it again in its help hint (printf skips arguments a text does not use).
std::string Message(ResourceId id, const std::string& command, const std::string& name) {
    return CString::Formatted(GetResourceText(id), command.c_str(), name.c_str(), command.c_str())
        .str();
}

// CLI11 reads "--mask=" as a bare option that takes the next word; the tool
// has always read it as an empty value. Splitting it into "--mask" "" gives
// CLI11 the empty word to take. Values (even "--mask=") and words after "--"
// stay as they are.
std::vector<std::string> SplitEmptyValues(const std::vector<std::string>& args,
                                          const std::vector<std::string_view>& valueOptions) {
    const auto isValueOption = [&](std::string_view word) {
        return std::find(valueOptions.begin(), valueOptions.end(), word) != valueOptions.end();
    };
    std::vector<std::string> words;
    size_t i = 0;
    for (; i < args.size() && args[i] != "--"; ++i) {
        const std::string& word = args[i];
        words.push_back(word);
        if (isValueOption(word) && i + 1 < args.size()) {
            words.push_back(args[++i]);
        } else if (word.ends_with('=') && isValueOption(word.substr(0, word.size() - 1))) {
            words.back().pop_back();
            words.emplace_back();
        }
    }
    words.insert(words.end(), args.begin() + static_cast<std::ptrdiff_t>(i), args.end());
    return words;
}

} // namespace

const std::string* Invocation::Value(std::string_view option) const {
    const auto it = values.find(option);
    return it == values.end() ? nullptr : &it->second;
}

std::optional<Invocation> ParseArgs(std::string_view command, const std::vector<std::string>& args,
                                    const std::vector<std::string_view>& valueOptions,
                                    std::string& error) {
    const std::string cmd(command);
    Invocation call;
    CLI::App app;
    // The help texts are the tool's own; CLI11 leaves "-h", "--help", positionals
    // and unknown options in its remaining words, in order, for the loop below.
    app.set_help_flag();
    app.allow_extras();
    for (const std::string_view option : valueOptions) {
        const std::string name(option);
        app.add_option(name,
                       [&call, name](const CLI::results_t& results) {
                           if (!call.values.emplace(name, results.front()).second)
                               throw RepeatedOption{name};
                           return true;
                       })
            ->trigger_on_parse();
    }

    std::optional<std::string> stop; // the problem where CLI11 stopped, if it stopped
    std::vector<std::string> words = SplitEmptyValues(args, valueOptions);
    std::reverse(words.begin(), words.end()); // CLI11 takes the words last first
    try {
        app.parse(words);
    } catch (const RepeatedOption& repeated) {
        stop = Message(IDS_CLI_ERR_REPEATED_OPTION, cmd, repeated.name);
    } catch (const CLI::ArgumentMismatch&) {
        // Values are taken whatever they look like, so only a last word can lack one.
        stop = Message(IDS_CLI_ERR_MISSING_VALUE, cmd, args.back());
    }

    // The remaining words stand before the stop, so an unknown option among them comes first.
    bool optionsEnded = false;
    for (std::string& word : app.remaining()) {
        if (!optionsEnded && word == "--") {
            optionsEnded = true;
        } else if (optionsEnded || word.size() < 2 || word[0] != '-') {
            call.positionals.push_back(std::move(word)); // a lone "-" is conventionally stdin
        } else if (word == "-h" || word == "--help") {
            call.help = true;
        } else {
            error = Message(IDS_CLI_ERR_UNKNOWN_OPTION, cmd, word.substr(0, word.find('=')));
            return std::nullopt;
        }
    }
    if (stop) {
        error = std::move(*stop);
        return std::nullopt;
    }
    return call;
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

std::optional<uint64_t> ParseSeed(std::string_view text) {
    uint64_t seed = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, seed);
    if (text.empty() || error != std::errc() || stop != end)
        return std::nullopt;
    return seed;
}

} // namespace cli
