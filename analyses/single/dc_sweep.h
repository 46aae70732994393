// DC sweep analysis: operating points over the values of one source, or of two nested sources.
#pragma once

#include "analyses/core/analysis_identity.h"
#include "canal/export.h"

#include <cstdint>

class CANAL_EXPORT Analyses::DcSweep
    : public AnalysisIdentity<Analyses::DcSweep, Analyses::AnalysisType::DcSweep> {
public:
    explicit DcSweep(const Analyses* main = nullptr);

    void reset() override;
    /// A sweep of operating points offers the operating point's variables.
    int GetNodeType() const override { return AT_OP; }
    int GetOutputVariableClass() const override { return OVC_DCnames; }

    // Which element list each source was picked from; only stored and persisted.
    NodeFilter GetNodeFilterSource1() const { return filterSource1_; }
    void SetNodeFilterSource1(NodeFilter f) { filterSource1_ = f; }
    NodeFilter GetNodeFilterSource2() const { return filterSource2_; }
    void SetNodeFilterSource2(NodeFilter f) { filterSource2_ = f; }

    // The setters trim blanks at both ends; names read from a record are kept as stored.
    const CString& GetSource1() const { return source1_; }
    void SetSource1(CString s) { source1_ = s.Trim(); }
    const CString& GetSource2() const { return source2_; }
    void SetSource2(CString s) { source2_ = s.Trim(); }

    double GetStart1() const { return start1_; }
    void SetStart1(double v) { start1_ = v; }
    double GetStop1() const { return stop1_; }
    void SetStop1(double v) { stop1_ = v; }
    double GetIncrement1() const { return increment1_; }
    void SetIncrement1(double v) { increment1_ = v; }
    /// Non-zero: the second source is swept inside the first.
    int GetUseSource2() const { return useSource2_; }
    void SetUseSource2(int v) { useSource2_ = v; }
    double GetStart2() const { return start2_; }
    void SetStart2(double v) { start2_ = v; }
    double GetStop2() const { return stop2_; }
    void SetStop2(double v) { stop2_ = v; }
    double GetIncrement2() const { return increment2_; }
    void SetIncrement2(double v) { increment2_ = v; }

    /// The stored keys, in their written order.
    static std::span<const PropertyKeys::Key<DcSweep>> Keys();

protected:
    /// Every piece of the script, the plot set-up's incremental flag included.
    long toNutmegCommandMask() const override { return -1; }
    CString toNutmegCommandHelper() const override;
    void toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const override;

private:
    NodeFilter filterSource1_ = NF_NONE;
    CString source1_;
    double start1_ = 0.0;
    double stop1_ = 1.0;
    double increment1_ = 0.5;
    int32_t useSource2_ = 0;
    NodeFilter filterSource2_ = NF_NONE;
    CString source2_;
    double start2_ = 0.0;
    double stop2_ = 1.0;
    double increment2_ = 0.5;
};
