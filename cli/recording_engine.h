// The engine behind `canal plan`: no simulator, every request written down in order.
#pragma once

#include "engine/simulation_engine.h"

#include <string>
#include <vector>

namespace cli {

/// An engine that simulates nothing: every command succeeds and produces no plot data, and
/// every command and parameter change is recorded as one line of the plan, in order. It
/// offers a snap-in, so that parameter changes reach it as they would reach a simulator.
class RecordingEngine : public CASimulationEngine {
public:
    RecordingEngine();
    RecordingEngine(const RecordingEngine&) = delete;
    RecordingEngine& operator=(const RecordingEngine&) = delete;

    /// Records "exec: " + the command exactly as handed; returns 1.
    int SilentExecuteSimulatorCommand(CString command) override;

    /// "exec: TEXT" and "param ID NAME... = VALUE" lines, in the order of the requests.
    const std::vector<std::string>& Requests() const { return requests_; }

private:
    class SnapIn : public CInstrumentInterface {
    public:
        explicit SnapIn(RecordingEngine& engine) : engine_(engine) {}
        /// Records "param ID NAMES = VALUE" (empty names as "-"); returns 1.
        int SetProperty(long id, const IITVariant& names, const IITVariant& value,
                        CTreeInstance* instance) override;

    private:
        RecordingEngine& engine_;
    };

    SnapIn snapIn_{*this};
    std::vector<std::string> requests_;
};

} // namespace cli
