// `canal demo`: the bundled amplifier's AC, transient, temperature sweep and Monte Carlo
// analyses, one report.
#include "cli/commands.h"
#include "cli/compound_run.h"
#include "cli/run.h"
#include "cli/settings.h"
#include "platform/resources.h"

#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <system_error>

namespace cli {

namespace {

namespace fs = std::filesystem;

const char* const kDemoCircuit = "amplifier.cir";

struct DemoAnalysis {
    const char* nickname;
    const char* settings; ///< file beside the circuit
    const char* save;     ///< output variables to plot; null: the settings name them
};

const DemoAnalysis kDemoAnalyses[] = {
    {"AC", "amplifier.ac.prop", "v(out) v(in)"},
    {"TRAN", "amplifier.tran.prop", "v(out) v(in) v(coll)"},
    {"TSWEEP", "amplifier.tsweep.prop", nullptr},
    {"MONTE", "amplifier.monte.prop", nullptr},
};

/// The examples folder: $CANAL_EXAMPLES when set, else the installed one
/// (PREFIX/share/canal/examples for PREFIX/bin/canal), else an "examples" folder
/// beside the executable or above it (the build tree puts the tool two levels
/// below the source folder), else one in the working folder.
fs::path FindExamples(std::string& searched) {
    std::vector<fs::path> candidates;
    if (const char* env = std::getenv("CANAL_EXAMPLES"); env && *env)
        candidates.emplace_back(env);
    std::error_code ec;
    fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    if (!ec) {
        candidates.push_back(exe.parent_path().parent_path() / "share" / "canal" / "examples");
        fs::path dir = exe.parent_path();
        for (int up = 0; up < 5 && !dir.empty(); ++up) {
            candidates.push_back(dir / "examples");
            if (dir == dir.parent_path())
                break;
            dir = dir.parent_path();
        }
    }
    candidates.push_back(fs::current_path(ec) / "examples");
    for (const fs::path& c : candidates) {
        if (fs::is_regular_file(c / kDemoCircuit, ec))
            return c;
        if (!searched.empty())
            searched += ", ";
        searched += c.string();
    }
    return {};
}

} // namespace

int RunDemo(const Invocation& call, std::ostream& out, std::ostream& err) {
    const std::string* outOption = call.Value("--out");
    const std::string dir = outOption ? *outOption : std::string("canal-out");

    std::string searched;
    const fs::path examples = FindExamples(searched);
    if (examples.empty()) {
        ReportError(
            err,
            CString::Formatted(GetResourceText(IDS_DEMO_ERR_NO_EXAMPLES), searched.c_str()).view());
        return ExitFailure;
    }
    const std::string circuit = (examples / kDemoCircuit).lexically_normal().string();

    report::Report result;
    result.title = GetResourceText(IDS_DEMO_TITLE);
    result.circuit = circuit;
    std::vector<std::unique_ptr<Analyses::Analysis>> analyses;
    for (const DemoAnalysis& demo : kDemoAnalyses) {
        int status = ExitUsage;
        const std::string settings = (examples / demo.settings).string();
        std::unique_ptr<Analyses::Analysis> analysis =
            LoadAnalysis(demo.nickname, &settings, err, status);
        if (!analysis)
            return ExitFailure; // the bundled settings are broken: nothing sensible to show
        if (demo.save)
            analysis->GetAnalysisNodes().SetNodesString(CString(demo.save));
        analyses.push_back(std::move(analysis));
    }

    std::error_code created;
    fs::create_directories(dir, created);
    CircuitRun run(err, dir);
    std::string loadError;
    bool ok = run.Load(circuit, loadError);
    if (!ok)
        ReportError(err, CString::Formatted(GetResourceText(IDS_RUN_ERR_LOAD), circuit.c_str(),
                                            loadError.c_str())
                             .view());
    for (const auto& analysis : analyses) {
        const std::string title = analysis->GetAnalysisReadableName().str();
        if (!ok) {
            result.sections.push_back(FailedSection(*analysis, loadError));
            continue;
        }
        if (run.Interrupted())
            break;
        if (IsCompoundAnalysis(*analysis) &&
            CheckCompoundAnalysis(run.Engine(), *analysis, circuit, err) != ExitOk) {
            result.sections.push_back(FailedSection(*analysis, std::string()));
            ok = false;
            continue;
        }
        out << CString::Formatted(GetResourceText(IDS_DEMO_RUNNING), title.c_str(), circuit.c_str())
                   .str()
            << '\n';
        result.sections.push_back(run.Simulate(*analysis));
        if (!result.sections.back().ok) {
            ReportError(err, CString::Formatted(GetResourceText(IDS_RUN_ERR_FAILED), title.c_str(),
                                                result.sections.back().error.c_str())
                                 .view());
            ok = false;
        }
    }
    const bool written = WriteAndSummarize(result, dir, out, err);
    std::error_code ec;
    const fs::path html = fs::absolute(fs::path(dir) / "report.html", ec);
    if (written)
        out << CString::Formatted(GetResourceText(IDS_DEMO_OPEN), html.string().c_str()).str()
            << '\n';
    if (run.Interrupted())
        return ExitInterrupted;
    return ok && written ? ExitOk : ExitFailure;
}

} // namespace cli
