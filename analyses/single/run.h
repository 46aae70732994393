// Direct run: whatever the circuit text itself asks the simulator to do.
#pragma once

#include "analyses/core/analysis_identity.h"
#include "canal/export.h"

class CANAL_EXPORT Analyses::Run
    : public AnalysisIdentity<Analyses::Run, Analyses::AnalysisType::Run> {
public:
    explicit Run(const Analyses* main = nullptr) : AnalysisIdentity(main) { reset(); }

    long GetAnalysisProperty() const override { return 2; }
    int GetNodeType() const override { return AT_NONE; }
    /// The circuit's own control lines decide what is saved.
    int GetOutputVariableClass() const override { return OVC_ALL; }

protected:
    long toReadableTextMask() const override { return TT_SETTINGS | TT_COMMAND | TT_TITLE; }
    /// The bare command: no framing, plot set-up or options around it.
    long toNutmegCommandMask() const override { return NT_COMMAND; }
    CString toNutmegCommandHelper() const override { return "run;"; }
    CPropertyList toPropertyListHelper() const override { return {}; }
    /// Nothing of its own to read, so any record is acceptable.
    int fromPropertyListHelper(const CPropertyList&) override { return 1; }
};
