// Sensitivity analysis: how one output changes with every circuit parameter, at the
// operating point or over an AC sweep.
#pragma once

#include "analyses/core/analysis_proxy.h"
#include "analyses/single/ac.h"
#include "analyses/single/op.h"
#include "canal/export.h"

#include <cstdint>

/// The two analyses a sensitivity can run on and the proxy that borrows the one in
/// use, which decides the sensitivity type. A copy's proxy borrows the copy's own
/// analysis, never the source's.
class CANAL_EXPORT SensTarget {
public:
    explicit SensTarget(const Analyses* main) : ac(main), op(main) {
        Select(Analyses::AnalysisType::Op);
    }
    SensTarget(const SensTarget& other) : ac(other.ac), op(other.op) { Select(other.Type()); }
    SensTarget& operator=(const SensTarget& other);
    ~SensTarget() = default;

    /// Ac or Op: the kind the proxy points at.
    Analyses::AnalysisType Type() const { return proxy.GetType(); }
    /// Ac selects the sweep, any other value the operating point.
    void Select(Analyses::AnalysisType type);

    Analyses::AnalysisProxy proxy;
    Analyses::Ac ac;
    Analyses::Op op;
};

/// The settings of a sensitivity analysis.
class CANAL_EXPORT SensAnalysis {
public:
    explicit SensAnalysis(const Analyses* main = nullptr);
    SensAnalysis(const SensAnalysis&) = default;
    SensAnalysis& operator=(const SensAnalysis&) = default;
    virtual ~SensAnalysis() = default;

    virtual void reset();
    virtual Analyses::AnalysisType GetType() const { return Analyses::AnalysisType::Sens; }
    virtual CString GetAnalysisNickname() const { return s_GetAnalysisNickname(); }
    virtual int GetNodeType() const { return AT_SENS; }
    virtual int GetOutputVariableClass() const;

    static CString s_GetAnalysisNickname() {
        return AnalysisNickname(Analyses::AnalysisType::Sens);
    }

    // The setters trim blanks at both ends; names read from a record are kept as stored.
    const CString& GetCurrentSource() const { return currentSource_; }
    const CString& GetOutputNode() const { return outputNode_; }
    const CString& GetOutputRefNode() const { return outputRefNode_; }
    void SetCurrentSource(CString s) { currentSource_ = s.Trim(); }
    void SetOutputNode(CString s) { outputNode_ = s.Trim(); }
    void SetOutputRefNode(CString s) { outputRefNode_ = s.Trim(); }

    /// 1: absolute sensitivities; 0: relative ones.
    int GetUseAbsoluteScaling() const { return useAbsoluteScaling_; }
    void SetUseAbsoluteScaling(int v) { useAbsoluteScaling_ = v; }
    /// 1: the output is the current through the current source; 0: a node voltage.
    int GetUseCurrentSource() const { return useCurrentSource_; }
    void SetUseCurrentSource(int v) { useCurrentSource_ = v; }

    Analyses::NodeFilter GetNodeFilterCurrentSource() const { return filterCurrentSource_; }
    Analyses::NodeFilter GetNodeFilterOutputNode() const { return filterOutputNode_; }
    Analyses::NodeFilter GetNodeFilterOutputRefNode() const { return filterOutputRefNode_; }
    void SetNodeFilterCurrentSource(Analyses::NodeFilter f) { filterCurrentSource_ = f; }
    void SetNodeFilterOutputNode(Analyses::NodeFilter f) { filterOutputNode_ = f; }
    void SetNodeFilterOutputRefNode(Analyses::NodeFilter f) { filterOutputRefNode_ = f; }

    /// The embedded sweep and operating point; both live as long as this object.
    Analyses::Ac& GetAc() { return target_.ac; }
    const Analyses::Ac& GetAc() const { return target_.ac; }
    Analyses::Op& GetOp() { return target_.op; }
    const Analyses::Op& GetOp() const { return target_.op; }
    /// Non-owning handle to the embedded analysis in use.
    Analyses::AnalysisProxy& GetSensAnalysis() { return target_.proxy; }
    const Analyses::AnalysisProxy& GetSensAnalysis() const { return target_.proxy; }

