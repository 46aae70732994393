// The tool's dispatcher and the commands that print an analysis: script, describe, props.
#include "cli/commands.h"

#include "cli/args.h"
#include "cli/settings.h"
#include "platform/resources.h"
#include "platform/treelog.h"

#include <ostream>

#ifndef CANAL_VERSION
#define CANAL_VERSION "0.1.0"
#endif

namespace cli {

namespace {

// What script, describe and props share: NICKNAME, --settings and, where it
// applies, --mask.
struct PrintRequest {
    std::optional<Settings> settings;
    long mask = 0;
};

// Parses the command line, prints the help when asked (status ExitOk, nothing
// returned) and loads the settings.
std::optional<PrintRequest> PreparePrint(const char* command, ResourceId help, bool takesMask,
                                         long defaultMask, const std::vector<std::string>& args,
                                         std::ostream& out, std::ostream& err, int& status) {
    status = ExitUsage;
    std::vector<std::string_view> options{"--settings"};
    if (takesMask)
        options.push_back("--mask");
    std::string error;
    const std::optional<ParsedArgs> parsed = ParseArgs(command, args, options, error);
    if (!parsed) {
        ReportError(err, error);
        return std::nullopt;
    }
    if (parsed->help) {
        const CString nicknames = CString::Formatted(GetResourceText(IDS_CLI_HELP_NICKNAME),
                                                     NicknameBlock(20, true).c_str());
        out << CString::Formatted(GetResourceText(help), nicknames.c_str(),
                                  GetResourceText(IDS_CLI_HELP_SETTINGS))
                   .str();
        status = ExitOk;
        return std::nullopt;
    }
    if (parsed->positionals.empty()) {
        ReportError(err, CString::Formatted(GetResourceText(IDS_CLI_ERR_MISSING_ARGUMENT), command,
                                            "NICKNAME", command)
                             .view());
        return std::nullopt;
    }
    if (parsed->positionals.size() > 1) {
        ReportError(err, CString::Formatted(GetResourceText(IDS_CLI_ERR_EXTRA_ARGUMENT), command,
                                            parsed->positionals[1].c_str())
                             .view());
        return std::nullopt;
    }
    PrintRequest request;
    request.mask = defaultMask;
    if (const std::string* maskText = parsed->Value("--mask")) {
        const std::optional<long> mask = ParseMask(*maskText);
        if (!mask) {
            ReportError(err, CString::Formatted(GetResourceText(IDS_CLI_ERR_BAD_MASK), command,
                                                maskText->c_str())
                                 .view());
            return std::nullopt;
        }
        request.mask = *mask;
    }
    request.settings =
        LoadSettings(parsed->positionals[0], parsed->Value("--settings"), err, status);
    if (!request.settings)
        return std::nullopt;
    return request;
}

void PrintToolHelp(std::ostream& out) {
    out << CString::Formatted(GetResourceText(IDS_CLI_HELP_TOOL), NicknameBlock(2, true).c_str())
               .str();
}

} // namespace

int Main(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    if (args.empty()) {
        PrintToolHelp(err);
        return ExitUsage;
    }
    const std::string& command = args.front();
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    // "canal help script" reads better than "canal script --help"; both work.
    if (command == "help" && !rest.empty() && rest.front() != "help")
        return Main({rest.front(), "--help"}, out, err);
    if (command == "-h" || command == "--help" || command == "help") {
        PrintToolHelp(out);
        return ExitOk;
    }
    if (command == "--version") {
        out << CString::Formatted(GetResourceText(IDS_CLI_VERSION), CANAL_VERSION).str() << '\n';
        return ExitOk;
    }
    if (command == "script")
        return ScriptCommand(rest, out, err);
    if (command == "describe")
        return DescribeCommand(rest, out, err);
    if (command == "props")
        return PropsCommand(rest, out, err);
    if (command == "run")
        return RunCommand(rest, out, err);
    if (command == "demo")
        return DemoCommand(rest, out, err);
    ReportError(
        err,
        CString::Formatted(GetResourceText(IDS_CLI_ERR_UNKNOWN_COMMAND), command.c_str()).view());
    return ExitUsage;
}

int ScriptCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    int status = ExitUsage;
    const std::optional<PrintRequest> request =
        PreparePrint("script", IDS_CLI_HELP_SCRIPT, true, -1, args, out, err, status);
    if (!request)
        return status;
    const Settings& settings = *request->settings;
    const CString script = settings.analysis ? settings.analysis->toNutmegCommand(request->mask)
                                             : settings.postProcess->toNutmegCommand();
    out << script.str() << '\n';
    return ExitOk;
}

int DescribeCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    int status = ExitUsage;
    const std::optional<PrintRequest> request =
        PreparePrint("describe", IDS_CLI_HELP_DESCRIBE, true,
                     ~static_cast<long>(Analyses::Analysis::TT_NO_HEADING), args, out, err, status);
    if (!request)
        return status;
    const Settings& settings = *request->settings;
    CTreeCtrl tree;
    if (settings.analysis) {
        settings.analysis->toReadableText(tree, nullptr, request->mask, nullptr);
    } else {
        CTreeLog log("", "", &tree);
        settings.postProcess->toReadableText(log, nullptr);
    }
    out << tree.ToText();
    return ExitOk;
}

int PropsCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    int status = ExitUsage;
    const std::optional<PrintRequest> request =
        PreparePrint("props", IDS_CLI_HELP_PROPS, false, 0, args, out, err, status);
    if (!request)
        return status;
    out << request->settings->toPropertyItem().GetField().str() << '\n';
    return ExitOk;
}

} // namespace cli
