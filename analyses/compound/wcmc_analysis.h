// Worst case and Monte Carlo: settings, tolerances, runs, reports and the two analyses.
#pragma once

#include "analyses/compound/wcmc_measure.h"
#include "analyses/compound/wcmc_output.h"
#include "analyses/compound/wcmc_run_data.h"
#include "analyses/compound/wcmc_statistics.h"
#include "analyses/compound/wcmc_tolspec.h"
#include "analyses/core/analysis_identity.h"
#include "analyses/single/ac.h"
#include "analyses/single/sens.h"
#include "analyses/single/tran.h"
#include "canal/export.h"
#include "engine/plot_event_sink.h"
#include "platform/grapher.h"
#include "platform/resources.h"

#include <cstdint>
#include <span>
#include <vector>

class CASimulationEngine;

/// What one run of the underlying analysis yields: small enough to travel
/// from a worker back to the process that merges the runs.
struct CANAL_EXPORT WcMcRunResult {
    WcMcRunData data;      ///< the measurement, with the run's label and description
    CGrapherTrace curve;   ///< the output over x as the run produced it
    int commandResult = 0; ///< the simulator's answer to the run's command (non-zero: success)
};

/// The settings and the runs of a worst-case (flag 1) or Monte Carlo (flag 0)
/// analysis. Receives the simulator's plot events of its inner runs as the
/// engine's analysis event sink while ExecuteAnalysis runs.
class CANAL_EXPORT WcMcAnalysis : public CPlotEventSink {
public:
    /// The analysis run for every parameter set.
    enum WcMcAnalysisType : int32_t { WcMcDcOp = 0, WcMcAc = 1, WcMcTran = 2 };
    /// What is measured on a run's output: 0-3 point by point, 4 the greatest
    /// deviation from the nominal run's curve, 5 not evaluated.
    enum WcMcFunction : int32_t {
        FunctionMax = 0,
        FunctionMin = 1,
        FunctionRiseEdge = 2,
        FunctionFallEdge = 3,
        FunctionYMax = 4,
        FunctionFrequency = 5
    };
    /// Which end is the worst: the lowest value or the highest. Any value above
    /// 0 counts as High.
    enum WcMcFilter : int32_t { FilterLow = 0, FilterHigh = 1 };
    /// Which runs the run log describes.
    enum WcMcTextOutput : int32_t { TextAllRuns = 0, TextListedRuns = 1, TextNoRuns = 2 };
    /// Which tolerances vary: unique ones only, lot ones only, or both; the
    /// others stay nominal.
    enum WcMcVary : int32_t { VaryDeviceOnly = 0, VaryLotOnly = 1, VaryBoth = 2 };

    /// The values of one run, one per tolerance in list order.
    using ParameterSet = std::vector<double>;

    /// `main` (borrowed, may be null) is the owning collection; `worstCase`
    /// non-zero makes a worst-case analysis, 0 a Monte Carlo analysis.
    WcMcAnalysis(const Analyses* main, int worstCase);
    /// A copy whose tolerances are found again in the engine's current circuit.
    WcMcAnalysis(const WcMcAnalysis& other, Instance* instance);
    WcMcAnalysis(const WcMcAnalysis&) = default;
    WcMcAnalysis& operator=(const WcMcAnalysis&) = default;
    ~WcMcAnalysis() override = default;

    /// 7 as it stands; the analyses built on this class answer their own kind.
    Analyses::AnalysisType GetType() const { return Analyses::AnalysisType::Psweep; }
    /// "WORST" or "MONTE", by the flag.
    CString GetAnalysisNickname() const;
    int IsWorstCase() const { return worstCase_; }

    void reset();
    /// The node kind and output-variable class of the underlying analysis.
    int GetNodeType() const;
    int GetOutputVariableClass() const;
    /// 1 when an output variable is set.
    int CanSimulate() const;

