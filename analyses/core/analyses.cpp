// The collection's table of its analyses, one per kind, and its engine.
#include "analyses/core/analysis.h"
#include "engine/simulation_engine.h"

namespace {

bool HasSlot(Analyses::AnalysisType type) {
    const int t = static_cast<int>(type);
    return t >= 0 && t < Analyses::AnalysisTypeCount && type != Analyses::AnalysisType::Options;
}

} // namespace

// Out of line, as the owners need the complete analysis class to clean up.
Analyses::Analyses() : COrvo(COrvo::Collection) {
}

Analyses::~Analyses() = default;

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

CASimulationEngine* Analyses::GetAsimEng() const {
    // Shared by every collection without an engine of its own: the base
    // engine answers everything harmlessly.
    static CASimulationEngine doNothing;
    return asimEng_ ? asimEng_ : &doNothing;
}
