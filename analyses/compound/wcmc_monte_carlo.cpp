// Monte Carlo: nominal, random and repeated worst runs, then statistics, run log and table.
#include "analyses/compound/wcmc_analysis.h"

#include "analyses/compound/wcmc_report.h"
#include "analyses/core/analysis_text.h"
#include "engine/simulation_engine.h"

#include <charconv>
#include <cmath>
#include <string_view>

namespace {

CString Line(unsigned label, const CString& value) {
    return GetResourceString(label) + value;
}

// "1,4-6": is `run` one of the numbers or inside one of the ranges? Pieces
// that are not numbers are passed over.
bool ListedIn(std::string_view list, int run) {
    while (!list.empty()) {
        const size_t comma = list.find(',');
        std::string_view piece = list.substr(0, comma);
        list = comma == std::string_view::npos ? std::string_view() : list.substr(comma + 1);
        const auto read = [](std::string_view text, long& out) {
            while (!text.empty() && text.front() == ' ')
                text.remove_prefix(1);
            while (!text.empty() && text.back() == ' ')
                text.remove_suffix(1);
            const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), out);
            return error == std::errc() && end == text.data() + text.size();
        };
        const size_t dash = piece.find('-', 1);
        long low = 0;
        long high = 0;
        if (dash == std::string_view::npos) {
            if (read(piece, low) && low == run)
                return true;
        } else if (read(piece.substr(0, dash), low) && read(piece.substr(dash + 1), high) &&
                   low <= run && run <= high) {
            return true;
        }
    }
    return false;
}

// The label of run `run` of `n` random runs: the nominal run, "Run #k", or the repeated worst.
CString McRunLabel(int run, int n) {
    if (run == 0)
        return GetResourceString(IDS_MC_NOMINAL_RUN);
    if (run <= n)
        return GetResourceString(IDS_MC_RUN) + FormatCount(static_cast<unsigned>(run));
    return GetResourceString(IDS_MC_WORST);
}

} // namespace

int WcMcAnalysis::ExecuteAnalysis(const char* /*unused*/) {
    return worstCase_ ? ExecuteWcAnalysis() : ExecuteMcAnalysis();
}

bool WcMcAnalysis::WantsDescription(int run) const {
    switch (textOutput_) {
    case TextNoRuns:
        return false;
    case TextListedRuns:
        return ListedIn(textOutputRuns_.view(), run);
    default:
        return true;
    }
}

CString WcMcAnalysis::XPositionText(double x) const {
    switch (analysisType_) {
    case WcMcAc:
        return GetResourceString(IDS_MC_AT_FREQUENCY) + FormatNumber(x);
    case WcMcTran:
        return GetResourceString(IDS_MC_AT_TIME) + FormatNumber(x);
    default:
        return CString();
    }
}

