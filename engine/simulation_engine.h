// The simulation engine: where the analysis model meets the simulator host.
// Runs compound requests, holds the running analysis's event sink, caches node
// lists and circuit members, drives the status bar and keeps result pages.
#pragma once

#include "analyses/core/analyses.h"
#include "canal/export.h"
#include "engine/device_member.h"
#include "platform/complex.h"
#include "platform/events.h"
#include "platform/frontend.h"
#include "platform/grapher.h"
#include "platform/spice.h"
#include "platform/spice_circuit.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

class CRunDistributor;
class CRunTape;

/// Estimates time per unit of x over the last N updates with running sums, so
/// that each update is constant time and allocation-free.
class CANAL_EXPORT CProgressRate {
public:
    explicit CProgressRate(int slots = 128);

    /// Starts a new window at x `startX` and time `startTime` (seconds).
    void Reset(double startX, double startTime);
    /// Adds the step from the last point to (`x`, `t`), dropping the oldest step.
    void Add(double x, double t);
    /// Seconds per unit of x over the window; 0 while the x steps sum below 1e-8.
    double GetRate() const;
    int GetCapacity() const { return static_cast<int>(xSteps_.size()); }

private:
    int index_ = 0;
    double lastX_ = 0.0;
    double lastTime_ = 0.0;
    double sumX_ = 0.0;
    double sumTime_ = 0.0;
    std::vector<double> xSteps_;
    std::vector<double> timeSteps_;
};

/// The engine of one open circuit. The base class needs no simulator: every
/// virtual that would talk to one answers harmlessly, so the model runs on its
/// own; a host derives its engine and overrides what its simulator offers.
/// Copying copies every field (borrowed pointers stay borrowed).
class CANAL_EXPORT CASimulationEngine {
public:
    /// Minimum milliseconds between two unforced status-bar updates.
    static constexpr uint32_t StatusThrottleMs = 33;
    /// Node kinds of the synthetic and user node names.
    enum NodeKind : int { VoltageNode = 3, CurrentNode = 4, ParameterNode = 5 };

    CASimulationEngine();
    CASimulationEngine(const CASimulationEngine&) = default;
    CASimulationEngine& operator=(const CASimulationEngine&) = default;

    // Virtual operations, in their fixed slot order.
    virtual ~CASimulationEngine();
    /// 1 when the circuit is fit for an analysis of `type`.
    virtual int PerformConsistencyCheck(ANALYSIS_TYPE type);
    /// "____N.raw": the scratch raw file of the n-th output plot.
    virtual CString GetAllocFile(int n);
    virtual void OutputString(const CString& text, OUTPUT_TYPE type);
    /// Refills the simple node lists (synthetic names in this class), then
    /// prunes the user nodes and rebuilds the combined lists. Nothing while locked.
    virtual void UpdateAnalysisNodeList();
    /// Non-zero when the user asked the running analysis to stop.
    virtual int WantStopNow();
    virtual void StopSimulation(CSpiceSession* session);
    virtual int IsSpecialNode(const CString& name) const;
    virtual CComplex GetValueOfNode(const CString& name);
    /// The simulator's sessions (borrowed), or null without a simulator.
    virtual CSpiceSessionAgency* GetSessionDistributor();
    /// The "param" records of an instance's parameters (see SpiceParameterRecords).
    virtual CPropertyList GetInstanceValues(const CSpiceInstance& instance,
                                            const CSpiceModel& model, const CSpiceDevice& device);
    virtual CPropertyList GetModelValues(const CSpiceModel& model, const CSpiceDevice& device);
    /// Runs Nutmeg text on the simulator, plot data arriving as events at the
    /// analysis event sink; non-zero on success.
    virtual int SilentExecuteSimulatorCommand(CString command);

protected:
    /// Drops user parameter nodes whose element or output parameter is gone.
    virtual void UpdateSelectedDeviceList();
    virtual void AddSelectedDeviceListToUserAndAnalysisNodeList();
    virtual void UpdateInstanceList();
    virtual void UpdateModelList();
    virtual void Update_analysisNodeList(OutputVariableClass c);
    virtual void Update_userNodeList();
    virtual void Update_userAndAnalysisNodeList(OutputVariableClass c);

public:
    /// Runs a compound request "KEYWORD RECORD" (what follows "orvo" in a
    /// script) on `analyses` (borrowed). The analysis lives for the call only;
    /// its event sink is set while it runs. Returns its result; 0 for a blank
    /// command or a keyword that names no compound analysis.
    int ExecuteCommand(Analyses* analyses, CString command);