    int GetGroupAllTraces() const { return groupAllTraces_; }
    void SetGroupAllTraces(int v) { groupAllTraces_ = v; }
    WcMcAnalysisType GetAnalysisType() const { return analysisType_; }
    void SetAnalysisType(WcMcAnalysisType t) { analysisType_ = t; }
    WcMcAnalysisType GetWcMcAnalysisType() const { return analysisType_; }
    /// For a worst-case analysis also points the sensitivity at the operating
    /// point (0) or at the AC sweep (1).
    void SetWcMcAnalysisType(WcMcAnalysisType t);
    WcMcFunction GetFunction() const { return function_; }
    void SetFunction(WcMcFunction f) { function_ = f; }
    double GetFunctionThreshold() const { return functionThreshold_; }
    void SetFunctionThreshold(double v) { functionThreshold_ = v; }
    WcMcFilter GetFilter() const { return filter_; }
    void SetFilter(WcMcFilter f) { filter_ = f; }
    /// +1 when the filter is above 0 (the output pushed up is worse), else -1.
    int GetFilterSign() const { return filter_ > 0 ? 1 : -1; }
    WcMcTextOutput GetTextOutput() const { return textOutput_; }
    void SetTextOutput(WcMcTextOutput t) { textOutput_ = t; }
    /// Run numbers and ranges, "1,4-6": 0 is the nominal run, NumRuns + 1 the
    /// repeated worst run.
    const CString& GetTextOutputRuns() const { return textOutputRuns_; }
    void SetTextOutputRuns(const CString& runs) { textOutputRuns_ = runs; }
    WcMcVary GetVary() const { return vary_; }
    void SetVary(WcMcVary v) { vary_ = v; }
    int GetNumRuns() const { return numRuns_; }
    void SetNumRuns(int n) { numRuns_ = n; }
    /// Non-zero: only points with x in [RangeXLow, RangeXHigh] are measured,
    /// x in the unit of the underlying analysis (seconds, hertz).
    int GetUseRange() const { return useRange_; }
    void SetUseRange(int v) { useRange_ = v; }
    double GetRangeXLow() const { return rangeXLow_; }
    void SetRangeXLow(double x) { rangeXLow_ = x; }
    double GetRangeXHigh() const { return rangeXHigh_; }
    void SetRangeXHigh(double x) { rangeXHigh_ = x; }
    const CString& GetOutputVariable() const { return outputVariable_; }
    void SetOutputVariable(const CString& v) { outputVariable_ = v; }
    Analyses::NodeFilter GetNodeFilterOutputVariable() const { return nodeFilterOutputVariable_; }
    void SetNodeFilterOutputVariable(Analyses::NodeFilter f) { nodeFilterOutputVariable_ = f; }

    /// The embedded settings; they live as long as this object.
    AcAnalysis& GetAc() { return ac_; }
    const AcAnalysis& GetAc() const { return ac_; }
    TranAnalysis& GetTran() { return tran_; }
    const TranAnalysis& GetTran() const { return tran_; }
    SensAnalysis& GetSens() { return sens_; }
    const SensAnalysis& GetSens() const { return sens_; }
    CopiableSList<WcMcTolSpec>& GetTolSpecList() { return tolSpecs_; }
    const CopiableSList<WcMcTolSpec>& GetTolSpecList() const { return tolSpecs_; }
    const Analyses* GetMainAnalyses() const { return main_; }

    /// The engine the runs go to (borrowed): the one set here, else the
    /// collection's; null when there is neither.
    CASimulationEngine* GetEngine() const;
    void SetEngine(CASimulationEngine* engine) { engine_ = engine; }

    /// "save all; " (worst case only), "orvo " + nickname + " ", the record's
    /// text and "; ".
    CString toNutmegCommand() const;
    /// The settings in their fixed order, the tolerances as "TolSpec" entries
    /// of "TolSpecList", then the transient settings as "Tran".
    CPropertyList toPropertyList() const;
    /// Applies the known keys; 0 when a key is unknown or a nested record
    /// fails, the rest being applied still.
    int fromPropertyList(const CPropertyList& list);
    void toReadableText(CTreeLog& log, _TREEITEM* parent) const;

    /// Worst case or Monte Carlo by the flag; 0 when there is no engine or the
    /// nominal run fails. Results go to a page of the engine, released at the
    /// end; a stop request ends the runs early with what was made reported.
    int ExecuteAnalysis(const char* unused);
    int ExecuteMcAnalysis();
    int ExecuteWcAnalysis();

