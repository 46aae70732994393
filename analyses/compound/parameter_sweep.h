// Parameter and temperature sweeps: the settings of one sweep level, their record, and the run
// that repeats an inner analysis once per swept value and gathers every run on one page.
#pragma once

#include "analyses/compound/sweep_variation.h"
#include "analyses/single/ac.h"
#include "analyses/single/tran.h"
#include "canal/export.h"
#include "engine/device_member.h"
#include "engine/plot_event_sink.h"
#include "platform/grapher.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

class CASimulationEngine;

/// One level of a sweep: what is swept (an instance parameter, a model parameter or the
/// temperature), the values (one SweepVariation per kind of quantity), and the analysis run at
/// each value (operating point, AC, transient, or a nested sweep one level deeper, which it
/// owns). The engine rebuilds one from the "orvo psweep"/"orvo tsweep" request and runs it;
/// while it runs it is the engine's event sink and turns the simulator's plots into traces.
class CANAL_EXPORT ParameterSweep : public CPlotEventSink {
public:
    enum SweepType : int32_t { DeviceSweep = 0, ModelSweep = 1, TemperatureSweep = 2 };
    enum SweepAnalysisType : int32_t { InnerOp = 0, InnerAc = 1, InnerTran = 2, InnerSweep = 3 };

    /// `owner` (borrowed, may be null) is the collection that gives the engine; `level` is 1
    /// for the outermost sweep. Sweep type 0, inner transient, traces grouped, every
    /// variation an empty list, then reset.
    explicit ParameterSweep(const Analyses* owner = nullptr, int level = 1);
    /// A deep copy: the nested sweep is copied too. Run state is not.
    ParameterSweep(const ParameterSweep& other);
    /// The same copy; the instance is not used.
    ParameterSweep(const ParameterSweep& other, Instance* instance);
    ParameterSweep& operator=(const ParameterSweep& other);
    ~ParameterSweep() override;

    /// Member-wise copy of the settings, nested sweep deep-copied; the run state stays.
    void structCopy(const ParameterSweep& other);
    /// Copies `other`'s settings, its circuit members re-found by name in `circuit`
    /// (borrowed for the call), through the engine the members use.
    void copyMemberToSweep(const ParameterSweep& other, CSpiceCircuit& circuit);

    /// Resets the AC and transient settings, the nested sweep, and every variation, member and
    /// parameter. Sweep type, inner analysis and the group flag stay as they are.
    void reset();

    // Identity: a sweep answers TSWEEP exactly when its nickname is "TSWEEP".
    Analyses::AnalysisType GetType() const;
    CString GetAnalysisNickname() const { return AnalysisNickname(GetType()); }
    /// The nickname as set, "" when none was.
    const CString& GetAnalysisName() const { return nickname_; }
    void SetNickName(const CString& nickname) { nickname_ = nickname; }
    /// ANALYSIS_TYPE of the inner analysis (a nested sweep answers for itself; 0 without one).
    int GetNodeType() const;
    int GetOutputVariableClass() const;
    /// "Hz" over an AC inner analysis, "s" over a transient one, else "".
    CString GetXAxisUnitString() const;

    SweepType GetSweepType() const { return sweepType_; }
    void SetSweepType(SweepType t) { sweepType_ = t; }
    SweepAnalysisType GetAnalysisType() const { return analysisType_; }
    SweepAnalysisType GetSweepAnalysisType() const { return analysisType_; }
    /// Stores `t`; InnerSweep creates the nested sweep (level + 1) when there is none yet.
    /// Another choice later keeps the nested sweep.
    void SetSweepAnalysisType(SweepAnalysisType t);

    /// Index 0: the instance, 1: the model; 2 (temperature) stays empty.
    CSPICEdevMember& GetMemberToSweep(SweepType t) { return members_[Index(t)]; }
    std::array<CSPICEdevMember, 3>& GetMembersToSweep() { return members_; }
    CSPICEparam& GetMemberParameterToSweep(SweepType t) { return params_[Index(t)]; }
    std::array<CSPICEparam, 3>& GetMemberParametersToSweep() { return params_; }
    /// The values of the current sweep type.
    SweepVariation& GetVariation() { return variations_[Index(sweepType_)]; }
    const SweepVariation& GetVariation() const { return variations_[Index(sweepType_)]; }
    SweepVariation& GetSweepVariation(int type) { return variations_[Index(type)]; }
    const SweepVariation& GetSweepVariation(int type) const { return variations_[Index(type)]; }
    AcAnalysis& GetAc() { return ac_; }
    const AcAnalysis& GetAc() const { return ac_; }
    TranAnalysis& GetTran() { return tran_; }
    const TranAnalysis& GetTran() const { return tran_; }
    int GetGroupAllTraces() const { return groupAllTraces_; }
    void SetGroupAllTraces(int v) { groupAllTraces_ = v; }
    int GetNestingLevel() const { return level_; }
    /// Owned by this sweep; null while none was ever needed.
    ParameterSweep* GetNestedSweep() { return nested_.get(); }
    const ParameterSweep* GetNestedSweep() const { return nested_.get(); }
    void deleteNestedSweep() { nested_.reset(); }
    const Analyses* GetMainAnalyses() const { return GetEventOwner(); }
    /// The settings of the collection's sweep of the same kind; null without one.
    const ParameterSweep* GetMainAnalysis() const;
    /// Why the sweep would run nothing useful ("" when it can run): no element or parameter
    /// chosen, no values, or the nested level's own reason.
    CString GetError() const;