    /// Ac or Op: the kind of the embedded analysis the proxy points at.
    Analyses::AnalysisType GetSensType() const { return target_.Type(); }
    /// Ac selects the embedded sweep, any other value the operating point; the
    /// settings of the one not selected are kept.
    void SetSensType(Analyses::AnalysisType type) { target_.Select(type); }

    const Analyses* GetMainAnalyses() const { return main_; }

    CString toNutmegCommand() const;
    CPropertyList toPropertyList() const;
    int fromPropertyList(const CPropertyList& list);
    void toReadableText(CTreeLog& log, _TREEITEM* parent) const;

    /// The stored keys, in their written order.
    static std::span<const PropertyKeys::Key<SensAnalysis>> Keys();

private:
    const Analyses* main_;
    Analyses::NodeFilter filterCurrentSource_ = Analyses::NF_NONE;
    Analyses::NodeFilter filterOutputNode_ = Analyses::NF_NONE;
    Analyses::NodeFilter filterOutputRefNode_ = Analyses::NF_NONE;
    CString currentSource_;
    CString outputNode_;
    CString outputRefNode_;
    int32_t useAbsoluteScaling_ = 1;
    int32_t useCurrentSource_ = 0;
    SensTarget target_;
};

class CANAL_EXPORT Analyses::Sens
    : public SettingsAnalysis<Analyses::Sens, Analyses::AnalysisType::Sens, SensAnalysis> {
public:
    using SettingsAnalysis::SettingsAnalysis;

    const CString& GetCurrentSource() const { return GetSettings().GetCurrentSource(); }
    const CString& GetOutputNode() const { return GetSettings().GetOutputNode(); }
    const CString& GetOutputRefNode() const { return GetSettings().GetOutputRefNode(); }
    void SetCurrentSource(CString s) { GetSettings().SetCurrentSource(std::move(s)); }
    void SetOutputNode(CString s) { GetSettings().SetOutputNode(std::move(s)); }
    void SetOutputRefNode(CString s) { GetSettings().SetOutputRefNode(std::move(s)); }
    int GetUseAbsoluteScaling() const { return GetSettings().GetUseAbsoluteScaling(); }
    void SetUseAbsoluteScaling(int v) { GetSettings().SetUseAbsoluteScaling(v); }
    int GetUseCurrentSource() const { return GetSettings().GetUseCurrentSource(); }
    void SetUseCurrentSource(int v) { GetSettings().SetUseCurrentSource(v); }
    NodeFilter GetNodeFilterCurrentSource() const {
        return GetSettings().GetNodeFilterCurrentSource();
    }
    NodeFilter GetNodeFilterOutputNode() const { return GetSettings().GetNodeFilterOutputNode(); }
    NodeFilter GetNodeFilterOutputRefNode() const {
        return GetSettings().GetNodeFilterOutputRefNode();
    }
    void SetNodeFilterCurrentSource(NodeFilter f) { GetSettings().SetNodeFilterCurrentSource(f); }
    void SetNodeFilterOutputNode(NodeFilter f) { GetSettings().SetNodeFilterOutputNode(f); }
    void SetNodeFilterOutputRefNode(NodeFilter f) { GetSettings().SetNodeFilterOutputRefNode(f); }
    Ac& GetAc() { return GetSettings().GetAc(); }
    const Ac& GetAc() const { return GetSettings().GetAc(); }
    Op& GetOp() { return GetSettings().GetOp(); }
    const Op& GetOp() const { return GetSettings().GetOp(); }
    AnalysisType GetSensType() const { return GetSettings().GetSensType(); }
    void SetSensType(AnalysisType t) { GetSettings().SetSensType(t); }
    AnalysisProxy& GetSensAnalysis() { return GetSettings().GetSensAnalysis(); }
    const AnalysisProxy& GetSensAnalysis() const { return GetSettings().GetSensAnalysis(); }
};