    /// Every varied tolerance draws a new value (`random` non-zero) or every
    /// tolerance takes its nominal value (0); tolerances that do not vary stay nominal.
    void SetRunParameters(int random);
    void PushRunParameters();
    void PopRunParameters();
    /// Writes every tolerance's current value through the engine's snap-in.
    void SetOnSimulator();
    /// The current values, "r1 resistance = 1010; qn bf = 98".
    CString GetParametersString() const;
    /// "s" (transient), "Hz" (AC) or "" (operating point).
    CString GetXAxisUnitString() const;

    // The three steps of a Monte Carlo analysis, so that runs can be made
    // elsewhere without changing the result.
    /// Draws the parameter sets of runs 0 (nominal) to NumRuns, run by run and
    /// tolerance by tolerance in list order; uses no simulation result.
    std::vector<ParameterSet> DrawMcParameterSets();
    /// One run: applies `values`, runs the underlying analysis and measures
    /// its output. `nominal` (borrowed, may be null) is the nominal run's curve
    /// for function 4.
    WcMcRunResult ExecuteRun(const ParameterSet& values, const CString& label,
                             const WcMcCurve* nominal);
    /// True when `candidate` is worse than `worst` in the filter's direction;
    /// an invalid candidate never is, and a tie keeps the earlier run.
    bool IsWorseRun(const WcMcRunData& candidate, const WcMcRunData* worst) const;

    /// The run records of the last execution: Monte Carlo 0 to NumRuns + 1,
    /// worst case the nominal and the worst-case run.
    const std::vector<WcMcRunData>& GetRuns() const { return runs_; }
    /// The parameter sets applied in the last Monte Carlo execution, by run.
    const std::vector<ParameterSet>& GetAppliedSets() const { return applied_; }

    /// Display names; "" out of range.
    static CString GetWcMcAnalysisTypeName(WcMcAnalysisType t);
    static CString GetFunctionName(WcMcFunction f);
    static CString GetVaryName(WcMcVary v);
    static CString GetFilterName(WcMcFilter f);

protected:
    /// Measures element `index` of one output point at x into `data`
    /// (borrowed) by the function, range and threshold set.
    int ProcessRunDataPoint(WcMcRunData* data, int index, double x, double* real,
                            CComplex* complex);

private:
    int OUTpBeginPlot(const CSpiceArgs& args) override;
    int OUTpData(const CSpiceArgs& args) override;
    int OUTendPlot(const CSpiceArgs& args) override;

    /// The stored keys, in their written order.
    static std::span<const PropertyKeys::Key<WcMcAnalysis>> WcMcKeys();

    bool Varies(const WcMcTolSpec& tol) const;
    CString RunCommand() const;
    ParameterSet CurrentValues() const;
    void ApplyValues(const ParameterSet& values);
    void PrepareTolerances();
    WcMcMeasurement Measurement(const WcMcCurve* nominal) const;
    bool WantsDescription(int run) const;
    CString XPositionText(double x) const;
    CString DescribeRun(const WcMcRunData& run, const WcMcStatistics& stats) const;
    void WriteMcResults(ChartLog& log, const WcMcStatistics& stats, int made, int worst,
                        bool nominalRan) const;
    void WriteRunLog(ChartLog& log, const WcMcStatistics& stats, int made, int worst,
                     const std::vector<int>& commandResults) const;
    /// One row per run of `runs` in order, with the values `sets` applied in it.
    void FillRunsTable(CGrapherChart& table, std::span<const WcMcRunData> runs,
                       std::span<const ParameterSet> sets) const;
    int ReadSensitivities(CASimulationEngine& engine);
    /// Appends each tolerance run and its values to `made` and `sets`.
    void RunToleranceSensitivities(CGrapherPage& page, const WcMcCurve& nominal,
                                   std::vector<WcMcRunData>& made, std::vector<ParameterSet>& sets);
    void SetWorstCaseParameters();
    void WriteWcReport(ChartLog& log, int worstMade) const;

    // Settings, in their stored order.
    int32_t groupAllTraces_ = 1;
    WcMcAnalysisType analysisType_ = WcMcTran;
    WcMcFunction function_ = FunctionMax;
    double functionThreshold_ = 0.0;
    WcMcFilter filter_ = FilterHigh;
    WcMcTextOutput textOutput_ = TextAllRuns;
    CString textOutputRuns_;
    WcMcVary vary_ = VaryBoth;
    int32_t numRuns_ = 1;
    int32_t useRange_ = 0;
    double rangeXLow_ = 0.0;
    double rangeXHigh_ = 1.0;
    CString outputVariable_;
    Analyses::NodeFilter nodeFilterOutputVariable_ = Analyses::NF_NONE;

