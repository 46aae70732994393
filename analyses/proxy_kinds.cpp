// The proxy's operations that need the concrete analysis classes: typed access and
// copying from the collection's main analyses.
#include "analyses/core/analysis_proxy.h"

#include "analyses/compound/noise_figure.h"
#include "analyses/compound/psweep.h"
#include "analyses/compound/trace_width.h"
#include "analyses/compound/wcmc_analysis.h"
#include "analyses/single/ac.h"
#include "analyses/single/dc_sweep.h"
#include "analyses/single/disto.h"
#include "analyses/single/four.h"
#include "analyses/single/noise.h"
#include "analyses/single/op.h"
#include "analyses/single/pz.h"
#include "analyses/single/run.h"
#include "analyses/single/sens.h"
#include "analyses/single/tf.h"
#include "analyses/single/tran.h"
#include "analyses/single/user.h"

#include <type_traits>

Analyses::Op* Analyses::AnalysisProxy::GetOpPtr() {
    return KindCast<Op>(analysis_);
}
const Analyses::Op* Analyses::AnalysisProxy::GetOpPtr() const {
    return KindCast<Op>(GetAnalysisPtr());
}
Analyses::Ac* Analyses::AnalysisProxy::GetAcPtr() {
    return KindCast<Ac>(analysis_);
}
const Analyses::Ac* Analyses::AnalysisProxy::GetAcPtr() const {
    return KindCast<Ac>(GetAnalysisPtr());
}
Analyses::Tran* Analyses::AnalysisProxy::GetTranPtr() {
    return KindCast<Tran>(analysis_);
}
const Analyses::Tran* Analyses::AnalysisProxy::GetTranPtr() const {
    return KindCast<Tran>(GetAnalysisPtr());
}
Analyses::Four* Analyses::AnalysisProxy::GetFourPtr() {
    return KindCast<Four>(analysis_);
}
const Analyses::Four* Analyses::AnalysisProxy::GetFourPtr() const {
    return KindCast<Four>(GetAnalysisPtr());
}
Analyses::Noise* Analyses::AnalysisProxy::GetNoisePtr() {
    return KindCast<Noise>(analysis_);
}
const Analyses::Noise* Analyses::AnalysisProxy::GetNoisePtr() const {
    return KindCast<Noise>(GetAnalysisPtr());
}
Analyses::Disto* Analyses::AnalysisProxy::GetDistoPtr() {
    return KindCast<Disto>(analysis_);
}
const Analyses::Disto* Analyses::AnalysisProxy::GetDistoPtr() const {
    return KindCast<Disto>(GetAnalysisPtr());
}
Analyses::DcSweep* Analyses::AnalysisProxy::GetDcSweepPtr() {
    return KindCast<DcSweep>(analysis_);
}
const Analyses::DcSweep* Analyses::AnalysisProxy::GetDcSweepPtr() const {
    return KindCast<DcSweep>(GetAnalysisPtr());
}
Analyses::Sens* Analyses::AnalysisProxy::GetSensPtr() {
    return KindCast<Sens>(analysis_);
}
const Analyses::Sens* Analyses::AnalysisProxy::GetSensPtr() const {
    return KindCast<Sens>(GetAnalysisPtr());
}
Analyses::Pz* Analyses::AnalysisProxy::GetPzPtr() {
    return KindCast<Pz>(analysis_);
}
const Analyses::Pz* Analyses::AnalysisProxy::GetPzPtr() const {
    return KindCast<Pz>(GetAnalysisPtr());
}
Analyses::Tf* Analyses::AnalysisProxy::GetTfPtr() {
    return KindCast<Tf>(analysis_);
}
const Analyses::Tf* Analyses::AnalysisProxy::GetTfPtr() const {
    return KindCast<Tf>(GetAnalysisPtr());
}
Analyses::Worst* Analyses::AnalysisProxy::GetWorstPtr() {
    return KindCast<Worst>(analysis_);
}
const Analyses::Worst* Analyses::AnalysisProxy::GetWorstPtr() const {
    return KindCast<Worst>(GetAnalysisPtr());
}
Analyses::Monte* Analyses::AnalysisProxy::GetMontePtr() {
    return KindCast<Monte>(analysis_);
}
const Analyses::Monte* Analyses::AnalysisProxy::GetMontePtr() const {
    return KindCast<Monte>(GetAnalysisPtr());
}
Analyses::User* Analyses::AnalysisProxy::GetUserPtr() {
    return KindCast<User>(analysis_);
}
const Analyses::User* Analyses::AnalysisProxy::GetUserPtr() const {
    return KindCast<User>(GetAnalysisPtr());
}
Analyses::Run* Analyses::AnalysisProxy::GetRunPtr() {
    return KindCast<Run>(analysis_);
}
const Analyses::Run* Analyses::AnalysisProxy::GetRunPtr() const {
    return KindCast<Run>(GetAnalysisPtr());
}
Analyses::NoiseFigure* Analyses::AnalysisProxy::GetNoiseFigurePtr() {
    return KindCast<NoiseFigure>(analysis_);
}
const Analyses::NoiseFigure* Analyses::AnalysisProxy::GetNoiseFigurePtr() const {
    return KindCast<NoiseFigure>(GetAnalysisPtr());
}
Analyses::TraceWidth* Analyses::AnalysisProxy::GetTraceWidthPtr() {
    return KindCast<TraceWidth>(analysis_);
}
const Analyses::TraceWidth* Analyses::AnalysisProxy::GetTraceWidthPtr() const {
    return KindCast<TraceWidth>(GetAnalysisPtr());
}

