// The tool's command table and dispatcher, and the commands that print an analysis:
// script, describe, props.
#include "cli/commands.h"

#include "analyses/core/analysis_proxy.h"
#include "cli/args.h"
#include "cli/members.h"
#include "cli/plan.h"
#include "cli/run.h"
#include "cli/settings.h"
#include "platform/resources.h"
#include "platform/treelog.h"

#include <algorithm>
#include <exception>
#include <ostream>

#ifndef CANAL_VERSION
#define CANAL_VERSION "0.1.0"
#endif

namespace cli {

namespace {

// What "COMMAND --help" prints: its help text, with the NICKNAME and --settings
// paragraphs filled in where it has them.
std::string HelpText(const Command& command) {
    if (command.nicknames == Command::Nicknames::None)
        return GetResourceText(command.help);
    const bool withPostProc = command.nicknames == Command::Nicknames::AnalysesAndPostProc;
    const CString nicknames = CString::Formatted(GetResourceText(IDS_CLI_HELP_NICKNAME),
                                                 NicknameBlock(20, withPostProc).c_str());
    return CString::Formatted(GetResourceText(command.help), nicknames.c_str(),
                              GetResourceText(IDS_CLI_HELP_SETTINGS))
        .str();
}

// The mask (or `defaultMask`) and the settings that script, describe and props
// print; nothing, with the message on `err` and `status` set, when either is bad.
std::optional<Settings> LoadForPrinting(const char* command, const Invocation& call,
                                        long defaultMask, long& mask, std::ostream& err,
                                        int& status) {
    status = ExitUsage;
    mask = defaultMask;
    if (const std::string* maskText = call.Value("--mask")) {
        const std::optional<long> parsed = ParseMask(*maskText);
        if (!parsed) {
            ReportError(err, CString::Formatted(GetResourceText(IDS_CLI_ERR_BAD_MASK), command,
                                                maskText->c_str())
                                 .view());
            return std::nullopt;
        }
        mask = *parsed;
    }
    return LoadSettings(call.positionals[0], call.Value("--settings"), err, status);
}

int PrintScript(const Invocation& call, std::ostream& out, std::ostream& err) {
    int status = ExitUsage;
    long mask = 0;
    const std::optional<Settings> settings = LoadForPrinting("script", call, -1, mask, err, status);
    if (!settings)
        return status;
    if (settings->set) {
        // One line per entry of the run list that is selected, in run order.
        settings->set->GetAnalysisList().ForEach([&](const SelectableAnalysisProxy& entry) {
            if (entry.selected)
                out << entry.proxy.toNutmegCommand(mask).str() << '\n';
        });
        return ExitOk;
    }
    const CString script = settings->analysis ? settings->analysis->toNutmegCommand(mask)
                                              : settings->postProcess->toNutmegCommand();
    out << script.str() << '\n';
    return ExitOk;
}

int PrintDescription(const Invocation& call, std::ostream& out, std::ostream& err) {
    int status = ExitUsage;
    long mask = 0;
    const std::optional<Settings> settings = LoadForPrinting(
        "describe", call, ~static_cast<long>(Analyses::Analysis::TT_NO_HEADING), mask, err, status);
    if (!settings)
        return status;
    CTreeCtrl tree;
    if (settings->analysis) {
        settings->analysis->toReadableText(tree, nullptr, mask, nullptr);
    } else if (settings->set && !call.Value("--mask")) {
        settings->set->toReadableText(tree, nullptr);
    } else if (settings->set) {
        // The set writes its entries with a fixed mask; a given one applies to each entry.
        CTreeLog log("", "", &tree);
        settings->set->GetAnalysisList().ForEach([&](const SelectableAnalysisProxy& entry) {
            entry.proxy.toReadableText(log, nullptr, mask, nullptr);
        });
    } else {
        CTreeLog log("", "", &tree);
        settings->postProcess->toReadableText(log, nullptr);
    }
    out << tree.ToText();
    return ExitOk;
}

int PrintProps(const Invocation& call, std::ostream& out, std::ostream& err) {
    int status = ExitUsage;
    long mask = 0;
    const std::optional<Settings> settings = LoadForPrinting("props", call, 0, mask, err, status);
    if (!settings)
        return status;
    out << settings->toPropertyItem().GetField().str() << '\n';
    return ExitOk;
}

// Every command of the tool, in the order the tool's help lists them.
const std::vector<Command>& Commands() {
    using enum Command::Nicknames;
    // One row per command reads best as a table.
    // clang-format off
    static const std::vector<Command> commands = {
        {"script",   {"NICKNAME"},            {"--settings", "--mask"},
         IDS_CLI_SUMMARY_SCRIPT,   IDS_CLI_HELP_SCRIPT,   AnalysesAndPostProc, &PrintScript},
        {"describe", {"NICKNAME"},            {"--settings", "--mask"},
         IDS_CLI_SUMMARY_DESCRIBE, IDS_CLI_HELP_DESCRIBE, AnalysesAndPostProc, &PrintDescription},
        {"props",    {"NICKNAME"},            {"--settings"},
         IDS_CLI_SUMMARY_PROPS,    IDS_CLI_HELP_PROPS,    AnalysesAndPostProc, &PrintProps},
        {"run",      {"CIRCUIT", "NICKNAME"}, {"--settings", "--save", "--out", "--seed", "--jobs"},
         IDS_CLI_SUMMARY_RUN,      IDS_RUN_HELP,          Analyses,            &RunAnalysis},
        {"plan",     {"NICKNAME"},            {"--settings", "--seed"},
         IDS_CLI_SUMMARY_PLAN,     IDS_PLAN_HELP,         Analyses,            &PlanAnalysis},
        {"members",  {"CIRCUIT"},             {"--only"},
         IDS_CLI_SUMMARY_MEMBERS,  IDS_MEMBERS_HELP,      None,                &ListMembers},
        {"demo",     {},                      {"--out"},
         IDS_CLI_SUMMARY_DEMO,     IDS_DEMO_HELP,         None,                &RunDemo},
    };
    // clang-format on
    return commands;
}

// One line per command: its words padded to 23 columns, then its summary.
std::string CommandBlock() {
    std::string block;
    for (const Command& command : Commands()) {
        std::string words(command.name);
        for (const std::string_view positional : command.positionals)
            (words += ' ') += positional;
        words.resize(std::max(words.size() + 2, size_t{23}), ' ');
        block += "  " + words + GetResourceText(command.summary) + "\n";
    }
    return block;
}

void PrintToolHelp(std::ostream& out) {
    out << CString::Formatted(GetResourceText(IDS_CLI_HELP_TOOL), CommandBlock().c_str(),
                              NicknameBlock(2, true).c_str())
               .str();
}

// Parses the words, answers --help, checks the positionals, then hands over.
int Invoke(const Command& command, const std::vector<std::string>& args, std::ostream& out,
           std::ostream& err) {
    const std::string name(command.name);
    std::string error;
    const std::optional<Invocation> call = ParseArgs(name, args, command.options, error);
    if (!call) {
        ReportError(err, error);
        return ExitUsage;
    }
    if (call->help) {
        out << HelpText(command);
        return ExitOk;
    }
    const size_t given = call->positionals.size(), wanted = command.positionals.size();
    if (given < wanted) {
        std::string missing;
        for (size_t i = given; i < wanted; ++i)
            missing += (missing.empty() ? "" : " and ") + std::string(command.positionals[i]);
        ReportError(err, CString::Formatted(GetResourceText(IDS_CLI_ERR_MISSING_ARGUMENT),
                                            name.c_str(), missing.c_str(), name.c_str())
                             .view());
        return ExitUsage;
    }
    if (given > wanted) {
        ReportError(err, CString::Formatted(GetResourceText(IDS_CLI_ERR_EXTRA_ARGUMENT),
                                            name.c_str(), call->positionals[wanted].c_str())
                             .view());
        return ExitUsage;
    }
    return command.handler(*call, out, err);
}

} // namespace

int Main(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    if (args.empty()) {
        PrintToolHelp(err);
        return ExitUsage;
    }
    const std::string& word = args.front();
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    // "canal help script" reads better than "canal script --help"; both work.
    if (word == "help" && !rest.empty() && rest.front() != "help")
        return Main({rest.front(), "--help"}, out, err);
    if (word == "-h" || word == "--help" || word == "help") {
        PrintToolHelp(out);
        return ExitOk;
    }
    if (word == "--version") {
        out << CString::Formatted(GetResourceText(IDS_CLI_VERSION), CANAL_VERSION).str() << '\n';
        return ExitOk;
    }
    return CallCommand(word, rest, out, err);
}

int CallCommand(std::string_view name, const std::vector<std::string>& args, std::ostream& out,
                std::ostream& err) {
    const std::vector<Command>& commands = Commands();
    const auto it = std::find_if(commands.begin(), commands.end(),
                                 [&](const Command& command) { return command.name == name; });
    if (it != commands.end())
        return Invoke(*it, args, out, err);
    ReportError(err, CString::Formatted(GetResourceText(IDS_CLI_ERR_UNKNOWN_COMMAND),
                                        std::string(name).c_str())
                         .view());
    return ExitUsage;
}

int RunCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    return CallCommand("run", args, out, err);
}

int CatchAll(const std::function<int()>& body, std::ostream& err) noexcept {
    try {
        try {
            return body();
        } catch (const std::exception& e) {
            ReportError(err,
                        CString::Formatted(GetResourceText(IDS_CLI_ERR_INTERNAL), e.what()).view());
        } catch (...) {
            ReportError(err, GetResourceText(IDS_CLI_ERR_INTERNAL_UNKNOWN));
        }
    } catch (...) {
        // Even the message failed (no memory left); the status still tells.
    }
    return ExitFailure;
}

} // namespace cli
