// Worst case: the nominal run, the sensitivities, the run at the band ends and its report.
#include "analyses/compound/wcmc_analysis.h"

#include "analyses/compound/wcmc_report.h"
#include "analyses/core/analysis_text.h"
#include "engine/simulation_engine.h"

#include <cmath>

namespace {

CString Line(unsigned label, const CString& value) {
    return GetResourceString(label) + value;
}

CString ToleranceName(const WcMcTolSpec& t) {
    return t.GetMemberName() + " " + t.GetParameterName();
}

} // namespace

int WcMcAnalysis::ExecuteWcAnalysis() {
    CASimulationEngine* engine = GetEngine();
    if (!engine)
        return 0;
    CGrapherPage& page = engine->OpenGrapherPage();
    PrepareWcMcPage(page, IDS_WC_PAGE, *this);
    ChartLog& log = page.AddChartLog(GetResourceString(IDS_WC_RESULTS));
    CGrapherChart& table = page.AddChart(GetResourceString(IDS_MC_RUNS_TABLE));
    // Every run in the order made, the tolerance runs of a transient between the two.
    std::vector<WcMcRunData> made;
    std::vector<ParameterSet> madeSets;

    if (analysisType_ == WcMcAc)
        ac_.LoadFromMainAnalysis();
    PrepareTolerances();
    runs_.assign(2, WcMcRunData());
    applied_.clear();

    // Nominal.
    if (IsStopRequested()) {
        log.AddLine(GetResourceString(IDS_MC_STOPPED) + GetResourceText(IDS_MC_NOMINAL_RUN));
        FillRunsTable(table, made, madeSets);
        engine->ReleaseGrapherPage();
        return 1;
    }
    SetRunParameters(0);
    const WcMcRunResult nominalRun =
        ExecuteRun(CurrentValues(), GetResourceString(IDS_MC_NOMINAL_RUN), nullptr);
    runs_[0] = nominalRun.data;
    applied_.push_back(CurrentValues());
    made.push_back(nominalRun.data);
    madeSets.push_back(CurrentValues());
    AddWcMcRunTrace(page, nominalRun, GetResourceString(IDS_MC_NOMINAL_SHORT));
    if (!nominalRun.commandResult) {
        log.AddLine(GetResourceString(IDS_WCMC_NOMINAL_FAILED));
        FillRunsTable(table, made, madeSets);
        engine->ReleaseGrapherPage();
        return 0;
    }
    const WcMcCurve nominal = WcMcNominalCurve(nominalRun.curve);

    // Sensitivities: from the simulator's own analysis where it has one, else
    // from one run per tolerance.
    if (analysisType_ == WcMcTran)
        RunToleranceSensitivities(page, nominal, made, madeSets);
    else if (!IsStopRequested())
        ReadSensitivities(*engine);

    // The worst case itself.
    int worstMade = 0;
    if (!IsStopRequested()) {
        SetWorstCaseParameters();
        const WcMcRunResult worstRun =
            ExecuteRun(CurrentValues(), GetResourceString(IDS_WC_WORST_RUN), &nominal);
        runs_[1] = worstRun.data;
        applied_.push_back(CurrentValues());
        made.push_back(worstRun.data);
        madeSets.push_back(CurrentValues());
        AddWcMcRunTrace(page, worstRun, worstRun.data.runLabel);
        worstMade = 1;
    }
    WriteWcReport(log, worstMade);
    FillRunsTable(table, made, madeSets);
    engine->ReleaseGrapherPage();
    return 1;
}