namespace {

// The sweep held by `a` when it answers `kind`; a Tsweep is a Psweep, and a Psweep may answer
// either kind, so the class test is the base's.
template <class A> auto* SweepOfKind(A* a, Analyses::AnalysisType kind) {
    using Result = std::conditional_t<std::is_const_v<A>, const Analyses::Psweep, Analyses::Psweep>;
    return a && a->GetType() == kind ? dynamic_cast<Result*>(a) : nullptr;
}

} // namespace

Analyses::Psweep* Analyses::AnalysisProxy::GetPsweepPtr() {
    return SweepOfKind(analysis_, AnalysisType::Psweep);
}
const Analyses::Psweep* Analyses::AnalysisProxy::GetPsweepPtr() const {
    return SweepOfKind(GetAnalysisPtr(), AnalysisType::Psweep);
}
Analyses::Psweep* Analyses::AnalysisProxy::GetTsweepPtr() {
    return SweepOfKind(analysis_, AnalysisType::Tsweep);
}
const Analyses::Psweep* Analyses::AnalysisProxy::GetTsweepPtr() const {
    return SweepOfKind(GetAnalysisPtr(), AnalysisType::Tsweep);
}

void Analyses::AnalysisProxy::SetAnalysisNickname(AnalysisType type) {
    auto* held = dynamic_cast<Psweep*>(analysis_);
    if (!held)
        return;
    ParameterSweep& sweep = held->GetParameterSweep();
    if (type == AnalysisType::Psweep) {
        sweep.SetNickName(AnalysisNickname(AnalysisType::Psweep));
        if (sweep.GetSweepAnalysisType() == ParameterSweep::InnerTran) {
            sweep.deleteNestedSweep();
            sweep.SetSweepAnalysisType(ParameterSweep::InnerOp);
        }
    } else if (type == AnalysisType::Tsweep) {
        sweep.SetNickName(AnalysisNickname(AnalysisType::Tsweep));
        if (sweep.GetType() == AnalysisType::Tsweep &&
            sweep.GetSweepAnalysisType() != ParameterSweep::InnerTran) {
            sweep.deleteNestedSweep();
            sweep.SetSweepAnalysisType(ParameterSweep::InnerTran);
        }
    }
}

int Analyses::AnalysisProxy::LoadFromMainAnalysis() {
    if (!analysis_)
        return 0;
    // Noise, distortion and noise figure load through the frequency sweep they derive from.
    if (auto* ac = dynamic_cast<Ac*>(analysis_))
        return ac->LoadFromMainAnalysis();
    if (auto* tran = GetTranPtr())
        return tran->LoadFromMainAnalysis();
    if (auto* traceWidth = GetTraceWidthPtr())
        return traceWidth->LoadFromMainAnalysis();
    return analysis_->LoadFromMainAnalysis();
}

int Analyses::AnalysisProxy::GetUseTStep() {
    if (!GetTranPtr() || !analysis_->GetMainAnalyses())
        return 0;
    const auto* mainTran =
        dynamic_cast<const Tran*>(analysis_->GetMainAnalyses()->GetAnalysis(AnalysisType::Tran));
    return mainTran ? mainTran->GetUseAutoTmax() : 0;
}