int WcMcAnalysis::ExecuteMcAnalysis() {
    CASimulationEngine* engine = GetEngine();
    if (!engine)
        return 0;
    CGrapherPage& page = engine->OpenGrapherPage();
    PrepareWcMcPage(page, IDS_MC_PAGE, *this);
    page.SetFontName(GetResourceString(IDS_MC_FONT));
    ChartLog& results = page.AddChartLog(GetResourceString(IDS_MC_RESULTS));
    ChartLog& runLog = page.AddChartLog(GetResourceString(IDS_MC_RUN_LOG));
    CGrapherChart& table = page.AddChart(GetResourceString(IDS_MC_RUNS_TABLE));

    if (analysisType_ == WcMcAc)
        ac_.LoadFromMainAnalysis();
    PrepareTolerances();
    const int n = numRuns_ < 0 ? 0 : numRuns_;
    runs_.assign(static_cast<size_t>(n) + 2, WcMcRunData());
    applied_.clear();

    // Every draw is made before the first run, in the order one run after the
    // other would make them, so that where the runs are made cannot matter.
    const std::vector<ParameterSet> sets = DrawMcParameterSets();

    WcMcCurve nominal;
    std::vector<int> commandResults;
    int worst = 0; // the nominal run stands in until a random run measures
    int made = 0;
    int result = 1;
    // One run and what it adds to the results: the page, the records, the worst run so far.
    const auto runAndMerge = [&](int run, const ParameterSet& values) {
        const CString label = McRunLabel(run, n);
        const CString shortLabel = run == 0 ? GetResourceString(IDS_MC_NOMINAL_SHORT) : label;
        const WcMcRunResult r = ExecuteRun(values, label, run == 0 ? nullptr : &nominal);
        runs_[static_cast<size_t>(run)] = r.data;
        applied_.push_back(values);
        commandResults.push_back(r.commandResult);
        AddWcMcRunTrace(page, r, shortLabel);
        ++made;
        if (run == 0) {
            if (!r.commandResult) {
                result = 0;
                return;
            }
            nominal = WcMcNominalCurve(r.curve);
            PushRunParameters();
        } else if (run <= n &&
                   IsWorseRun(r.data, worst ? &runs_[static_cast<size_t>(worst)] : nullptr)) {
            worst = run;
            PushRunParameters();
        }
    };

    // The nominal run is made here: every random run measures against its curve. The random
    // runs depend on nothing but their drawn values and may be made anywhere, in any order;
    // they are merged here in run order.
    if (!IsStopRequested())
        runAndMerge(0, sets.front());
    if (result && made == 1) {
        const bool finished = engine->MapRuns(
            static_cast<size_t>(n),
            [&](size_t i) {
                const int run = static_cast<int>(i) + 1;
                (void)ExecuteRun(sets[i + 1], McRunLabel(run, n), &nominal);
            },
            [&](size_t i) {
                runAndMerge(static_cast<int>(i) + 1, sets[i + 1]);
                return !IsStopRequested();
            });
        if (!finished)
            SetStopRequested(true);
        // The worst run is repeated in this process, after every run has been merged.
        if (!IsStopRequested()) {
            PopRunParameters();
            runAndMerge(n + 1, CurrentValues());
        }
    }

    const WcMcStatistics stats = ComputeMcStatistics(runs_, n);
    WriteMcResults(results, stats, made, worst, result != 0);
    if (result)
        WriteRunLog(runLog, stats, made, worst, commandResults);
    FillRunsTable(table, std::span(runs_).first(static_cast<size_t>(made)), applied_);
    engine->ReleaseGrapherPage();
    return result;
}

CString WcMcAnalysis::DescribeRun(const WcMcRunData& run, const WcMcStatistics& stats) const {
    if (!run.valid)
        return GetResourceString(IDS_MC_NO_MEASUREMENT);
    CString text = FormatNumber(run.y) + XPositionText(run.x) + " (";
    const WcMcRunData& nominal = runs_.front();
    if (nominal.valid) {
        const double diff = run.y - nominal.y;
        if (diff == 0.0)
            text += GetResourceText(IDS_MC_SAME_AS_NOMINAL);
        else if (nominal.y != 0.0) // no percentage of a zero nominal
            text += FormatNumber(std::fabs(diff / nominal.y) * 100.0) +
                    GetResourceText(diff > 0.0 ? IDS_MC_HIGHER_THAN_NOMINAL
                                               : IDS_MC_LOWER_THAN_NOMINAL);
    }
    const double fromMean = run.y - stats.meanY;
    if (fromMean == 0.0)
        text += GetResourceText(IDS_MC_EQUAL_TO_MEAN);
    else
        text +=
            GetResourceString(fromMean > 0.0 ? IDS_MC_HIGHER_THAN_MEAN : IDS_MC_LOWER_THAN_MEAN) +
            FormatNumber(std::fabs(fromMean));
    return text + ")";
}