int WcMcAnalysis::ReadSensitivities(CASimulationEngine& engine) {
    const WcMcOutput output(outputVariable_);
    if (output.IsCurrent()) {
        sens_.SetUseCurrentSource(1);
        sens_.SetCurrentSource(output.GetSource());
    } else {
        sens_.SetUseCurrentSource(0);
        sens_.SetOutputNode(output.GetNode());
        sens_.SetOutputRefNode(output.GetRefNode());
    }
    if (analysisType_ == WcMcAc) {
        sens_.SetSensType(Analyses::AnalysisType::Ac);
        sens_.GetAc().GetAcAnalysis().fromPropertyList(ac_.toPropertyList());
    } else {
        sens_.SetSensType(Analyses::AnalysisType::Op);
    }

    live_.mode = Live::Sensitivity;
    live_.sensVectors.clear();
    live_.sensAtX = runs_[0].x;
    const int result = engine.SilentExecuteSimulatorCommand(sens_.toNutmegCommand());
    live_.mode = Live::Idle;
    return result;
}

void WcMcAnalysis::RunToleranceSensitivities(CGrapherPage& page, const WcMcCurve& nominal,
                                             std::vector<WcMcRunData>& made,
                                             std::vector<ParameterSet>& sets) {
    // The change of the measured value when the parameter moves to the end of
    // its band, per unit of the parameter: a sensitivity the sign rule can use.
    const WcMcRunData& base = runs_[0];
    struct ToleranceRun {
        size_t tolerance;
        ParameterSet values;
        CString label;
    };
    // The runs' values are set up front: each run depends on nothing but them, so the runs
    // may be made anywhere; they are merged here in list order.
    std::vector<ToleranceRun> planned;
    tolSpecs_.lock_remove();
    for (size_t i = 0; i < tolSpecs_.GetCount(); ++i) {
        WcMcTolSpec& tol = tolSpecs_[i];
        if (!Varies(tol) || tol.GetTolToAdjustValue() == 0.0)
            continue;
        SetRunParameters(0);
        tol.SetTolAdjustedValue(1);
        planned.push_back(
            {i, CurrentValues(), GetResourceString(IDS_WC_TOLERANCE_RUN) + ToleranceName(tol)});
    }
    if (!IsStopRequested()) {
        const bool finished = GetEngine()->MapRuns(
            planned.size(),
            [&](size_t k) { (void)ExecuteRun(planned[k].values, planned[k].label, &nominal); },
            [&](size_t k) {
                const ToleranceRun& p = planned[k];
                WcMcTolSpec& tol = tolSpecs_[p.tolerance];
                const double deviation = tol.GetTolToAdjustValue();
                const WcMcRunResult run = ExecuteRun(p.values, p.label, &nominal);
                AddWcMcRunTrace(page, run, p.label);
                made.push_back(run.data);
                sets.push_back(p.values);
                if (run.data.valid && base.valid) {
                    WcMcRunData& data = tol.GetWcMcRunData();
                    data.x = run.data.x;
                    data.y = (run.data.y - base.y) / deviation;
                    data.phase = 0.0;
                    data.valid = 1;
                }
                return !IsStopRequested();
            });
        if (!finished)
            SetStopRequested(true);
    }
    tolSpecs_.unlock_remove();
}

void WcMcAnalysis::SetWorstCaseParameters() {
    const int filterSign = GetFilterSign();
    tolSpecs_.lock_remove();
    tolSpecs_.ForEach([&](WcMcTolSpec& t) {
        t.SetOriginalValue();
        const WcMcRunData& sensitivity = t.GetWcMcRunData();
        if (!Varies(t) || !sensitivity.valid)
            return;
        const int sign = WcMcRunData::GetComplexSign(sensitivity.y, sensitivity.phase);
        // A percentage of a negative nominal is a negative deviation: the band
        // end that raises the parameter is then nominal - deviation.
        const int direction = t.GetTolToAdjustValue() < 0.0 ? -1 : 1;
        t.SetTolAdjustedValue(sign * filterSign * direction);
    });
    tolSpecs_.unlock_remove();
}

