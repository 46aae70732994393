// Pole-zero analysis: poles and/or zeros of a transfer function between two ports.
#pragma once

#include "analyses/core/analysis_identity.h"
#include "canal/export.h"

#include <cstdint>

class CANAL_EXPORT Analyses::Pz
    : public AnalysisIdentity<Analyses::Pz, Analyses::AnalysisType::Pz> {
public:
    /// Kind of transfer function; values outside 0..3 act as Gain.
    enum PZanType : int32_t { Gain = 0, Impedance = 1, InputImpedance = 2, OutputImpedance = 3 };
    /// What is computed; values outside 0..2 act as PolesAndZeros.
    enum PZpart : int32_t { PolesAndZeros = 0, Poles = 1, Zeros = 2 };

    explicit Pz(const Analyses* main = nullptr);

    void reset() override;
    int GetNodeType() const override { return AT_PZ; }
    /// Poles and zeros are the result itself: no output variable has to be chosen.
    int GetOutputVariableClass() const override { return OVC_ALL; }

    // Node names are stored as given; blanks are not trimmed.
    void SetInputPlus(const CString& n) { inputPlus_ = n; }
    void SetInputMinus(const CString& n) { inputMinus_ = n; }
    void SetOutputPlus(const CString& n) { outputPlus_ = n; }
    void SetOutputMinus(const CString& n) { outputMinus_ = n; }
    const CString& GetInputPlus() const { return inputPlus_; }
    const CString& GetInputMinus() const { return inputMinus_; }
    const CString& GetOutputPlus() const { return outputPlus_; }
    const CString& GetOutputMinus() const { return outputMinus_; }

    NodeFilter GetNodeFilterInputPlus() const { return filterInputPlus_; }
    NodeFilter GetNodeFilterInputMinus() const { return filterInputMinus_; }
    NodeFilter GetNodeFilterOutputPlus() const { return filterOutputPlus_; }
    NodeFilter GetNodeFilterOutputMinus() const { return filterOutputMinus_; }
    void SetNodeFilterInputPlus(NodeFilter f) { filterInputPlus_ = f; }
    void SetNodeFilterInputMinus(NodeFilter f) { filterInputMinus_ = f; }
    void SetNodeFilterOutputPlus(NodeFilter f) { filterOutputPlus_ = f; }
    void SetNodeFilterOutputMinus(NodeFilter f) { filterOutputMinus_ = f; }

    PZpart GetPZpart() const { return part_; }
    void SetPZpart(PZpart p) { part_ = p; }
    PZanType GetAnalysisType() const { return anType_; }
    void SetAnalysisType(PZanType t) { anType_ = t; }

    /// The stored keys, in their written order.
    static std::span<const PropertyKeys::Key<Pz>> Keys();

protected:
    CString toNutmegCommandHelper() const override;
    void toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const override;

private:
    NodeFilter filterInputPlus_ = NF_NONE;
    NodeFilter filterInputMinus_ = NF_NONE;
    NodeFilter filterOutputPlus_ = NF_NONE;
    NodeFilter filterOutputMinus_ = NF_NONE;
    CString inputPlus_;
    CString inputMinus_;
    CString outputPlus_;
    CString outputMinus_;
    PZanType anType_ = Gain;
    PZpart part_ = PolesAndZeros;
};
