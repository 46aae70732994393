// The simulation engine on ngspice: compound analyses run their inner analyses, change circuit
// parameters and read the circuit's members through it.
#pragma once

#include "canal/ngspice_export.h"
#include "engine/compound_commands.h"
#include "engine/simulation_engine.h"
#include "host/ngspice/circuit_reader.h"
#include "host/ngspice/forked.h"
#include "host/ngspice/pin_probes.h"
#include "host/ngspice/plot_forwarder.h"
#include "host/ngspice/script_runner.h"

#include <atomic>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace host {

class NgSpiceSession;
class NgSpiceEngine;
struct SensitivityPlot; ///< a plot as the sensitivity child sends it back

/// The engine's simulator snap-in: property 2018 (names: device, model, instance, parameter)
/// becomes "alter @INSTANCE[PARAM] = V", 2019 (device, model, parameter) "altermod MODEL PARAM =
/// V". Empty device or model names match any. A change the circuit cannot take answers 0 and
/// makes the engine's next silent command fail with the reason.
class CANAL_NGSPICE_EXPORT NgSpiceSnapIn : public CInstrumentInterface {
public:
    explicit NgSpiceSnapIn(NgSpiceEngine& engine) : engine_(engine) {}
    /// `names` holds a CStringArray, `value` a CPropertyItem (or a number or text).
    int SetProperty(long id, const IITVariant& names, const IITVariant& value,
                    CTreeInstance* instance) override;

private:
    NgSpiceEngine& engine_;
};

/// The engine of one circuit on the process's ngspice session.
///
/// Contract. The engine borrows the session, which outlives it. It makes itself the engine of
/// the circuit members (CSPICEdevMember::SetASimEng) and its snap-in the simulator snap-in.
/// Everything runs on the calling thread: plot events reach the analysis event sink inside
/// SilentExecuteSimulatorCommand. Not copyable.
///
/// A compound analysis runs inside Run (an "orvo" statement of a script) or RunCompound: the
/// circuit's members are read first, the analysis drives ngspice through this engine, and
/// afterwards the circuit is put back as the netlist has it (parameters, temperature), so that
/// later analyses see the circuit the user wrote.
class CANAL_NGSPICE_EXPORT NgSpiceEngine : public CASimulationEngine {
public:
    explicit NgSpiceEngine(NgSpiceSession& session);
    ~NgSpiceEngine() override;
    NgSpiceEngine(const NgSpiceEngine&) = delete;
    NgSpiceEngine& operator=(const NgSpiceEngine&) = delete;

    // --- circuit --------------------------------------------------------------------------
    /// Loads a netlist file (relative includes from its folder); false with ngspice's message.
    bool LoadCircuitFile(const std::string& path, std::string& error);
    /// Loads a netlist given as lines, the title first.
    bool LoadCircuitLines(const std::vector<std::string>& lines, std::string& error);
    /// What was read of the loaded circuit (kinds, models, instances, parameter tables and
    /// values, nodes), read now when stale. The reference lives until the next read.
    const CircuitContents& Contents();
    /// Seconds the last read of the circuit took.
    double LastReadSeconds() const { return readSeconds_; }

    // --- running ---------------------------------------------------------------------------
    /// Runs a framed script of the host dialect. Its "orvo KEY RECORD" statements run the
    /// compound analysis on `analyses` (borrowed, may be null) through RunCompound; the
    /// engine's stop request stops the script. `options` may add a status callback and more.
    RunResult Run(const std::string& script, Analyses* analyses, RunOptions options = {});
    /// Runs one compound request ("MONTE NumRuns:int{500} ...", the text after "orvo") through
    /// ExecuteCommand: reads the circuit's members first when stale, turns the pin probes on
    /// for "TRACEWIDTH", restores the circuit afterwards. False with the message in `error`
    /// when the analysis failed.
    bool RunCompound(const std::string& keyAndRecord, Analyses* analyses, std::string& error);
    /// The table RunCompound dispatches through (the library's CompoundCommands() unless
    /// replaced); the span must outlive its use.
    void SetCompoundCommands(std::span<const CompoundCommand> table) { commands_ = table; }