void WcMcAnalysis::WriteWcReport(ChartLog& log, int worstMade) const {
    const WcMcRunData& nominal = runs_[0];
    const WcMcRunData& worst = runs_[1];
    const CString none = GetResourceString(IDS_MC_NO_MEASUREMENT);

    log.AddLine(Line(IDS_WCMC_OUTPUT_VARIABLE, outputVariable_));
    log.AddLine(Line(IDS_WCMC_FUNCTION, GetFunctionName(function_)));
    if (function_ == FunctionFrequency)
        log.AddEntry(GetResourceString(IDS_WCMC_FREQUENCY_NOT_EVALUATED), 1);
    log.AddLine(GetResourceString(IDS_MC_NOMINAL_RUN) + ": " +
                (nominal.valid ? FormatNumber(nominal.y) + XPositionText(nominal.x) : none));
    if (!worstMade) {
        log.AddLine(GetResourceString(IDS_WC_NO_WORST_RUN));
    } else if (!worst.valid) {
        log.AddLine(GetResourceString(IDS_WC_WORST_RUN) + ": " + none);
    } else {
        CString text = GetResourceString(IDS_WC_WORST_RUN) + ": " + FormatNumber(worst.y);
        if (!nominal.valid) {
            text += XPositionText(worst.x);
        } else {
            const double diff = worst.y - nominal.y;
            if (diff != 0.0)
                text += ", " + FormatNumber(std::fabs(diff));
            text += GetResourceText(diff > 0.0   ? IDS_WC_HIGHER_AT
                                    : diff < 0.0 ? IDS_WC_LOWER_AT
                                                 : IDS_WC_EQUAL_AT);
            switch (analysisType_) {
            case WcMcAc:
                text += GetResourceString(IDS_WC_FREQUENCY_IS) + FormatNumber(worst.x);
                break;
            case WcMcTran:
                text += GetResourceString(IDS_WC_TIME_IS) + FormatNumber(worst.x);
                break;
            default:
                text += GetResourceText(IDS_WC_AT_OPERATING_POINT);
                break;
            }
        }
        log.AddLine(text);
    }

    log.AddLine(GetResourceString(IDS_WC_SENSITIVITY));
    const unsigned heading = analysisType_ == WcMcAc     ? IDS_WC_SENS_AC
                             : analysisType_ == WcMcTran ? IDS_WC_SENS_TRAN
                                                         : IDS_WC_SENS_DCOP;
    log.AddEntry(GetResourceString(heading), 1);
    if (analysisType_ == WcMcTran)
        log.AddEntry(GetResourceString(IDS_WC_TRAN_SENSITIVITY), 2);
    tolSpecs_.ForEach([&](const WcMcTolSpec& t) {
        const WcMcRunData& s = t.GetWcMcRunData();
        CString text = ToleranceName(t) + ": ";
        const bool steers = s.valid && WcMcRunData::GetComplexSign(s.y, s.phase) != 0;
        if (s.valid)
            text += FormatNumber(s.y);
        if (s.valid && s.phase != 0.0)
            text += GetResourceText(IDS_WC_PHASE) + FormatNumber(s.phase);
        if (!Varies(t) || !steers)
            text += (s.valid ? CString(" ") : CString()) +
                    GetResourceText(Varies(t) ? IDS_WC_NO_SENSITIVITY : IDS_WC_NOT_VARIED);
        log.AddEntry(text, 2);
    });

    if (!worstMade)
        return;
    log.AddLine(GetResourceString(IDS_WC_CHANGES));
    tolSpecs_.ForEach([&](const WcMcTolSpec& t) {
        const double nominalValue = t.GetOriginalValue();
        const double value = t.GetValue(WcMcTolSpec::Current);
        const unsigned verb = value > nominalValue   ? IDS_WC_INCREASED
                              : value < nominalValue ? IDS_WC_DECREASED
                                                     : IDS_WC_UNCHANGED;
        CString text = ToleranceName(t) + " " + GetResourceText(verb) + " " + FormatNumber(value);
        if (nominalValue != 0.0)
            text += " (" + FormatNumber(value / nominalValue * 100.0) +
                    GetResourceText(IDS_WC_OF_NOMINAL) + ")";
        log.AddEntry(text, 1);
    });
}
