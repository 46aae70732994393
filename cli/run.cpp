// `canal run`: simulate a circuit with one analysis and write the results.
#include "cli/run.h"

#include "cli/commands.h"
#include "cli/compound_run.h"
#include "cli/settings.h"
#include "host/ngspice/session.h"
#include "platform/random.h"
#include "platform/resources.h"
#include "platform/treelog.h"
#include "report/grapher_pages.h"

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

CircuitRun::CircuitRun(std::ostream& err, const std::string& outDir)
    : status_(err, StatusLine::IsTerminal(err)), frontEnd_(&status_),
      engine_(std::make_unique<host::NgSpiceEngine>(host::NgSpiceSession::Get())),
      analyses_(std::make_unique<Analyses>(engine_.get())) {
    engine_->SetGuiFE(&frontEnd_);
    engine_->SetStopFlag(&interrupt_.Flag());
    engine_->SetOutputFolder(CString(outDir));
}

bool CircuitRun::Load(const std::string& circuit, std::string& error) {
    return engine_->LoadCircuitFile(circuit, error);
}

report::Section CircuitRun::Simulate(const Analyses::Analysis& analysis) {
    report::Section section = BaseSection(analysis);
    const bool compound = IsCompoundAnalysis(analysis);
    host::RunOptions options;
    options.status = [this](const std::string& text) { status_.Update(text); };
    status_.Update(GetResourceText(IDS_HOST_SIMULATING));
    engine_->ClearStop();
    (void)engine_->TakeGrapherPages();
    const size_t messages = engine_->Messages().size();
    if (compound) {
        engine_->SetStatusBarAnalysisType(AT_NONE);
        engine_->SetStatusBarAnalysisText(analysis.GetAnalysisNickname());
        engine_->StartUpdateStatusBarAnalysisData();
    }
    host::RunResult result = engine_->Run(section.script, analyses_.get(), options);
    if (compound)
        engine_->EndUpdateStatusBarAnalysisData();
    status_.Clear();

    section.log = std::move(result.log);
    section.notes = std::move(result.notes);
    for (size_t m = messages; m < engine_->Messages().size(); ++m)
        section.notes.push_back(engine_->Messages()[m]);
    section.ok = result.ok;
    section.error = std::move(result.error);
    if (!compound) {
        section.pages = std::move(result.pages);
        return section;
    }
    const std::vector<CGrapherPage> grapher = engine_->TakeGrapherPages();
    section.pages = report::PagesFromGrapher(grapher);
    // The script's own page holds no results of a compound analysis, only what ngspice printed.
    for (report::Page& page : result.pages) {
        if (!page.traces.empty())
            section.pages.push_back(std::move(page));
        else
            section.log.insert(section.log.end(), page.log.begin(), page.log.end());
    }
    AddCompoundResults(section, analysis, grapher);
    if (Interrupted()) {
        section.ok = false;
        section.error = GetResourceText(IDS_RUN_ERR_STOPPED);
    }
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
    for (size_t s = 0; s < report.sections.size(); ++s) {
        const report::Section& section = report.sections[s];
        if (!section.summary.empty()) {
            // The result files first: they are what a compound analysis is run for.
            std::vector<std::string> names = report::SectionFileNames(report, s);
            std::stable_partition(names.begin(), names.end(), [&](const std::string& name) {
                return std::any_of(section.files.begin(), section.files.end(),
                                   [&](const report::ResultFile& f) {
                                       return name == report::SectionPrefix(report, s) + f.name;
                                   });
            });
            std::string line = section.summary;
            for (size_t n = 0; n < names.size(); ++n)
                line += (n ? ", " : "; ") + names[n];
            out << line << '\n';
            continue;
        }
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
    // The seed comes before the settings: every random stream built from here on starts from it.
    if (const std::string* text = call.Value("--seed")) {
        const std::optional<uint64_t> seed = ParseSeed(*text);
        if (!seed) {
            ReportError(
                err,
                CString::Formatted(GetResourceText(IDS_RUN_ERR_BAD_SEED), text->c_str()).view());
            return ExitUsage;
        }
        Random::SetMasterSeed(*seed);
    }

    int status = ExitUsage;
    std::unique_ptr<Analyses::Analysis> analysis =
        LoadAnalysis(nickname, call.Value("--settings"), err, status);
    if (!analysis)
        return status;
    const bool compound = IsCompoundAnalysis(*analysis);
    if (const std::string* save = call.Value("--save")) {
        if (!compound)
            analysis->GetAnalysisNodes().SetNodesString(CString(*save));
        else if (!ApplyCompoundSave(*analysis, *save, err))
            return ExitUsage;
    }

    const std::string title = analysis->GetAnalysisReadableName().str();
    if (!analysis->CanAccept()) {
        ReportError(err,
                    CString::Formatted(GetResourceText(IDS_RUN_ERR_CANNOT_ACCEPT), title.c_str(),
                                       analysis->ExplainWhyCannotAccept().c_str())
                        .view());
        return ExitFailure;
    }
    const std::string cannot = compound ? CompoundCannotSimulate(*analysis)
                               : analysis->CanSimulate()
                                   ? std::string()
                                   : analysis->ExplainWhyCannotSimulate().str();
    if (!cannot.empty()) {
        ReportError(err, CString::Formatted(GetResourceText(IDS_RUN_ERR_CANNOT_SIMULATE),
                                            title.c_str(), cannot.c_str())
                             .view());
        if (!call.Value("--save") && analysis->GetType() != Analyses::AnalysisType::NoiseFigure)
            ReportError(err, GetResourceText(IDS_RUN_HINT_SAVE));
        return ExitFailure;
    }

    report::Report result;
    result.title = std::filesystem::path(circuit).filename().string() + " - " + title;
    result.circuit = circuit;
    // Trace width writes its diagnostic files into the folder while it runs.
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    CircuitRun run(err, dir);
    std::string loadError;
    if (!run.Load(circuit, loadError)) {
        ReportError(err, CString::Formatted(GetResourceText(IDS_RUN_ERR_LOAD), circuit.c_str(),
                                            loadError.c_str())
                             .view());
        result.sections.push_back(FailedSection(*analysis, loadError));
        WriteAndSummarize(result, dir, out, err);
        return ExitFailure;
    }
    if (compound) {
        // Nothing is simulated for settings that do not fit the circuit.
        status = CheckCompoundAnalysis(run.Engine(), *analysis, circuit, err);
        if (status != ExitOk)
            return status;
    }

    result.sections.push_back(run.Simulate(*analysis));
    const report::Section& section = result.sections.back();
    if (run.Interrupted())
        ReportError(err,
                    CString::Formatted(GetResourceText(IDS_RUN_STOPPED), title.c_str()).view());
    else if (!section.ok)
        ReportError(err, CString::Formatted(GetResourceText(IDS_RUN_ERR_FAILED), title.c_str(),
                                            section.error.c_str())
                             .view());
    const bool written = WriteAndSummarize(result, dir, out, err);
    if (run.Interrupted())
        return ExitInterrupted;
    return section.ok && written ? ExitOk : ExitFailure;
}

} // namespace cli
