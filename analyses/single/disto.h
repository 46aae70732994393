// Distortion analysis: an AC sweep with an optional second tone at a fixed ratio.
#pragma once

#include "analyses/single/ac.h"
#include "canal/export.h"

#include <cstdint>

class CANAL_EXPORT Analyses::Disto
    : public AnalysisIdentity<Analyses::Disto, Analyses::AnalysisType::Disto, Analyses::Ac> {
public:
    explicit Disto(const Analyses* main = nullptr) : AnalysisIdentity(main) { reset(); }

    void reset() override;
    int GetNodeType() const override { return AT_DISTO; }
    int GetOutputVariableClass() const override { return OVC_CKTnames; }

    /// Second frequency as a fraction of the swept one (stored as "F1OVERF2").
    double GetF2overF1() const { return f2OverF1_; }
    void SetF2overF1(double r) { f2OverF1_ = r; }
    int GetUseF2overF1() const { return useF2OverF1_; }
    void SetUseF2overF1(int v) { useF2OverF1_ = v; }

    /// The stored keys, in their written order.
    static std::span<const PropertyKeys::Key<Disto>> Keys();

protected:
    CString toNutmegCommandHelper() const override;
    void toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const override;

private:
    double f2OverF1_ = 0.1;
    int32_t useF2OverF1_ = 0;
};
