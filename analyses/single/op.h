// DC operating point: the bias point of the circuit, with no settings of its own.
#pragma once

#include "analyses/core/analysis_identity.h"
#include "canal/export.h"

class CANAL_EXPORT Analyses::Op
    : public AnalysisIdentity<Analyses::Op, Analyses::AnalysisType::Op> {
public:
    explicit Op(const Analyses* main = nullptr) : AnalysisIdentity(main) { reset(); }

    int GetNodeType() const override { return AT_OP; }
    int GetOutputVariableClass() const override { return OVC_DCnames; }

protected:
    CString toNutmegCommandHelper() const override;
    /// Nothing beyond the common keys is stored.
    CPropertyList toPropertyListHelper() const override { return {}; }
    /// Nothing to read: any list is acceptable.
    int fromPropertyListHelper(const CPropertyList&) override { return 1; }
};
