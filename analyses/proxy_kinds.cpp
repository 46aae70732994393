// The proxy's operations that need the concrete analysis classes: typed access and
// copying from the collection's main analyses.
#include "analyses/core/analysis_proxy.h"

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

int Analyses::AnalysisProxy::LoadFromMainAnalysis() {
    if (!analysis_)
        return 0;
    // Noise, distortion and noise figure load through the frequency sweep they derive from.
    if (auto* ac = dynamic_cast<Ac*>(analysis_))
        return ac->LoadFromMainAnalysis();
    if (auto* tran = GetTranPtr())
        return tran->LoadFromMainAnalysis();
    return analysis_->LoadFromMainAnalysis();
}

int Analyses::AnalysisProxy::GetUseTStep() {
    if (!GetTranPtr() || !analysis_->GetMainAnalyses())
        return 0;
    const auto* mainTran =
        dynamic_cast<const Tran*>(analysis_->GetMainAnalyses()->GetAnalysis(AnalysisType::Tran));
    return mainTran ? mainTran->GetUseAutoTmax() : 0;
}
