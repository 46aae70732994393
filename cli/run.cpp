// `canal run`: simulate a circuit with one analysis and write the results.
#include "cli/run.h"

#include "cli/commands.h"
#include "cli/settings.h"
#include "host/ngspice/script_runner.h"
#include "host/ngspice/session.h"
#include "platform/resources.h"
#include "platform/treelog.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <unistd.h>

namespace cli {

namespace {

report::Section BaseSection(const Analyses::Analysis& analysis) {
    report::Section section;
    section.nickname = analysis.GetAnalysisNickname().str();
    section.title = analysis.GetAnalysisReadableName().str();
    CTreeCtrl tree;
    analysis.toReadableText(tree, nullptr, ~static_cast<long>(Analyses::Analysis::TT_NO_HEADING),
                            nullptr);
    section.settingsText = tree.ToText();
    section.script = analysis.toNutmegCommand(-1).str();
    return section;
}

size_t PagePoints(const report::Page& page) {
    size_t points = page.x.size();
    for (const report::Trace& t : page.traces)
        points = std::max(points, t.re.size());
    return points;
}

} // namespace

StatusLine::StatusLine(std::ostream& err, bool terminal)
    : err_(err), terminal_(terminal), start_(std::chrono::steady_clock::now()) {
}

StatusLine::~StatusLine() {
    Clear();
}

bool StatusLine::IsTerminal(const std::ostream& err) {
    return &err == &std::cerr && ::isatty(STDERR_FILENO) == 1;
}

void StatusLine::Update(const std::string& text) {
    if (!terminal_ && std::chrono::steady_clock::now() - start_ < std::chrono::milliseconds(500))
        return;
    std::string line = text.substr(0, 78);
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::string pad(shown_ > line.size() ? shown_ - line.size() : 0, ' ');
    err_ << '\r' << line << pad << std::flush;
    shown_ = line.size();
}

void StatusLine::Clear() {
    if (shown_ == 0)
        return;
    err_ << '\r' << std::string(shown_, ' ') << '\r' << std::flush;
    shown_ = 0;
}

report::Section SimulateAnalysis(host::ScriptRunner& runner, const Analyses::Analysis& analysis,
                                 StatusLine* status) {
    report::Section section = BaseSection(analysis);
    host::RunOptions options;
    if (status) {
        options.status = [status](const std::string& text) { status->Update(text); };
        status->Update(GetResourceText(IDS_HOST_SIMULATING));
    }
    host::RunResult result = runner.Run(section.script, options);
    if (status)
        status->Clear();
    section.pages = std::move(result.pages);
    section.log = std::move(result.log);
    section.notes = std::move(result.notes);
    section.ok = result.ok;
    section.error = std::move(result.error);
    return section;
}

report::Section FailedSection(const Analyses::Analysis& analysis, const std::string& error) {
    report::Section section = BaseSection(analysis);
    section.ok = false;
    section.error = error;
    return section;
}

const char* UnreadableReason(const std::string& path) {
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec))
        return std::strerror(EISDIR);
    errno = 0;
    if (!std::ifstream(path))
        return std::strerror(errno ? errno : ENOENT);
    return nullptr;
}

bool WriteAndSummarize(const report::Report& report, const std::string& dir, std::ostream& out,
                       std::ostream& err) {
    for (const report::Section& section : report.sections) {
        size_t traces = 0, points = 0;
        for (const report::Page& page : section.pages) {
            traces += page.traces.size();
            points += PagePoints(page);
        }
        out << CString::Formatted(GetResourceText(IDS_RUN_SUMMARY), section.title.c_str(),
                                  static_cast<unsigned>(section.pages.size()),
                                  static_cast<unsigned>(traces), static_cast<unsigned>(points))
                   .str()
            << '\n';
    }
    const report::WriteResult written = report::WriteReport(report, dir);
    for (const std::string& failure : written.errors)
        ReportError(err,
                    CString::Formatted(GetResourceText(IDS_RUN_ERR_WRITE), failure.c_str()).view());
    out << CString::Formatted(GetResourceText(IDS_RUN_WROTE),
                              static_cast<unsigned>(written.files.size()), dir.c_str())
               .str()
        << '\n';
    const std::filesystem::path html = std::filesystem::path(dir) / "report.html";
    if (std::find(written.files.begin(), written.files.end(), html.string()) != written.files.end())
        out << CString::Formatted(GetResourceText(IDS_RUN_REPORT), html.string().c_str()).str()
            << '\n';
    return written.ok();
}

int RunAnalysis(const Invocation& call, std::ostream& out, std::ostream& err) {
    const std::string& circuit = call.positionals[0];
    const std::string& nickname = call.positionals[1];
    const std::string* outOption = call.Value("--out");
    const std::string dir = outOption ? *outOption : std::string("canal-out");

    if (const char* reason = UnreadableReason(circuit)) {
        ReportError(
            err, CString::Formatted(GetResourceText(IDS_RUN_ERR_CIRCUIT), circuit.c_str(), reason)
                     .view());
        return ExitUsage;
    }

    int status = ExitUsage;
    std::unique_ptr<Analyses::Analysis> analysis =
        LoadAnalysis(nickname, call.Value("--settings"), err, status);
    if (!analysis)
        return status;
    if (const std::string* save = call.Value("--save"))
        analysis->GetAnalysisNodes().SetNodesString(CString(*save));

    const std::string title = analysis->GetAnalysisReadableName().str();
    if (!analysis->CanAccept()) {
        ReportError(err,
                    CString::Formatted(GetResourceText(IDS_RUN_ERR_CANNOT_ACCEPT), title.c_str(),
                                       analysis->ExplainWhyCannotAccept().c_str())
                        .view());
        return ExitFailure;
    }
    if (!analysis->CanSimulate()) {
        ReportError(err,
                    CString::Formatted(GetResourceText(IDS_RUN_ERR_CANNOT_SIMULATE), title.c_str(),
                                       analysis->ExplainWhyCannotSimulate().c_str())
                        .view());
        if (!call.Value("--save"))
            ReportError(err, GetResourceText(IDS_RUN_HINT_SAVE));
        return ExitFailure;
    }

    report::Report result;
    result.title = std::filesystem::path(circuit).filename().string() + " - " + title;
    result.circuit = circuit;
    host::ScriptRunner runner(host::NgSpiceSession::Get());
    std::string loadError;
    if (!runner.LoadCircuitFile(circuit, loadError)) {
        ReportError(err, CString::Formatted(GetResourceText(IDS_RUN_ERR_LOAD), circuit.c_str(),
                                            loadError.c_str())
                             .view());
        result.sections.push_back(FailedSection(*analysis, loadError));
        WriteAndSummarize(result, dir, out, err);
        return ExitFailure;
    }

    StatusLine statusLine(err, StatusLine::IsTerminal(err));
    result.sections.push_back(SimulateAnalysis(runner, *analysis, &statusLine));
    const report::Section& section = result.sections.back();
    if (!section.ok)
        ReportError(err, CString::Formatted(GetResourceText(IDS_RUN_ERR_FAILED), title.c_str(),
                                            section.error.c_str())
                             .view());
    const bool written = WriteAndSummarize(result, dir, out, err);
    return section.ok && written ? ExitOk : ExitFailure;
}

} // namespace cli