    /// Whether sensitivity runs work around ngspice 39's crash on BJTs without "rco" (on by
    /// default; off shows the crash, contained in the child, as a failed command).
    void SetSensitivityRepairs(bool on) { repairSensitivity_ = on; }

    /// ngspice's last message of a failed command or parameter change ("" after a success).
    const std::string& LastError() const { return lastError_; }

    // --- stopping --------------------------------------------------------------------------
    /// Asks the running analysis to stop after its current inner run. Safe from a signal
    /// handler.
    void RequestStop() { stopRequested_.store(true); }
    /// Also stop when `*flag` is set (borrowed, may be null; e.g. the tool's SIGINT flag).
    void SetStopFlag(const std::atomic<bool>* flag) { stopFlag_ = flag; }
    void ClearStop();
    /// Whether an analysis acknowledged a stop request (StopSimulation) since ClearStop.
    bool WasStopped() const { return stopped_; }

    // --- pin currents ----------------------------------------------------------------------
    /// With probes, the circuit runs with a 0 V source in series with every pin and the inner
    /// runs' plots carry each pin's current under the trace-width name
    /// ("xr1.pinvoltagev--1#branch"). Reloads the circuit; false with a message when ngspice
    /// rejects the probed deck.
    bool SetPinProbes(bool on, std::string& error);
    bool HasPinProbes() const { return probesOn_; }
    const std::vector<PinProbe>& PinProbes() const { return probes_; }

    // --- checks before a run ---------------------------------------------------------------
    /// Why a parameter change (2018 or 2019 with its names) cannot be made; "" when it can.
    std::string CheckParameterChange(long id, const CStringArray& names);
    /// The output variables of `names` ("v(out)", "i(v1)", "out", "v(a,b)") that name a node or
    /// source the circuit lacks; computed names ("@r1[i]", "all") are not checked.
    std::vector<std::string> UnknownOutputVariables(const std::vector<std::string>& names);
    /// Refusals for an analysis's settings record: members or parameters the circuit lacks (in
    /// "...ToSweep" / "...ParamToSweep" pairs, the sweep's own pair by "SweepType", and in every
    /// tolerance) and unknown nodes in "OutputVariable". Empty when the settings fit the circuit.
    std::vector<std::string> CheckSettings(const CPropertyList& record);
    /// From now on the circuit is read with the parameter values of only the elements that
    /// `record` names (its members and tolerances); the others keep their parameter tables but no
    /// values. A tool that runs one compound analysis needs no more, and reading every value of
    /// every element is its largest fixed cost. Takes effect at the next read.
    void ReadValuesOnlyFor(const CPropertyList& record);

    // --- CASimulationEngine ------------------------------------------------------------------
    int PerformConsistencyCheck(ANALYSIS_TYPE type) override;
    void OutputString(const CString& text, OUTPUT_TYPE type) override;
    int WantStopNow() override;
    void StopSimulation(CSpiceSession* session) override;
    CSpiceSessionAgency* GetSessionDistributor() override;
    CPropertyList GetInstanceValues(const CSpiceInstance& instance, const CSpiceModel& model,
                                    const CSpiceDevice& device) override;
    CPropertyList GetModelValues(const CSpiceModel& model, const CSpiceDevice& device) override;
    /// Runs Nutmeg text as inner runs of the running analysis: through the host dialect
    /// without pages and without resetting the circuit, the plot data going to the analysis
    /// event sink (4004-4006, stop polls 4007 between rows and after the command). Sensitivity
    /// analyses run in forked children (one per AC frequency), their vectors named
    /// "INSTANCE_PARAM" and "MODEL:PARAM". Returns 0, with the message in LastError, when
    /// ngspice failed, a child crashed, or a parameter change before it could not be made.
    int SilentExecuteSimulatorCommand(CString command) override;

    /// Messages of OutputString and of failures, in order.
    const std::vector<std::string>& Messages() const { return messages_; }

protected:
    void UpdateInstanceList() override;
    void UpdateModelList() override;
    void Update_analysisNodeList(OutputVariableClass c) override;

private:
    friend class NgSpiceSnapIn;

