// Direct run: whatever the circuit text itself asks the simulator to do.
#pragma once

#include "analyses/core/analysis.h"

class Analyses::Run : public Analyses::Analysis {
public:
    explicit Run(const Analyses* main = nullptr) : Analysis(main) { reset(); }
    Run(const Run&) = default;
    Run& operator=(const Run&) = default;

    static CString s_GetAnalysisNickname() { return "RUN"; }

    CString GetAnalysisNickname() const override { return s_GetAnalysisNickname(); }
    AnalysisType GetType() const override { return AnalysisType::Run; }
    long GetAnalysisProperty() const override { return 2; }
    Analysis* NewInstance() const override { return new Run(GetMainAnalyses()); }
    Analysis* Clone() const override { return new Run(*this); }
    Analysis* Clone(Instance*&) const override { return new Run(*this); }
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