    const Analyses* main_ = nullptr;
    int32_t worstCase_ = 0;
    AcAnalysis ac_;
    TranAnalysis tran_;
    SensAnalysis sens_;
    CopiableSList<WcMcTolSpec> tolSpecs_;
    CASimulationEngine* engine_ = nullptr;

    // Run bookkeeping of the last execution.
    std::vector<WcMcRunData> runs_;
    std::vector<ParameterSet> applied_;

    /// What the plot callbacks fill during one inner run. A copy of the
    /// analysis starts with none: a run belongs to the object that makes it.
    struct Live {
        enum Mode { Idle, Measure, Sensitivity };
        Live() = default;
        Live(const Live&) {}
        Live& operator=(const Live&) { return *this; }

        Mode mode = Idle;
        WcMcRunResult* result = nullptr;
        const WcMcCurve* nominal = nullptr;
        WcMcOutput output;
        CSpicePlotInfo plot;
        bool plotHasOutput = false;
        std::vector<int> sensVectors; ///< per tolerance: its vector in the plot, -1 for none
        double sensAtX = 0.0;         ///< the sensitivity is read at the row nearest this x
        std::vector<double> sensDistance;
    };
    Live live_;
};

/// The analyses built on WcMcAnalysis: kind, nickname and the common parts
/// from Analyses::Analysis, everything else from the settings.
template <class Derived, Analyses::AnalysisType Kind, int WorstCase, unsigned NoOutputMessage>
class CANAL_EXPORT WcMcKindAnalysis : public AnalysisIdentity<Derived, Kind>, public WcMcAnalysis {
public:
    explicit WcMcKindAnalysis(const Analyses* main = nullptr)
        : AnalysisIdentity<Derived, Kind>(main), WcMcAnalysis(main, WorstCase) {
        WcMcKindAnalysis::reset();
    }

    using Analyses::Analysis::toNutmegCommand;
    using Analyses::Analysis::toReadableText;
    using WcMcAnalysis::toNutmegCommand;
    using WcMcAnalysis::toReadableText;

    CString GetAnalysisNickname() const override {
        return AnalysisIdentity<Derived, Kind>::GetAnalysisNickname();
    }
    Analyses::AnalysisType GetType() const override { return Kind; }
    /// The common fields first, then the settings.
    void reset() override {
        Analyses::Analysis::reset();
        WcMcAnalysis::reset();
    }
    int GetNodeType() const override { return WcMcAnalysis::GetNodeType(); }
    int GetOutputVariableClass() const override { return WcMcAnalysis::GetOutputVariableClass(); }
    int CanSimulate() const override { return WcMcAnalysis::CanSimulate(); }
    CString ExplainWhyCannotSimulate() override {
        return CanSimulate() ? CString() : GetResourceString(NoOutputMessage);
    }
    const Analyses* GetMainAnalyses() const { return Analyses::Analysis::GetMainAnalyses(); }

protected:
    CString toNutmegCommandHelper() const override { return WcMcAnalysis::toNutmegCommand(); }
    CPropertyList toPropertyListHelper() const override { return WcMcAnalysis::toPropertyList(); }
    int fromPropertyListHelper(const CPropertyList& list) override {
        return WcMcAnalysis::fromPropertyList(list);
    }
    void toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const override {
        WcMcAnalysis::toReadableText(log, parent);
    }
};

class CANAL_EXPORT Analyses::Monte
    : public WcMcKindAnalysis<Analyses::Monte, Analyses::AnalysisType::Monte, 0,
                              IDS_MC_ERR_NO_OUTPUT> {
public:
    using WcMcKindAnalysis::WcMcKindAnalysis;
};

class CANAL_EXPORT Analyses::Worst
    : public WcMcKindAnalysis<Analyses::Worst, Analyses::AnalysisType::Worst, 1,
                              IDS_WC_ERR_NO_OUTPUT> {
public:
    using WcMcKindAnalysis::WcMcKindAnalysis;
};
