// Test engine over an in-memory circuit: the circuit-reading half of a host
// engine, for tests of members, member lists and compound analyses.
#pragma once

#include "engine/simulation_engine.h"
#include "platform/spice_circuit.h"

namespace canal_test {

/// An engine whose main session holds an in-memory circuit that the test fills
/// (Circuit().AddDevice(...).AddModel(...).AddInstance(...)). It answers
/// GetInstanceValues / GetModelValues from that circuit, its model and
/// instance lists enumerate it, and it makes itself the members' engine.
class CircuitEngine : public CASimulationEngine {
public:
    CircuitEngine() { CSPICEdevMember::SetASimEng(*this); }
    CircuitEngine(const CircuitEngine&) = delete;
    CircuitEngine& operator=(const CircuitEngine&) = delete;

    CSpiceSession& Session() { return *agency_.GetMainSession(); }
    CSpiceCircuit Circuit() { return Session().GetCurrentCircuit(); }

    CSpiceSessionAgency* GetSessionDistributor() override { return &agency_; }
    CPropertyList GetInstanceValues(const CSpiceInstance& instance, const CSpiceModel&,
                                    const CSpiceDevice&) override {
        return SpiceParameterRecords(instance.GetParameters());
    }
    CPropertyList GetModelValues(const CSpiceModel& model, const CSpiceDevice&) override {
        return SpiceParameterRecords(model.GetParameters());
    }

protected:
    void UpdateInstanceList() override { instanceList_ = CSPICEdevMemberList(*this, 1); }
    void UpdateModelList() override { modelList_ = CSPICEdevMemberList(*this, 0); }

private:
    CSpiceSessionAgency agency_;
};

/// A property list from its text, for building member records by hand.
inline CPropertyList ParseRecord(const char* text) {
    return CPropertyList(CString(text));
}

} // namespace canal_test
