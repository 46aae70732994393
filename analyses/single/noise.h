// Noise analysis: noise densities over an AC sweep, referred to an output and an input source.
#pragma once

#include "analyses/single/ac.h"
#include "canal/export.h"

#include <cstdint>

class CANAL_EXPORT Analyses::Noise
    : public AnalysisIdentity<Analyses::Noise, Analyses::AnalysisType::Noise, Analyses::Ac> {
public:
    explicit Noise(const Analyses* main = nullptr);

    void reset() override;
    int GetNodeType() const override { return AT_NOISE; }
    /// Densities per point when summaries are asked for, integrated noise otherwise.
    int GetOutputVariableClass() const override {
        return setPointsPerSummary_ ? OVC_NOISE_CKTnames_dens : OVC_NOISE_CKTnames_int;
    }

    NodeFilter GetNodeFilterInputNoiseRefSource() const { return filterInputSource_; }
    void SetNodeFilterInputNoiseRefSource(NodeFilter f) { filterInputSource_ = f; }
    NodeFilter GetNodeFilterOutputNode() const { return filterOutputNode_; }
    void SetNodeFilterOutputNode(NodeFilter f) { filterOutputNode_ = f; }
    NodeFilter GetNodeFilterReferenceNode() const { return filterReferenceNode_; }
    void SetNodeFilterReferenceNode(NodeFilter f) { filterReferenceNode_ = f; }

    // The setters trim blanks at both ends; names read from a record are kept as stored.
    const CString& GetInputNoiseRefSource() const { return inputSource_; }
    void SetInputNoiseRefSource(CString s) { inputSource_ = s.Trim(); }
    const CString& GetOutputNode() const { return outputNode_; }
    void SetOutputNode(CString s) { outputNode_ = s.Trim(); }
    const CString& GetReferenceNode() const { return referenceNode_; }
    void SetReferenceNode(CString s) { referenceNode_ = s.Trim(); }

    int GetSetPointPerSummary() const { return setPointsPerSummary_; }
    void SetSetPointPerSummary(int v) { setPointsPerSummary_ = v; }
    int GetPointPerSummary() const { return pointsPerSummary_; }
    void SetPointPerSummary(int n) { pointsPerSummary_ = n; }

    /// The stored keys, in their written order.
    static std::span<const PropertyKeys::Key<Noise>> Keys();

protected:
    /// Every part of the script, the plot set-up flag included.
    long toNutmegCommandMask() const override { return -1; }
    CString toNutmegCommandHelper() const override;
    void toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const override;

private:
    NodeFilter filterInputSource_ = NF_NONE;
    NodeFilter filterOutputNode_ = NF_NONE;
    NodeFilter filterReferenceNode_ = NF_NONE;
    CString inputSource_;
    CString outputNode_;
    CString referenceNode_;
    int32_t setPointsPerSummary_ = 0;
    int32_t pointsPerSummary_ = 1;
};
