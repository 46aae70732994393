// Transfer function analysis: small-signal DC gain from a source to an output.
#pragma once

#include "analyses/core/analysis_identity.h"
#include "canal/export.h"

#include <cstdint>

class CANAL_EXPORT Analyses::Tf
    : public AnalysisIdentity<Analyses::Tf, Analyses::AnalysisType::Tf> {
public:
    explicit Tf(const Analyses* main = nullptr);

    void reset() override;
    int GetNodeType() const override { return AT_TF; }
    int GetOutputVariableClass() const override { return OVC_ALL; }

    // The setters trim blanks at both ends; names read from a record are kept as stored.
    void SetInputRefSource(CString s) { inputSource_ = s.Trim(); }
    void SetCurrentSource(CString s) { currentSource_ = s.Trim(); }
    void SetOutputNode(CString s) { outputNode_ = s.Trim(); }
    void SetOutputRefNode(CString s) { outputRefNode_ = s.Trim(); }
    const CString& GetInputRefSource() const { return inputSource_; }
    const CString& GetCurrentSource() const { return currentSource_; }
    const CString& GetOutputNode() const { return outputNode_; }
    const CString& GetOutputRefNode() const { return outputRefNode_; }

    NodeFilter GetNodeFilterInputRefSource() const { return filterInputSource_; }
    NodeFilter GetNodeFilterCurrentSource() const { return filterCurrentSource_; }
    NodeFilter GetNodeFilterOutputNode() const { return filterOutputNode_; }
    NodeFilter GetNodeFilterOutputRefNode() const { return filterOutputRefNode_; }
    void SetNodeFilterInputRefSource(NodeFilter f) { filterInputSource_ = f; }
    void SetNodeFilterCurrentSource(NodeFilter f) { filterCurrentSource_ = f; }
    void SetNodeFilterOutputNode(NodeFilter f) { filterOutputNode_ = f; }
    void SetNodeFilterOutputRefNode(NodeFilter f) { filterOutputRefNode_ = f; }

    /// 1: the output is the current through the current source; 0: a node voltage.
    int GetUseCurrentSource() const { return useCurrentSource_; }
    void SetUseCurrentSource(int v) { useCurrentSource_ = v; }

    /// The stored keys, in their written order.
    static std::span<const PropertyKeys::Key<Tf>> Keys();

protected:
    CString toNutmegCommandHelper() const override;
    void toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const override;

private:
    NodeFilter filterInputSource_ = NF_NONE;
    NodeFilter filterCurrentSource_ = NF_NONE;
    NodeFilter filterOutputNode_ = NF_NONE;
    NodeFilter filterOutputRefNode_ = NF_NONE;
    CString inputSource_;
    CString currentSource_;
    CString outputNode_;
    CString outputRefNode_;
    int32_t useCurrentSource_ = 0;
};