    /// "orvo psweep " (or "orvo tsweep ") + the record's text + "; ".
    CString toNutmegCommand() const;
    /// Keys in fixed order; the nested sweep's record, when there is one, under its name.
    CPropertyList toPropertyList() const;
    /// Reads over the current settings. An unknown label with a list value is the nested
    /// sweep's record whatever the label. 1 when every key was known and every nested reader
    /// succeeded; reading goes on past failures.
    int fromPropertyList(const CPropertyList& list);
    void toReadableText(CTreeLog& log, _TREEITEM* parent) const;

    /// Runs the sweep as the engine's event sink: per value of the current variation, apply
    /// it, run the inner analysis and add its traces to the engine's open page (a page per
    /// value when traces are not grouped) with a line in the page's run log; then put the
    /// remembered value back. `text` (may be null) is the outer sweep's current label;
    /// `counter` (may be null) numbers the runs across nested levels. 1 when the walk
    /// completed; 0 without a collection, when a simulator command failed or on a stop.
    int ExecuteAnalysis(const char* text, long* counter);

    // Run state, valid while ExecuteAnalysis runs (and the last values after it).
    int GetStopSimulationFlag() const { return stopFlag_; }
    /// Whether the plot being received is real (not complex).
    int GetRealPlotFlag() const { return realPlot_; }
    int GetNumTraces() const { return static_cast<int>(traceNames_.size()); }
    /// Name of the n-th trace this sweep added; "" out of range.
    CString GetTraceName(int n) const;
    /// Index (into the trace names) of the first trace of the current value.
    int GetFirstTraceOfIter() const { return firstTraceOfIter_; }
    /// The engine page being filled; null outside a run.
    CGrapherPage* GetPage() const { return page_; }
    const CString& GetOuterLabel() const { return outerLabel_; }
    const CString& GetCurrentLabel() const { return currentLabel_; }
    const CString& GetSweepIterLabel() const { return iterLabel_; }

private:
    static size_t Index(int t) { return t >= 0 && t <= 2 ? static_cast<size_t>(t) : 0; }
    /// The stored keys in their written order; the nested sweep's row has no label.
    static std::span<const PropertyKeys::Key<ParameterSweep>> Keys();
    /// Reads a nested record into the nested sweep, creating it when there is none.
    int ReadNested(const CPropertyItem& item);

    int OUTpBeginPlot(const CSpiceArgs& args) override;
    int OUTpData(const CSpiceArgs& args) override;
    int OUTendPlot(const CSpiceArgs& args) override;

    /// Applies one value: snap-in 2018 (instance) or 2019 (model), or "set temp = V" /
    /// "set -temp" for an empty value. Without a snap-in a parameter is left alone.
    void SetSelectedParameter(const CSPICEdevMember& member, const CSPICEparam& parameter,
                              CPropertyItem value);
    /// "Temperature", or "NAME[PARAM]" of the member and parameter.
    CString QuantityName(const CSPICEdevMember& member, const CSPICEparam& parameter) const;
    /// The value to put back after the walk: the parameter's stored value, else the
    /// circuit's present one.
    CPropertyItem PresentValue(CSPICEdevMember& member, const CSPICEparam& parameter) const;
    /// Runs the inner analysis once; the engine's result (a nested sweep's result).
    int RunInner(CASimulationEngine& engine, long* counter);
    /// Takes the engine's open page and sets it up: title and run log at the outermost
    /// level, the x axis at the innermost.
    void OpenPage(CASimulationEngine& engine, const CString& quantity);
    /// Hands the page back to the engine as finished.
    void FinishPage(CASimulationEngine& engine);

    SweepType sweepType_ = DeviceSweep;
    SweepAnalysisType analysisType_ = InnerTran;
    // Mutable: a member rebuilds its record lazily, also when the sweep is only written.
    mutable std::array<CSPICEdevMember, 3> members_;
    std::array<CSPICEparam, 3> params_;
    std::array<SweepVariation, 3> variations_;
    AcAnalysis ac_;
    TranAnalysis tran_;
    int groupAllTraces_ = 1;
    int level_ = 1;
    std::unique_ptr<ParameterSweep> nested_;
    // The owner is the event sink's owner (GetEventOwner): one pointer, not two.
    CString nickname_;

    // Run state.
    int stopFlag_ = 0;
    int realPlot_ = 1;
    std::vector<CString> traceNames_;
    int firstTraceOfIter_ = 0;
    CGrapherPage* page_ = nullptr;
    ChartLog* runLog_ = nullptr; ///< the page's log of runs, shared with nested levels
    CString outerLabel_;
    CString currentLabel_;
    CString iterLabel_;
    double currentValue_ = 0.0;
    /// The plot being received and where each collected vector goes.
    struct Collected {
        int vector;
        CGrapherTrace* trace;
    };
    bool collecting_ = false; ///< an inner run is under way
    CSpicePlotInfo plot_;
    std::vector<Collected> collected_;
};
