// The collection's table of its analyses, one per kind.
#include "analyses/core/analysis.h"

namespace {

bool HasSlot(Analyses::AnalysisType type) {
    const int t = static_cast<int>(type);
    return t >= 0 && t < Analyses::AnalysisTypeCount && type != Analyses::AnalysisType::Options;
}

} // namespace

Analyses::Analysis* Analyses::GetAnalysis(AnalysisType type) {
    return HasSlot(type) ? byType_[static_cast<int>(type)] : nullptr;
}

const Analyses::Analysis* Analyses::GetAnalysis(AnalysisType type) const {
    return HasSlot(type) ? byType_[static_cast<int>(type)] : nullptr;
}

void Analyses::RegisterAnalysis(AnalysisType type, Analysis* a) {
    if (HasSlot(type))
        byType_[static_cast<int>(type)] = a;
}