    /// A parameter change, with the value it replaced the first time (to put back).
    struct Change {
        bool model = false;
        std::string kind, modelName, element, parameter;
        CPropertyItem original;
    };

    /// Reads the circuit when what was read is stale and ngspice can be asked now (not from
    /// inside one of its callbacks).
    void EnsureRead();
    /// A change looked up in the circuit, ready for its value.
    struct PlannedChange {
        Change change;
        std::string command;     ///< "alter @r1[resistance] = "
        CSpiceInstance instance; ///< the members' element (an instance or a model)
        CSpiceModel model;
        bool recorded = false; ///< its first change is in `changes_`
    };

    int ChangeParameter(long id, const CStringArray& names, const CPropertyItem& value);
    /// The ngspice command of a change up to its value ("altermod dmod is = "), "-" when the
    /// names hold no parameter (the element was checked alone), or "" with the reason in
    /// `error`.
    std::string PlanChange(long id, const CStringArray& names, std::string& error, Change& change);
    bool RunBatch(const std::string& text);
    bool RunSensitivity(const std::string& statement);
    /// The commands that keep ngspice 39's sensitivity analysis from crashing on the circuit's
    /// BJT models; `repaired` names the models.
    std::vector<std::string> BjtSensitivityRepairs(std::string& repaired) const;
    /// Runs a sensitivity command in a child and reads the plots it sends back; false with the
    /// message in LastError when the child failed or crashed (then `*crashed` is set).
    bool SensitivityPlots(const std::string& command, const std::vector<std::string>& repairs,
                          std::vector<SensitivityPlot>& plots, bool* crashed = nullptr);
    /// Runs a sensitivity command in a forked child after the `repairs` commands; the child
    /// sends back every plot it made.
    ForkOutcome SensitivityChild(const std::string& command,
                                 const std::vector<std::string>& repairs);
    /// After a compound analysis: the circuit as the netlist has it, without probes when
    /// `dropProbes`.
    void RestoreCircuit(bool dropProbes);
    /// The members' values as they were before this engine's changes.
    void RevertMembers();
    void Loaded();
    void Fail(const std::string& message);
    bool LoadDeck(const std::vector<std::string>& deck, std::string& error);

    NgSpiceSession& session_;
    ScriptRunner runner_;
    NgSpiceSnapIn snapIn_{*this};
    CSpiceSessionAgency agency_;
    PlotEventForwarder forwarder_;
    RunOptions silent_; ///< the options of every inner run
    std::span<const CompoundCommand> commands_;
    bool repairSensitivity_ = true;

    CircuitContents contents_;
    std::optional<unsigned> readGeneration_; ///< the session's circuit generation read
    std::vector<std::string> readDeck_;
    double readSeconds_ = 0.0;
    std::optional<std::set<std::string>> valuesOnlyOf_; ///< lower-case element names

    std::vector<std::string> originalDeck_; ///< without probes
    bool probesOn_ = false;
    std::vector<PinProbe> probes_;
    std::map<std::string, std::string> probeRenames_;

    std::vector<Change> changes_; ///< first change of each parameter since the circuit was put back
    std::map<std::string, PlannedChange> plans_; ///< by property id and names
    std::string pendingError_;                   ///< a refused change, reported by the next command
    std::string lastError_;
    std::string firstError_; ///< the first failure since RunCompound began: what ended it
    std::vector<std::string> messages_;

    std::atomic<bool> stopRequested_{false};
    const std::atomic<bool>* stopFlag_ = nullptr;
    bool stopped_ = false;
};

/// Finds the member references of a settings record: every "XToSweep" list holding "isinst"
/// with its "XParamToSweep" partner's parameter name (empty when there is none), walking nested
/// lists (tolerances, nested sweeps). A sweep's record ("SweepType" present) contributes only
/// the pair of its sweep type: 0 "Inst", 1 "Model", 2 none. Empty member names are skipped.
struct CANAL_NGSPICE_EXPORT MemberReference {
    CPropertyList member;
    std::string parameter;
};
CANAL_NGSPICE_EXPORT std::vector<MemberReference> FindMemberReferences(const CPropertyList& record);

} // namespace host
