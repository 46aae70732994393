// The two sweep analyses and the engine requests that run them.
#include "analyses/compound/psweep.h"

#include "engine/simulation_engine.h"

namespace {

// A copy of the collection's sweep of `type` with `record` read over it runs as the engine's
// event sink; the copy and its nested sweep live for the call only.
int RunSweepCopy(CASimulationEngine& engine, Analyses* analyses, Analyses::AnalysisType type,
                 const CPropertyList& record) {
    const auto* sweep =
        analyses ? dynamic_cast<const Analyses::Psweep*>(analyses->GetAnalysis(type)) : nullptr;
    if (!sweep)
        return 0;
    ParameterSweep copy(sweep->GetParameterSweep());
    const AnalysisSinkScope sink(engine, &copy);
    copy.fromPropertyList(record);
    const int result = copy.ExecuteAnalysis(nullptr, nullptr);
    copy.deleteNestedSweep();
    return result;
}

} // namespace

Analyses::Psweep::Psweep(const Analyses* main) : SettingsAnalysis(main) {
    GetSettings().SetNickName(s_GetAnalysisNickname());
}

void Analyses::Psweep::CopyPsweep(ParameterSweep& target, const ParameterSweep& source) {
    target.structCopy(source);
}

int Analyses::Psweep::s_ExecuteCommand(CASimulationEngine& engine, Analyses* analyses,
                                       const CPropertyList& record) {
    return RunSweepCopy(engine, analyses, AnalysisType::Psweep, record);
}

Analyses::Tsweep::Tsweep(const Analyses* main) : AnalysisIdentity(main) {
    GetSettings().SetNickName(s_GetAnalysisNickname());
}

int Analyses::Tsweep::s_ExecuteCommand(CASimulationEngine& engine, Analyses* analyses,
                                       const CPropertyList& record) {
    return RunSweepCopy(engine, analyses, AnalysisType::Tsweep, record);
}
