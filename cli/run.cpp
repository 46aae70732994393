// `canal run`: simulate a circuit with one analysis and write the results.
#include "cli/run.h"

#include "analyses/core/analysis_proxy.h"
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

CircuitRun::CircuitRun(std::ostream& err, const std::string& outDir, int jobs)
    : status_(err, StatusLine::IsTerminal(err)), frontEnd_(&status_),
      distributor_(
          MakeRunDistributor(jobs, &host::NgSpiceSession::Get(), [this] { return Interrupted(); })),
      engine_(std::make_unique<host::NgSpiceEngine>(host::NgSpiceSession::Get())),
      analyses_(std::make_unique<Analyses>(engine_.get())) {
    engine_->SetGuiFE(&frontEnd_);
    engine_->SetRunDistributor(distributor_.get());
    engine_->SetStopFlag(&interrupt_.Flag());
    engine_->SetOutputFolder(CString(outDir));
}

bool CircuitRun::Load(const std::string& circuit, std::string& error) {
    return engine_->LoadCircuitFile(circuit, error);
}

report::Section CircuitRun::Simulate(const Analyses::Analysis& analysis, Analyses* collection) {
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
    host::RunResult result =
        engine_->Run(section.script, collection ? collection : analyses_.get(), options);
    if (collection)
        collection->SetAsimEng(nullptr); // the set outlives this run's engine
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

namespace {

// Whether the analysis can run as set: CanAccept, then CanSimulate (a compound analysis's own
// test); the reason on `err`, named by `title`.
bool CheckRunnable(Analyses::Analysis& analysis, const std::string& title, bool saveGiven,
                   std::ostream& err) {
    if (!analysis.CanAccept()) {
        ReportError(err,
                    CString::Formatted(GetResourceText(IDS_RUN_ERR_CANNOT_ACCEPT), title.c_str(),
                                       analysis.ExplainWhyCannotAccept().c_str())
                        .view());
        return false;
    }
    const std::string cannot = IsCompoundAnalysis(analysis) ? CompoundCannotSimulate(analysis)
                               : analysis.CanSimulate()     ? std::string()
                                                        : analysis.ExplainWhyCannotSimulate().str();
    if (cannot.empty())
        return true;
    ReportError(err, CString::Formatted(GetResourceText(IDS_RUN_ERR_CANNOT_SIMULATE), title.c_str(),
                                        cannot.c_str())
                         .view());
    if (!saveGiven && analysis.GetType() != Analyses::AnalysisType::NoiseFigure)
        ReportError(err, GetResourceText(IDS_RUN_HINT_SAVE));
    return false;
}

// Reports the failure of one simulated section on `err`.
void ReportSection(const report::Section& section, bool interrupted, std::ostream& err) {
    if (interrupted)
        ReportError(
            err,
            CString::Formatted(GetResourceText(IDS_RUN_STOPPED), section.title.c_str()).view());
    else if (!section.ok)
        ReportError(err, CString::Formatted(GetResourceText(IDS_RUN_ERR_FAILED),
                                            section.title.c_str(), section.error.c_str())
                             .view());
}

// Loads the circuit; when ngspice rejects it, writes a report of `analyses` that says so.
bool LoadOrReport(CircuitRun& run, const std::string& circuit,
                  const std::vector<const Analyses::Analysis*>& analyses, report::Report& result,
                  const std::string& dir, std::ostream& out, std::ostream& err) {
    std::string loadError;
    if (run.Load(circuit, loadError))
        return true;
    ReportError(err, CString::Formatted(GetResourceText(IDS_RUN_ERR_LOAD), circuit.c_str(),
                                        loadError.c_str())
                         .view());
    for (const Analyses::Analysis* analysis : analyses)
        result.sections.push_back(FailedSection(*analysis, loadError));
    WriteAndSummarize(result, dir, out, err);
    return false;
}

// `canal run CIRCUIT ANALYSES --settings FILE`: every selected entry of the stored run list,
// in order, one section each. Every entry is checked before the first is simulated.
int RunAnalysisSet(const Invocation& call, const std::string& dir, int jobs, std::ostream& out,
                   std::ostream& err) {
    const std::string& circuit = call.positionals[0];
    const std::string* settingsPath = call.Value("--settings");
    if (!settingsPath) {
        ReportError(err, GetResourceText(IDS_RUN_ERR_SET_NO_SETTINGS));
        return ExitUsage;
    }
    if (call.Value("--save")) {
        ReportError(err, GetResourceText(IDS_RUN_ERR_SET_SAVE));
        return ExitUsage;
    }
    int status = ExitUsage;
    const std::optional<Settings> settings =
        LoadSettings(call.positionals[1], settingsPath, err, status);
    if (!settings)
        return status;
    Analyses& set = *settings->set;

    std::vector<Analyses::Analysis*> entries;
    set.GetAnalysisList().ForEach([&](SelectableAnalysisProxy& entry) {
        if (entry.selected && !entry.proxy.IsEmpty())
            entries.push_back(entry.proxy.GetAnalysisPtr());
    });
    if (entries.empty()) {
        ReportError(
            err, CString::Formatted(GetResourceText(IDS_RUN_ERR_SET_EMPTY), settingsPath->c_str())
                     .view());
        return ExitUsage;
    }
    const auto title = [&](size_t n) {
        return CString::Formatted(GetResourceText(IDS_RUN_SET_ENTRY), static_cast<unsigned>(n + 1),
                                  entries[n]->GetAnalysisReadableName().c_str())
            .str();
    };
    bool runnable = true;
    for (size_t n = 0; n < entries.size(); ++n)
        runnable = CheckRunnable(*entries[n], title(n), false, err) && runnable;
    if (!runnable)
        return ExitFailure;

    report::Report result;
    result.title = std::filesystem::path(circuit).filename().string() + " - " +
                   Analyses::s_GetPropertyLabel().str();
    result.circuit = circuit;
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    CircuitRun run(err, dir, jobs);
    if (!LoadOrReport(run, circuit, {entries.begin(), entries.end()}, result, dir, out, err))
        return ExitFailure;
    status = ExitOk;
    for (Analyses::Analysis* entry : entries)
        if (IsCompoundAnalysis(*entry))
            status = std::max(status, CheckCompoundAnalysis(run.Engine(), *entry, circuit, err));
    if (status != ExitOk)
        return status;

    bool ok = true;
    for (Analyses::Analysis* entry : entries) {
        if (run.Interrupted())
            break;
        result.sections.push_back(run.Simulate(*entry, &set));
        ReportSection(result.sections.back(), run.Interrupted(), err);
        ok = ok && result.sections.back().ok;
    }
    const bool written = WriteAndSummarize(result, dir, out, err);
    if (run.Interrupted())
        return ExitInterrupted;
    return ok && written ? ExitOk : ExitFailure;
}

} // namespace

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
    // The seed sequence starts afresh before anything is built, from the given seed or the
    // fixed default, so that the seed a result names repeats the run exactly.
    uint64_t seed = Random::kDefaultMasterSeed;
    int jobs = DefaultJobs();
    if (!ReadOption(call, "--seed", ParseSeed, IDS_RUN_ERR_BAD_SEED, seed, err) ||
        !ReadOption(call, "--jobs", ParseJobs, IDS_RUN_ERR_BAD_JOBS, jobs, err))
        return ExitUsage;
    Random::SetMasterSeed(seed);
    if (nickname == Analyses::s_GetPropertyLabel().view())
        return RunAnalysisSet(call, dir, jobs, out, err);

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
    if (!CheckRunnable(*analysis, title, call.Value("--save") != nullptr, err))
        return ExitFailure;

    report::Report result;
    result.title = std::filesystem::path(circuit).filename().string() + " - " + title;
    result.circuit = circuit;
    // Trace width writes its diagnostic files into the folder while it runs.
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    CircuitRun run(err, dir, jobs);
    // A compound analysis reads the values of the elements its settings name, and no others.
    if (compound)
        run.Engine().ReadValuesOnlyFor(analysis->toPropertyItem().GetPropertyList());
    if (!LoadOrReport(run, circuit, {analysis.get()}, result, dir, out, err))
        return ExitFailure;
    if (compound) {
        // Nothing is simulated for settings that do not fit the circuit.
        status = CheckCompoundAnalysis(run.Engine(), *analysis, circuit, err);
        if (status != ExitOk)
            return status;
    }

    result.sections.push_back(run.Simulate(*analysis));
    const report::Section& section = result.sections.back();
    ReportSection(section, run.Interrupted(), err);
    const bool written = WriteAndSummarize(result, dir, out, err);
    if (run.Interrupted())
        return ExitInterrupted;
    return section.ok && written ? ExitOk : ExitFailure;
}

} // namespace cli
