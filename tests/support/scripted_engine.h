// Scripted test engine: answers simulator commands with synthetic plots sent
// as plot events, and records every command and parameter change.
#pragma once

#include "tests/support/circuit_engine.h"

#include "platform/chartlog.h"
#include "platform/events.h"
#include "platform/frontend.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace canal_test {

/// One plot the scripted simulator produces for a command.
struct ScriptedPlot {
    CString name = "plot1";
    CString title;
    ANALYSIS_TYPE type = AT_NONE;
    std::vector<CString> vectors;
    int scaleIndex = -1;                       ///< the x vector, -1 for none
    std::vector<std::vector<double>> rows;     ///< one value per vector per row
    std::vector<std::vector<double>> imagRows; ///< empty (real plot) or as rows
};

/// What the scripted simulator does for one command.
struct ScriptedAnswer {
    int result = 1; ///< what SilentExecuteSimulatorCommand returns
    std::vector<ScriptedPlot> plots;
};

/// One parameter change through the snap-in.
struct ScriptedParameterSet {
    long id = 0;
    CStringArray names;
    CString value; ///< the value item's text
};

/// A CircuitEngine with a simulator made of a script. For every
/// SilentExecuteSimulatorCommand it records the text, asks the script (the
/// command and this engine, so the script can read the parameters set so far)
/// for plots and delivers each as 4004, then per row 4005 and a 4007 stop poll,
/// then 4006, to the analysis event sink. A non-zero answer to 4005 (abort) or
/// a stop ends the rows of the plot; 4006 is sent all the same. Snap-in
/// changes are recorded and applied to the circuit when the element is there.
class ScriptedEngine : public CircuitEngine {
public:
    using Script = std::function<ScriptedAnswer(const CString& command, const ScriptedEngine&)>;

    ScriptedEngine() { SetSimulatorSnapIn(&snapIn_); }

    void SetScript(Script script) { script_ = std::move(script); }
    /// WantStopNow answers 1 from the (n+1)-th stop poll on; -1: never.
    void StopAfterPolls(int n) { stopAfterPolls_ = n; }

    int SilentExecuteSimulatorCommand(CString command) override {
        commands_.push_back(command);
        stopped_ = false;
        const ScriptedAnswer answer = script_ ? script_(command, *this) : ScriptedAnswer{};
        for (const ScriptedPlot& plot : answer.plots)
            Deliver(plot);
        return answer.result;
    }
    int WantStopNow() override {
        ++stopPolls_;
        return stopAfterPolls_ >= 0 && stopPolls_ > stopAfterPolls_ ? 1 : 0;
    }
    void StopSimulation(CSpiceSession* session) override {
        stopped_ = true;
        stoppedSessions_.push_back(session);
    }

    const std::vector<CString>& Commands() const { return commands_; }
    const std::vector<ScriptedParameterSet>& ParameterSets() const { return parameterSets_; }
    const std::vector<CSpiceSession*>& StoppedSessions() const { return stoppedSessions_; }
    int StopPolls() const { return stopPolls_; }
    /// The last value set for the element and parameter `names`; "" when none.
    CString LastValue(const CStringArray& names) const {
        for (auto it = parameterSets_.rbegin(); it != parameterSets_.rend(); ++it)
            if (it->names == names)
                return it->value;
        return CString();
    }

private:
    class SnapIn : public CInstrumentInterface {
    public:
        explicit SnapIn(ScriptedEngine& engine) : engine_(engine) {}
        int SetProperty(long id, const IITVariant& names, const IITVariant& value,
                        CTreeInstance*) override {
            const CStringArray* list = names.GetStringArray();
            const CPropertyItem* item = value.GetPropertyItem();
            ScriptedParameterSet set{id, list ? *list : CStringArray(),
                                     item ? item->GetValue() : value.GetString()};
            engine_.Apply(set, item ? *item : CPropertyItem("value", set.value));
            engine_.parameterSets_.push_back(std::move(set));
            return 1;
        }

    private:
        ScriptedEngine& engine_;
    };

    void Apply(const ScriptedParameterSet& set, const CPropertyItem& value) {
        const CSpiceCircuit circuit = Circuit();
        const auto& n = set.names;
        if (set.id == SNAPIN_INSTANCE_PARAMETER && n.size() == 4) {
            const CSpiceDevice device = circuit.FindDevice(n[0]);
            device.FindModel(circuit, n[1]).FindInstance(n[2]).SetParameterValue(n[3], value);
        } else if (set.id == SNAPIN_MODEL_PARAMETER && n.size() == 3) {
            const CSpiceDevice device = circuit.FindDevice(n[0]);
            device.FindModel(circuit, n[1]).SetParameterValue(n[2], value);
        }
    }

    // Through the engine, as a host delivers, so that runs made for a distributor record it.
    int Send(long id, const CSpiceArgs& args) {
        CEventSource source("ScriptedEngine");
        const EventData data{id, IITVariant(&args)};
        return SendAnalysisEvent(&source, data);
    }

    void Deliver(const ScriptedPlot& plot) {
        if (!GetAnalysisEventSink())
            return;
        CSpicePlotInfo info;
        info.name = plot.name;
        info.title = plot.title;
        info.type = plot.type;
        info.vectorNames = plot.vectors;
        info.vectorIsComplex.assign(plot.vectors.size(), !plot.imagRows.empty());
        info.scaleIndex = plot.scaleIndex;
        Send(EVENT_BEGIN_PLOT, CSpiceArgs(CSpiceArgs::BeginPlot, &info));
        for (size_t r = 0; r < plot.rows.size() && !stopped_; ++r) {
            CSpiceDataRow row;
            row.real = plot.rows[r];
            row.imag = r < plot.imagRows.size() ? plot.imagRows[r]
                                                : std::vector<double>(row.real.size(), 0.0);
            if (Send(EVENT_PLOT_DATA, CSpiceArgs(CSpiceArgs::Data, &row)) != 0)
                break;
            Send(EVENT_STOP_POLL, CSpiceArgs(CSpiceArgs::StopPoll, &Session()));
        }
        Send(EVENT_END_PLOT, CSpiceArgs(CSpiceArgs::EndPlot, &info));
    }

    Script script_;
    SnapIn snapIn_{*this};
    int stopAfterPolls_ = -1;
    int stopPolls_ = 0;
    bool stopped_ = false;
    std::vector<CString> commands_;
    std::vector<ScriptedParameterSet> parameterSets_;
    std::vector<CSpiceSession*> stoppedSessions_;
};

/// The entries of a chart log, one text each, without the title.
inline std::vector<std::string> LogLines(const ChartLog& log) {
    std::vector<std::string> lines;
    for (const ChartLog::Entry& e : log.GetEntries())
        lines.push_back(e.text.str());
    return lines;
}

} // namespace canal_test
