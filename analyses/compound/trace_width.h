// Trace width analysis: the largest current through every component pin in a
// transient run, and the copper trace width each pin needs.
#pragma once

#include "analyses/compound/trace_width_math.h"
#include "analyses/single/tran.h"
#include "canal/export.h"
#include "engine/plot_event_sink.h"
#include "platform/lists.h"

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

class CASimulationEngine;

/// The settings of a trace width run (its transient run, the allowed heating
/// and the copper weight) and the run itself: ExecuteAnalysis runs the
/// transient on the collection's engine, the plot callbacks keep one record
/// per pin-current vector, and the results go to a chart log and a table on
/// the engine's page. Copies do not share an open diagnostic file.
class CANAL_EXPORT TraceWidthAnalysis : public TranAnalysis, public CPlotEventSink {
public:
    /// `main` is borrowed (may be null); its engine runs the analysis.
    explicit TraceWidthAnalysis(const Analyses* main = nullptr);
    TraceWidthAnalysis(const TraceWidthAnalysis&) = default;
    TraceWidthAnalysis& operator=(const TraceWidthAnalysis&) = default;

    /// The transient settings first, then the three of the trace width.
    void reset() override;
    Analyses::AnalysisType GetType() const override { return Analyses::AnalysisType::TraceWidth; }
    CString GetAnalysisNickname() const override { return s_GetAnalysisNickname(); }
    static CString s_GetAnalysisNickname() {
        return AnalysisNickname(Analyses::AnalysisType::TraceWidth);
    }

    int GetSetNodesUsingResults() const { return setNodesUsingResults_; }
    void SetSetNodesUsingResults(int v) { setNodesUsingResults_ = v; }
    /// Copper weight in ounces per square foot.
    double GetTraceWeight() const { return traceWeight_; }
    void SetTraceWeight(double ounces) { traceWeight_ = ounces; }
    /// Allowed temperature rise above ambient, degrees Celsius.
    double GetMaxTempAboveAmbient() const { return maxTempAboveAmbient_; }
    void SetMaxTempAboveAmbient(double degrees) { maxTempAboveAmbient_ = degrees; }

    /// One record per pin-current vector of the last transient plot; sorted
    /// by component and pin once ExecuteAnalysis has reported them.
    CopiableSList<TraceWidthData>& GetDataList() { return dataList_; }
    const CopiableSList<TraceWidthData>& GetDataList() const { return dataList_; }

    /// "save all; iplot all; orvo TRACEWIDTH " + the settings record, every
    /// pin current saved so that the engine sees them.
    CString toNutmegCommand() const;
    /// "Tran" (the transient settings), "MaxTempAboveAmbient",
    /// "SetNodesUsingResults", "TraceWeight".
    CPropertyList toPropertyList() const;
    /// Applies every known item; 0 when some label was unknown.
    int fromPropertyList(const CPropertyList& list);
    void toReadableText(CTreeLog& log, _TREEITEM* parent) const;

    /// The settings of the collection's trace width analysis; null without a
    /// collection or when it has none.
    const TraceWidthAnalysis* GetMainAnalysis() const;
    /// Copies the main analysis's settings into this object; 0 when there is none.
    int LoadFromMainAnalysis();

    /// Runs the transient, then writes the log "Trace Width Results" (one line
    /// per pin, sorted by component and pin in natural order), the table
    /// "Trace Widths" and, when the engine has an output folder, the files
    /// tw_data and tw_data_tran there. Non-zero when the transient ran to its
    /// end; 0 for a failed command, a stop, or no collection.
    virtual int ExecuteAnalysis();

    /// The stored keys, in their written order.
    static std::span<const PropertyKeys::Key<TraceWidthAnalysis>> Keys();

private:
    /// A plot starts: the page is named, the records are made afresh.
    int OUTpBeginPlot(const CSpiceArgs& args) override;
    /// Every record takes its vector's value of the row at the row's time.
    int OUTpData(const CSpiceArgs& args) override;
    int OUTendPlot(const CSpiceArgs& args) override;

    CASimulationEngine* Engine() const;
    /// Hands every record's width to the snap-in (nothing without one).
    void SetNodes(CASimulationEngine& engine) const;
    /// Writes "name  maximum" per record into the per-point file.
    void WriteMaxima();

    int32_t setNodesUsingResults_ = 0;
    double traceWeight_ = 1.0;
    double maxTempAboveAmbient_ = 10.0;
    CopiableSList<TraceWidthData> dataList_;

    /// A diagnostic file open for one run; copies start without one.
    class RunFile {
    public:
        RunFile() = default;
        RunFile(const RunFile&) {}
        RunFile& operator=(const RunFile&) { return *this; }
        /// Opens (truncates) `path`; a file that cannot be opened is skipped.
        void Open(const std::string& path);
        void Close() { out_.reset(); }
        /// Null while no file is open.
        std::ofstream* Get() const { return out_.get(); }

    private:
        std::unique_ptr<std::ofstream> out_;
    };

    // State of the plot being received.
    std::vector<int> vectorIndex_; ///< per record, its vector's position in a row
    int scaleIndex_ = -1;
    RunFile tranFile_; ///< tw_data_tran while a plot runs
};

/// Trace width analysis: a transient run whose result is a minimum trace width per component pin.
class CANAL_EXPORT Analyses::TraceWidth
    : public SettingsAnalysis<Analyses::TraceWidth, Analyses::AnalysisType::TraceWidth,
                              TraceWidthAnalysis>,
      public TranAccessors<Analyses::TraceWidth> {
public:
    using SettingsAnalysis::SettingsAnalysis;

    /// Needs no output variable: every pin current is saved.
    int CanSimulate() const override { return 1; }
    CString ExplainWhyCannotSimulate() override { return CString(); }
    /// The host must put a sense source in series with every component pin.
    int KeepTrackOfCurrentsAtComponentTerminals() override { return 1; }

    TraceWidthAnalysis& GetTraceWidthAnalysis() { return GetSettings(); }
    const TraceWidthAnalysis& GetTraceWidthAnalysis() const { return GetSettings(); }
    TranAnalysis& GetTranAnalysis() { return GetSettings(); }
    const TranAnalysis& GetTranAnalysis() const { return GetSettings(); }

    int GetSetNodesUsingResults() const { return GetSettings().GetSetNodesUsingResults(); }
    void SetSetNodesUsingResults(int v) { GetSettings().SetSetNodesUsingResults(v); }
    double GetTraceWeight() const { return GetSettings().GetTraceWeight(); }
    void SetTraceWeight(double ounces) { GetSettings().SetTraceWeight(ounces); }
    double GetMaxTempAboveAmbient() const { return GetSettings().GetMaxTempAboveAmbient(); }
    void SetMaxTempAboveAmbient(double degrees) { GetSettings().SetMaxTempAboveAmbient(degrees); }

    int LoadFromMainAnalysis() { return GetSettings().LoadFromMainAnalysis(); }
    const TraceWidthAnalysis* GetMainAnalysis() const { return GetSettings().GetMainAnalysis(); }
};

/// The engine's "TRACEWIDTH" request: a trace width analysis on `analyses`
/// (borrowed, may be null) reads `record` and runs with its event sink set on
/// `engine`. Returns the analysis's result.
int ExecuteTraceWidthCommand(CASimulationEngine& engine, Analyses* analyses,
                             const CPropertyList& record);
