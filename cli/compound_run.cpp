// Compound analyses in `canal run`: output variables, checks against the circuit, results.
#include "cli/compound_run.h"

#include "analyses/compound/noise_figure.h"
#include "analyses/compound/psweep.h"
#include "analyses/compound/wcmc_analysis.h"
#include "cli/commands.h"
#include "cli/settings.h"
#include "host/ngspice/dialect.h"
#include "host/ngspice/engine.h"
#include "platform/resources.h"
#include "report/csv.h"
#include "report/numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <ostream>

namespace cli {

namespace {

using Kind = Analyses::AnalysisType;

bool IsWcMc(Kind kind) {
    return kind == Kind::Monte || kind == Kind::Worst;
}

const WcMcAnalysis* AsWcMc(const Analyses::Analysis& analysis) {
    return dynamic_cast<const WcMcAnalysis*>(&analysis);
}

std::string Formatted(unsigned id, const char* a, const char* b = "", const char* c = "",
                      const char* d = "") {
    return CString::Formatted(GetResourceText(id), a, b, c, d).str();
}

// The names of a blank-separated list, as --save gives them.
std::vector<std::string> Names(const std::string& text) {
    return host::Tokens(text);
}

const CGrapherChart* FindChart(const std::vector<CGrapherPage>& pages, unsigned title) {
    const CString wanted = GetResourceString(title);
    for (const CGrapherPage& page : pages)
        for (const CGrapherChart& chart : page.GetCharts())
            if (chart.title == wanted)
                return &chart;
    return nullptr;
}

double Number(const CString& text) {
    double value = NAN;
    const std::string_view v = text.view();
    std::from_chars(v.data(), v.data() + v.size(), value);
    return value;
}

report::Chart ToChart(const CGrapherChart& source) {
    report::Chart chart;
    chart.title = source.title.str();
    for (const CString& column : source.columns)
        chart.columns.push_back(column.str());
    for (const std::vector<CString>& row : source.rows) {
        std::vector<std::string>& out = chart.rows.emplace_back();
        for (const CString& cell : row)
            out.push_back(cell.str());
    }
    return chart;
}

// The unit of an output variable: "A" for a current, "V" for a voltage.
std::string OutputUnit(const CString& variable) {
    const std::string v = host::Lower(variable.str());
    return v.rfind("i(", 0) == 0 || v.ends_with("#branch") ? "A" : "V";
}

// The columns of the Runs table, as the worst-case / Monte Carlo analysis writes them.
enum RunColumn : size_t { ColIndex = 0, ColLabel = 1, ColValue = 2, ColX = 3, ColValid = 4 };

// Edge functions measure where the output crosses the threshold: their result is the x.
bool MeasuresX(const WcMcAnalysis& wcmc) {
    return wcmc.GetFunction() == WcMcAnalysis::FunctionRiseEdge ||
           wcmc.GetFunction() == WcMcAnalysis::FunctionFallEdge;
}

std::string MeasuredUnit(const WcMcAnalysis& wcmc) {
    return MeasuresX(wcmc) ? wcmc.GetXAxisUnitString().str() : OutputUnit(wcmc.GetOutputVariable());
}

std::string CellText(const std::vector<CString>& row, size_t column) {
    return column < row.size() ? row[column].str() : std::string();
}

// The Monte Carlo histogram: the valid measurements of the nominal and random runs (not the
// repeated worst run) with their mean and standard deviation. The analysis's own statistics
// divide by every run asked for, valid or made or not; the histogram's describe what it shows.
report::Histogram MonteCarloHistogram(const WcMcAnalysis& wcmc, const CGrapherChart& runs) {
    report::Histogram h;
    h.quantity =
        (wcmc.GetFunctionName(wcmc.GetFunction()) + " of " + wcmc.GetOutputVariable()).str();
    h.unit = MeasuredUnit(wcmc);
    const size_t column = MeasuresX(wcmc) ? ColX : ColValue;
    const CString worstLabel = GetResourceString(IDS_MC_WORST);
    for (size_t r = 0; r < runs.rows.size(); ++r) {
        const std::vector<CString>& row = runs.rows[r];
        if (CellText(row, ColValid) != "1")
            continue;
        const double v = Number(row[column]);
        if (row[ColLabel] == worstLabel) {
            h.hasWorst = true;
            h.worst = v;
            continue;
        }
        if (r == 0) {
            h.hasNominal = true;
            h.nominal = v;
        }
        h.values.push_back(v);
    }
    h.mean = h.sigma = NAN;
    if (!h.values.empty()) {
        const double n = static_cast<double>(h.values.size());
        double sum = 0.0, squares = 0.0;
        for (double v : h.values)
            sum += v;
        h.mean = sum / n;
        for (double v : h.values)
            squares += (v - h.mean) * (v - h.mean);
        h.sigma = std::sqrt(squares / n);
    }
    return h;
}

// Nominal and worst runs stand out; in a Monte Carlo analysis every other run is background.
void MarkRuns(std::vector<report::Page>& pages, bool monteCarlo) {
    const std::string nominal = GetResourceText(IDS_MC_NOMINAL_SHORT);
    const std::string worst = GetResourceText(monteCarlo ? IDS_MC_WORST : IDS_WC_WORST_RUN);
    for (report::Page& page : pages)
        for (report::Trace& t : page.traces)
            t.role = t.name == nominal ? report::TraceRole::Nominal
                     : t.name == worst ? report::TraceRole::Worst
                     : monteCarlo      ? report::TraceRole::Background
                                       : report::TraceRole::Normal;
}

std::string SweepSummary(const report::Section& section, const std::vector<CGrapherPage>& pages) {
    // The innermost runs are the deepest entries of the run log, but for its closing word on a
    // failure or a stop.
    const CString failed = GetResourceString(IDS_PSWEEP_LOG_FAILED);
    const CString stopped = GetResourceString(IDS_PSWEEP_LOG_STOPPED);
    unsigned runs = 0;
    int deepest = 0;
    for (const CGrapherPage& page : pages)
        for (const ChartLog& log : page.GetChartLogs())
            for (const ChartLog::Entry& e : log.GetEntries())
                deepest = std::max(deepest, e.indent);
    for (const CGrapherPage& page : pages)
        for (const ChartLog& log : page.GetChartLogs())
            for (const ChartLog::Entry& e : log.GetEntries())
                runs += e.indent == deepest && deepest > 0 && e.text != failed && e.text != stopped
                            ? 1
                            : 0;
    unsigned traces = 0, points = 0;
    for (const report::Page& page : section.pages) {
        traces += static_cast<unsigned>(page.traces.size());
        for (const report::Trace& t : page.traces)
            points += static_cast<unsigned>(t.re.size());
    }
    return CString::Formatted(GetResourceText(IDS_RUN_SUMMARY_SWEEP), section.nickname.c_str(),
                              runs, traces, points)
        .str();
}

std::string MonteCarloSummary(const report::Section& section, const report::Histogram& h,
                              const CGrapherChart& runs) {
    unsigned valid = 0;
    for (const std::vector<CString>& row : runs.rows)
        valid += CellText(row, ColValid) == "1" ? 1 : 0;
    const std::string mean = std::isfinite(h.mean) ? report::FormatQuantity(h.mean, h.unit)
                                                   : GetResourceText(IDS_RUN_SUMMARY_NONE);
    const std::string sigma =
        std::isfinite(h.sigma) ? report::FormatQuantity(h.sigma, h.unit) : std::string("-");
    return CString::Formatted(GetResourceText(IDS_RUN_SUMMARY_MONTE), section.nickname.c_str(),
                              static_cast<unsigned>(runs.rows.size()), valid, mean.c_str(),
                              sigma.c_str())
        .str();
}

std::string WorstCaseSummary(const report::Section& section, const WcMcAnalysis& wcmc,
                             const CGrapherChart& runs) {
    const size_t column = MeasuresX(wcmc) ? ColX : ColValue;
    const std::string unit = MeasuredUnit(wcmc);
    const auto value = [&](const std::vector<CString>* row) {
        if (!row || CellText(*row, ColValid) != "1")
            return std::string(GetResourceText(IDS_RUN_SUMMARY_NONE));
        return report::FormatQuantity(Number((*row)[column]), unit);
    };
    const std::vector<CString>* nominal = runs.rows.empty() ? nullptr : &runs.rows.front();
    const std::vector<CString>* worst = nullptr;
    for (const std::vector<CString>& row : runs.rows)
        if (row.size() > ColLabel && row[ColLabel] == GetResourceString(IDS_WC_WORST_RUN))
            worst = &row;
    return Formatted(IDS_RUN_SUMMARY_WORST, section.nickname.c_str(), value(nominal).c_str(),
                     value(worst).c_str());
}

std::string TraceWidthSummary(const report::Section& section, const CGrapherChart& widths) {
    const std::vector<CString>* widest = nullptr;
    for (const std::vector<CString>& row : widths.rows)
        if (row.size() >= 4 && (!widest || Number(row[3]) > Number((*widest)[3])))
            widest = &row;
    if (!widest)
        return CString::Formatted(GetResourceText(IDS_RUN_SUMMARY_SWEEP), section.nickname.c_str(),
                                  0u, 0u, 0u)
            .str();
    const std::string width = report::FormatEngineering(Number((*widest)[3]), 4);
    const std::string current = report::FormatEngineering(Number((*widest)[2]), 4);
    return CString::Formatted(GetResourceText(IDS_RUN_SUMMARY_TRACEWIDTH), section.nickname.c_str(),
                              static_cast<unsigned>(widths.rows.size()), width.c_str(),
                              (*widest)[0].c_str(), (*widest)[1].c_str(), current.c_str())
        .str();
}

} // namespace

bool IsCompoundAnalysis(const Analyses::Analysis& analysis) {
    switch (analysis.GetType()) {
    case Kind::Psweep:
    case Kind::Tsweep:
    case Kind::Monte:
    case Kind::Worst:
    case Kind::TraceWidth:
    case Kind::NoiseFigure:
        return true;
    default:
        return false;
    }
}

bool ApplyCompoundSave(Analyses::Analysis& analysis, const std::string& save, std::ostream& err) {
    const std::string nickname = analysis.GetAnalysisNickname().str();
    const Kind kind = analysis.GetType();
    if (kind == Kind::TraceWidth || kind == Kind::NoiseFigure) {
        ReportError(err, Formatted(IDS_RUN_ERR_SAVE_UNUSED, nickname.c_str()));
        return false;
    }
    if (!IsWcMc(kind)) {
        analysis.GetAnalysisNodes().SetNodesString(CString(save));
        return true;
    }
    const std::vector<std::string> names = Names(save);
    if (names.size() != 1) {
        ReportError(err, CString::Formatted(GetResourceText(IDS_RUN_ERR_SAVE_ONE), nickname.c_str(),
                                            static_cast<unsigned>(names.size()), save.c_str())
                             .view());
        return false;
    }
    dynamic_cast<WcMcAnalysis&>(analysis).SetOutputVariable(CString(names.front()));
    return true;
}

std::string CompoundCannotSimulate(Analyses::Analysis& analysis) {
    if (const auto* nf = dynamic_cast<const Analyses::NoiseFigure*>(&analysis))
        return nf->GetOutputNode().IsEmpty() || nf->GetInputNoiseFigureRefSource().IsEmpty()
                   ? GetResourceText(IDS_RUN_ERR_NF_NODES)
                   : std::string();
    return analysis.CanSimulate() ? std::string() : analysis.ExplainWhyCannotSimulate().str();
}

int CheckCompoundAnalysis(host::NgSpiceEngine& engine, const Analyses::Analysis& analysis,
                          const std::string& circuit, std::ostream& err) {
    const std::string nickname = analysis.GetAnalysisNickname().str();
    std::vector<std::string> refusals =
        engine.CheckSettings(analysis.toPropertyItem().GetPropertyList());

    // Saved nodes of a sweep and the nodes and source of a noise figure are not settings
    // records the engine reads; they are checked here by name.
    std::vector<std::string> outputs;
    CSpiceNodeNameList saved;
    analysis.GetAnalysisNodes().SelectNodes(saved);
    saved.ForEach([&](const CSpiceNodeName& n) { outputs.push_back(n.GetName().str()); });
    if (const auto* nf = dynamic_cast<const Analyses::NoiseFigure*>(&analysis)) {
        std::string node = "v(" + nf->GetOutputNode().str();
        if (!nf->GetReferenceNode().IsEmpty())
            node += "," + nf->GetReferenceNode().str();
        outputs.push_back(node + ")");
        const CString source = nf->GetInputNoiseFigureRefSource();
        if (!engine.CheckParameterChange(SNAPIN_INSTANCE_PARAMETER, {"", "", source, ""}).empty())
            refusals.push_back(Formatted(IDS_RUN_ERR_NO_SOURCE, source.c_str()));
    }
    const std::vector<std::string> unknown = engine.UnknownOutputVariables(outputs);
    if (!unknown.empty()) {
        std::string line = GetResourceText(IDS_HOST_UNKNOWN_OUTPUTS);
        for (size_t i = 0; i < unknown.size(); ++i)
            line += (i ? " " : "") + unknown[i];
        if (std::find(refusals.begin(), refusals.end(), line) == refusals.end())
            refusals.push_back(line);
    }
    for (const std::string& refusal : refusals)
        ReportError(err, Formatted(IDS_RUN_ERR_REFUSED, nickname.c_str(), circuit.c_str(),
                                   refusal.c_str()));
    if (!refusals.empty())
        return ExitFailure;

    int status = ExitOk;
    unsigned number = 0;
    if (const WcMcAnalysis* wcmc = AsWcMc(analysis))
        wcmc->GetTolSpecList().ForEach([&](const WcMcTolSpec& spec) {
            ++number;
            // A copy, found again in the circuit now loaded (the settings were read before
            // it), so that a percentage is checked against the circuit's own nominal value.
            WcMcTolSpec tolerance = spec;
            tolerance.GetMemberToSweep().ReconstructIter();
            tolerance.TakeNominalFromCircuit();
            const CString refusal = ValidateTolSpec(tolerance);
            if (refusal.IsEmpty())
                return;
            const CString which = CString::Formatted(
                GetResourceText(IDS_CLI_ERR_TOLERANCE), number, tolerance.GetMemberName().c_str(),
                tolerance.GetParameterName().c_str(), refusal.c_str());
            ReportError(err, Formatted(IDS_RUN_ERR_CANNOT_ACCEPT,
                                       analysis.GetAnalysisReadableName().c_str(), which.c_str()));
            status = ExitUsage;
        });
    return status;
}

void AddCompoundResults(report::Section& section, const Analyses::Analysis& analysis,
                        const std::vector<CGrapherPage>& pages) {
    std::string results;
    for (const CGrapherPage& page : pages)
        for (const ChartLog& log : page.GetChartLogs()) {
            if (!results.empty())
                results += '\n';
            results += log.ToText();
        }
    section.files.push_back({"results.txt", results});

    const Kind kind = analysis.GetType();
    const CGrapherChart* runs = FindChart(pages, IDS_MC_RUNS_TABLE);
    if (IsWcMc(kind) && runs) {
        section.files.push_back({"runs.csv", report::ChartToCsv(ToChart(*runs))});
        MarkRuns(section.pages, kind == Kind::Monte);
    }
    const WcMcAnalysis* wcmc = AsWcMc(analysis);
    if (kind == Kind::Monte && wcmc && runs && !section.pages.empty()) {
        report::Histogram h = MonteCarloHistogram(*wcmc, *runs);
        section.summary = MonteCarloSummary(section, h, *runs);
        if (!h.values.empty())
            section.pages.front().histograms.push_back(std::move(h));
    } else if (kind == Kind::Worst && wcmc && runs) {
        section.summary = WorstCaseSummary(section, *wcmc, *runs);
    } else if (kind == Kind::TraceWidth) {
        if (const CGrapherChart* widths = FindChart(pages, IDS_TW_TABLE)) {
            section.files.push_back({"tracewidth.csv", report::ChartToCsv(ToChart(*widths))});
            section.summary = TraceWidthSummary(section, *widths);
        }
    } else if (kind == Kind::NoiseFigure) {
        for (const CGrapherPage& page : pages)
            for (const ChartLog& log : page.GetChartLogs())
                if (log.GetTitle() == GetResourceString(IDS_NF_RESULTS) &&
                    !log.GetEntries().empty())
                    section.summary = Formatted(IDS_RUN_SUMMARY_VALUE, section.nickname.c_str(),
                                                log.GetEntries().front().text.c_str());
    } else if (kind == Kind::Psweep || kind == Kind::Tsweep) {
        section.summary = SweepSummary(section, pages);
    }
}

} // namespace cli