void WcMcAnalysis::WriteMcResults(ChartLog& log, const WcMcStatistics& stats, int made, int worst,
                                  bool nominalRan) const {
    const int n = static_cast<int>(runs_.size()) - 2;
    log.AddLine(Line(IDS_MC_SEED, CString::Formatted("%llu", static_cast<unsigned long long>(
                                                                 Random::GetMasterSeed()))));
    log.AddLine(Line(IDS_WCMC_OUTPUT_VARIABLE, outputVariable_));
    log.AddLine(Line(IDS_WCMC_FUNCTION, GetFunctionName(function_)));
    if (function_ == FunctionFrequency)
        log.AddEntry(GetResourceString(IDS_WCMC_FREQUENCY_NOT_EVALUATED), 1);
    log.AddLine(GetResourceString(IDS_MC_TOLERANCES));
    tolSpecs_.ForEach([&](const WcMcTolSpec& t) {
        log.AddEntry(
            t.GetMemberName() + " " + t.GetParameterName() + ": " + t.toShortDescription(1), 1);
    });

    log.AddLine(Line(IDS_MC_RUNS_MADE, FormatCount(unsigned(made))));
    if (!nominalRan) {
        log.AddLine(GetResourceString(IDS_WCMC_NOMINAL_FAILED));
        return;
    }
    if (made < n + 2 && IsStopRequested())
        log.AddLine(Line(IDS_MC_STOPPED, McRunLabel(made, n)));
    log.AddLine(Line(IDS_MC_VALID_RUNS, FormatCount(unsigned(stats.validRuns)) + " / " +
                                            FormatCount(unsigned(n + 1))));
    log.AddLine(Line(IDS_MC_MEAN, FormatNumber(stats.meanY)));
    log.AddLine(Line(IDS_MC_STD_DEV, FormatNumber(stats.deviationY)));
    const unsigned meanX = analysisType_ == WcMcTran ? IDS_MC_MEAN_TIME
                           : analysisType_ == WcMcAc ? IDS_MC_MEAN_FREQUENCY
                                                     : IDS_MC_MEAN_OUTPUT;
    const unsigned deviationX = analysisType_ == WcMcTran ? IDS_MC_STD_DEV_TIME
                                : analysisType_ == WcMcAc ? IDS_MC_STD_DEV_FREQUENCY
                                                          : IDS_MC_STD_DEV_OUTPUT;
    log.AddLine(Line(meanX, FormatNumber(stats.meanX)));
    log.AddLine(Line(deviationX, FormatNumber(stats.deviationX)));
    if (made > 1)
        log.AddLine(Line(IDS_MC_WORST_RUN_IS, runs_[static_cast<size_t>(worst)].runLabel));
    log.AddLine(CString(GetResourceText(IDS_MC_STATISTICS_NOTE)));
}

void WcMcAnalysis::WriteRunLog(ChartLog& log, const WcMcStatistics& stats, int made, int worst,
                               const std::vector<int>& commandResults) const {
    log.AddEntry(GetResourceString(IDS_MC_RUN_LOG_TYPE), 0);
    const int last = static_cast<int>(runs_.size()) - 1;
    for (int run = 0; run < made; ++run) {
        if (!WantsDescription(run))
            continue;
        const WcMcRunData& data = runs_[static_cast<size_t>(run)];
        CString text = data.runLabel + ": " + DescribeRun(data, stats);
        if (!commandResults[static_cast<size_t>(run)])
            text += GetResourceText(IDS_MC_RUN_FAILED);
        log.AddEntry(text, 1);
        if (run == last) {
            const WcMcRunData& chosen = runs_[static_cast<size_t>(worst)];
            CString line = GetResourceString(IDS_MC_IF_WORST) + chosen.runLabel;
            if (chosen.valid)
                line += GetResourceText(IDS_MC_WORST_VALUE) + FormatNumber(chosen.y) +
                        XPositionText(chosen.x);
            log.AddEntry(line, 2);
        }
        if (!data.description.IsEmpty())
            log.AddEntry(data.description, 2);
    }
}

void WcMcAnalysis::FillRunsTable(CGrapherChart& table, std::span<const WcMcRunData> runs,
                                 std::span<const ParameterSet> sets) const {
    table.columns = {GetResourceString(IDS_MC_COL_INDEX), GetResourceString(IDS_MC_COL_LABEL),
                     GetResourceString(IDS_MC_COL_VALUE), GetResourceString(IDS_MC_COL_X),
                     GetResourceString(IDS_MC_COL_VALID)};
    tolSpecs_.ForEach([&](const WcMcTolSpec& t) {
        const auto kind = t.GetTolClass() == WcMcTolSpec::InstanceParameter
                              ? CParamNode::InstanceParam
                              : CParamNode::ModelParam;
        table.columns.push_back(
            CParamNode(t.GetMemberName(), t.GetParameterName(), kind).toString());
    });
    for (size_t run = 0; run < runs.size(); ++run) {
        const WcMcRunData& data = runs[run];
        std::vector<CString> row = {FormatCount(unsigned(run)), data.runLabel,
                                    data.valid ? WcMcShortestNumber(data.y) : CString(),
                                    data.valid ? WcMcShortestNumber(data.x) : CString(),
                                    data.valid ? "1" : "0"};
        // The text the simulator was given (SetOnSimulator), so that the table shows what ran.
        if (run < sets.size())
            for (const double v : sets[run])
                row.push_back(FormatNumber(v));
        table.rows.push_back(std::move(row));
    }
}
