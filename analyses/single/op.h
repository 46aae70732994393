// DC operating point: the bias point of the circuit, with no settings of its own.
#pragma once

#include "analyses/core/analysis.h"

class Analyses::Op : public Analyses::Analysis {
public:
    explicit Op(const Analyses* main = nullptr);
    Op(const Op& other);
    Op& operator=(const Op&) = default;

    static CString s_GetAnalysisNickname() { return "OP"; }

    // Overrides, in the base's slot order.
    ~Op() override;
    CString GetAnalysisNickname() const override { return s_GetAnalysisNickname(); }
    AnalysisType GetType() const override { return AnalysisType::Op; }
    void reset() override;
    Analysis* NewInstance() const override;
    Analysis* Clone() const override;
    Analysis* Clone(Instance*& instance) const override;
    int GetNodeType() const override { return AT_OP; }
    int GetOutputVariableClass() const override { return OVC_DCnames; }

protected:
    CString toNutmegCommandHelper() const override;
    /// Nothing beyond the common keys is stored.
    CPropertyList toPropertyListHelper() const override;
    /// Nothing to read: any list is acceptable.
    int fromPropertyListHelper(const CPropertyList& list) override;
};