    /// Marks every cache dirty (true: the circuit changed) or clean.
    void SetCircuitDataState(bool dirty);
    /// Non-zero nests a lock, zero releases one; UpdateAnalysisNodeList does
    /// nothing while any lock is held.
    void LockUpdateAnalysisNodeList(int lock);
    int GetUpdateLockCount() const { return updateLockCount_; }

    // Lazy caches: each refreshes through its update operation when dirty.
    CSPICEdevMemberList& GetModelList();
    const CSPICEdevMemberList& GetModelList() const;
    CSPICEdevMemberList& GetInstanceList();
    const CSPICEdevMemberList& GetInstanceList() const;
    /// The simulator's output variables of class `c` (out of range: class 0).
    CSpiceNodeNameList& GetSimpleAnalysisNodes(OutputVariableClass c);
    /// The output variables of class `c` followed by the user nodes.
    CSpiceNodeNameList& GetAnalysisNodes(OutputVariableClass c);
    CParamNodeList& GetUserNodes() { return userNodes_; }
    const CParamNodeList& GetUserNodes() const { return userNodes_; }

    CEventSink* GetAnalysisEventSink() const { return analysisEventSink_; }
    void SetAnalysisEventSink(CEventSink* sink) { analysisEventSink_ = sink; }
    /// The host's way to the running analysis: hands a plot event to the analysis event sink
    /// and returns its answer (0 without a sink). Inside a run that is being recorded the
    /// event is kept for the process that merges the runs.
    int SendAnalysisEvent(CEventSource* source, const EventData& data);
    CGuiFE* GetGuiFE() const { return guiFE_; }
    void SetGuiFE(CGuiFE* fe) { guiFE_ = fe; }
    /// The simulator snap-in (borrowed), or null when parameters cannot be set. Null also while
    /// a run made elsewhere is played back: its parameters were set where it ran.
    CInstrumentInterface* GetSimulatorSnapIn() const {
        return tape_ && !recording_ ? nullptr : simulatorSnapIn_;
    }
    void SetSimulatorSnapIn(CInstrumentInterface* snapIn) { simulatorSnapIn_ = snapIn; }
    const CString& GetIPlot() const { return iPlot_; }
    void SetIPlot(const CString& iplot) { iPlot_ = iplot; }
    int GetIPlotCount() const { return iPlotCount_; }
    void SetIPlotCount(int count) { iPlotCount_ = count; }

    // Independent runs of compound analyses.
    /// Where the independent runs go (borrowed, may be null: every run here, in order). The
    /// distributor must outlive its use by this engine.
    void SetRunDistributor(CRunDistributor* distributor) { distributor_ = distributor; }
    CRunDistributor* GetRunDistributor() const { return distributor_; }
    /// Makes run `index`: the analysis code of one run, its simulator commands going through
    /// RunSimulatorCommand. Whatever else it changes is the business of the process it ran in.
    using RunJob = std::function<void(size_t index)>;
    /// Merges run `index` into the results, in run order, in this process: the same analysis
    /// code makes the run again, its commands answered with what the job received (or failing
    /// with the worker's message when the job failed). False ends the runs.
    using RunMerge = std::function<bool(size_t index)>;
    /// Makes `count` independent runs through the distributor and merges them in order. Without
    /// one, or inside a run that is being recorded or played back, `merge` alone makes each
    /// run here. The front end hears the number of runs merged (GUIFE_RUN_PROGRESS). False when
    /// a stop request ended the runs before all were merged.
    bool MapRuns(size_t count, const RunJob& job, const RunMerge& merge);
    /// The analyses' way to the simulator: SilentExecuteSimulatorCommand, recorded inside a run
    /// being recorded, answered from the recording while one is played back.
    int RunSimulatorCommand(const CString& command);
    /// A simulator failure message the host records: kept on a run being recorded, so that the
    /// merging process reports it too.
    void NoteSimulatorFailure(const CString& message);
    /// What hears the failure messages of played-back runs (the host's own record of
    /// failures); may be empty.
    void SetFailureReplay(std::function<void(const CString&)> replay) {
        failureReplay_ = std::move(replay);
    }

    // Status bar.
    /// Stores `type`, takes its nickname as the text and empties the units.
    void SetStatusBarAnalysisType(ANALYSIS_TYPE type);
    void SetStatusBarAnalysisText(const CString& text) { statusAnalysisText_ = text; }
    void SetStatusBarAnalysisUnits(const CString& units) { statusAnalysisUnits_ = units; }
    /// The current x value (seconds, hertz, the swept value).
    void SetStatusBarAnalysisTime(double x) { statusAnalysisTime_ = x; }
    void StartUpdateStatusBarAnalysisData();
    /// Shows the analysis text and x value; unforced calls within 33 ms of the
    /// last update do nothing. Needs a front end.
    void UpdateStatusBarAnalysisData(int force);
    void EndUpdateStatusBarAnalysisData();
    const CProgressRate& GetProgressRate() const { return progressRate_; }
    /// Seconds per unit of x as last computed by an update.
    double GetLastRate() const { return lastRate_; }
    /// The millisecond clock of the throttle (GetTickCount unless replaced).
    void SetTickSource(std::function<uint32_t()> ticks) { tickSource_ = std::move(ticks); }
    /// Nickname of a simulator analysis type ("AC", "TRAN", ...); "" when unknown.
    static CString ConvertAnalysisToNickname(ANALYSIS_TYPE type);

    // Result pages of compound analyses.
    /// The page being filled, created empty on first use; the reference stays
    /// valid until ReleaseGrapherPage.
    CGrapherPage& OpenGrapherPage();
    bool HasOpenGrapherPage() const { return openPage_.has_value(); }
    /// Finishes the open page (nothing when none is open); finished pages are
    /// kept in order.
    void ReleaseGrapherPage();
    const std::vector<CGrapherPage>& GetGrapherPages() const { return finishedPages_; }
    /// Hands the finished pages to the caller and forgets them.
    std::vector<CGrapherPage> TakeGrapherPages();

    /// The folder a run writes its diagnostic files into (trace width data,
    /// say); empty (the default) writes none. Not created here: a folder that
    /// cannot be written to loses the files silently, never the results.
    void SetOutputFolder(const CString& folder) { outputFolder_ = folder; }
    const CString& GetOutputFolder() const { return outputFolder_; }

    /// The sample records that show the shape of what GetModelValues and
    /// GetInstanceValues return; parsed and dropped by UpdateAnalysisNodeList.
    static const char* SampleModelRecords();
    static const char* SampleInstanceRecords();

protected:
    // Caches that derived engines fill in their update operations.
    CSpiceNodeNameList analysisNodes_[8];
    CParamNodeList userNodes_;
    CSpiceNodeNameList userAndAnalysisNodes_[8];
    mutable CSPICEdevMemberList modelList_;
    mutable CSPICEdevMemberList instanceList_;

private:
    uint32_t Ticks() const;

    int32_t updateLockCount_ = 0;
    CEventSink* analysisEventSink_ = nullptr;
    CInstrumentInterface* simulatorSnapIn_ = nullptr;
    CString iPlot_;
    int32_t iPlotCount_ = 0;
    ANALYSIS_TYPE statusAnalysisType_ = AT_NONE;
    CString statusAnalysisText_;
    CString statusAnalysisUnits_;
    double statusAnalysisTime_ = 0.0;
    uint32_t lastStatusUpdateTicks_ = 0;
    CProgressRate progressRate_{128};
    CGuiFE* guiFE_ = nullptr;
    mutable int32_t modelListDirty_ = 0;
    mutable int32_t instanceListDirty_ = 0;
    int32_t analysisNodesDirty_[8] = {};
    int32_t selectedDeviceListDirty_ = 0;
    int32_t userAndAnalysisNodesDirty_[8] = {};

    // Beyond the host's fields: our own clock hook and result pages.
    double lastRate_ = 0.0;
    std::function<uint32_t()> tickSource_;
    std::optional<CGrapherPage> openPage_;
    std::vector<CGrapherPage> finishedPages_;
    CString outputFolder_;

    // Independent runs: where they go, and the tape of the run being recorded or played back.
    CRunDistributor* distributor_ = nullptr;
    CRunTape* tape_ = nullptr;
    bool recording_ = false;
    std::function<void(const CString&)> failureReplay_;
    friend class RunTapeScope;
};

/// Sets an engine's analysis event sink for one scope and clears it on exit,
/// so the sink never outlives the analysis it points at.
class CANAL_EXPORT AnalysisSinkScope {
public:
    AnalysisSinkScope(CASimulationEngine& engine, CEventSink* sink) : engine_(engine) {
        engine_.SetAnalysisEventSink(sink);
    }
    ~AnalysisSinkScope() { engine_.SetAnalysisEventSink(nullptr); }
    AnalysisSinkScope(const AnalysisSinkScope&) = delete;
    AnalysisSinkScope& operator=(const AnalysisSinkScope&) = delete;

private:
    CASimulationEngine& engine_;
};
