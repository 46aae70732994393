// Analysis handles: ownership, forwarding, typed access and creation from a stored item.
#include "analyses/core/analysis_proxy.h"

#include "analyses/core/analysis_factory.h"
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

namespace {

template <typename C> C* As(Analyses::Analysis* a, Analyses::AnalysisType type) {
    return a && a->GetType() == type ? static_cast<C*>(a) : nullptr;
}

template <typename C> const C* As(const Analyses::Analysis* a, Analyses::AnalysisType type) {
    return a && a->GetType() == type ? static_cast<const C*>(a) : nullptr;
}

} // namespace

Analyses::AnalysisProxy::AnalysisProxy() : COrvo(COrvo::Proxy) {
}

Analyses::AnalysisProxy::AnalysisProxy(Analyses::Analysis* a, int own)
    : COrvo(COrvo::Proxy), analysis_(own ? (a ? a->Clone() : nullptr) : a), owner_(own), tstep_(0) {
}

Analyses::AnalysisProxy::AnalysisProxy(const AnalysisProxy& other)
    : COrvo(COrvo::Proxy),
      analysis_(other.owner_ && other.analysis_ ? other.analysis_->Clone() : other.analysis_),
      owner_(other.owner_), tstep_(other.tstep_) {
}

Analyses::AnalysisProxy::AnalysisProxy(const AnalysisProxy& other, Instance*&)
    : AnalysisProxy(other) {
}

Analyses::AnalysisProxy& Analyses::AnalysisProxy::operator=(const AnalysisProxy& other) {
    if (this == &other)
        return *this;
    SetAnalysisProxy(other.owner_ && other.analysis_ ? other.analysis_->Clone() : other.analysis_,
                     other.owner_);
    tstep_ = other.tstep_;
    return *this;
}

Analyses::AnalysisProxy::~AnalysisProxy() {
    if (owner_)
        delete analysis_;
    analysis_ = nullptr;
}

void Analyses::AnalysisProxy::reset_for_instrument(int keep) {
    if (analysis_)
        analysis_->reset_for_instrument(keep);
}

int Analyses::AnalysisProxy::CanSimulate() const {
    return analysis_ ? analysis_->CanSimulate() : 0;
}

CString Analyses::AnalysisProxy::ExplainWhyCannotSimulate() {
    return analysis_ ? analysis_->ExplainWhyCannotSimulate() : CString();
}

void Analyses::AnalysisProxy::UpdateAnalysisNodeList() {
    if (analysis_)
        analysis_->UpdateAnalysisNodeList();
}

void Analyses::AnalysisProxy::SetAnalysisProxy(Analyses::Analysis* a, int own) {
    if (analysis_ != a && owner_)
        delete analysis_;
    analysis_ = a;
    owner_ = own;
}

void Analyses::AnalysisProxy::SetType(AnalysisType type, Analyses* main) {
    if (type == AnalysisType::Options)
        return;
    if (Analyses::Analysis* a = NewAnalysisOfType(type, main))
        SetAnalysisProxy(a, 1);
}

Analyses::Op* Analyses::AnalysisProxy::GetOpPtr() {
    return As<Op>(analysis_, AnalysisType::Op);
}
const Analyses::Op* Analyses::AnalysisProxy::GetOpPtr() const {
    return As<Op>(GetAnalysisPtr(), AnalysisType::Op);
}
Analyses::Ac* Analyses::AnalysisProxy::GetAcPtr() {
    return As<Ac>(analysis_, AnalysisType::Ac);
}
const Analyses::Ac* Analyses::AnalysisProxy::GetAcPtr() const {
    return As<Ac>(GetAnalysisPtr(), AnalysisType::Ac);
}
Analyses::Tran* Analyses::AnalysisProxy::GetTranPtr() {
    return As<Tran>(analysis_, AnalysisType::Tran);
}
const Analyses::Tran* Analyses::AnalysisProxy::GetTranPtr() const {
    return As<Tran>(GetAnalysisPtr(), AnalysisType::Tran);
}
Analyses::Four* Analyses::AnalysisProxy::GetFourPtr() {
    return As<Four>(analysis_, AnalysisType::Four);
}
const Analyses::Four* Analyses::AnalysisProxy::GetFourPtr() const {
    return As<Four>(GetAnalysisPtr(), AnalysisType::Four);
}
Analyses::Noise* Analyses::AnalysisProxy::GetNoisePtr() {
    return As<Noise>(analysis_, AnalysisType::Noise);
}
const Analyses::Noise* Analyses::AnalysisProxy::GetNoisePtr() const {
    return As<Noise>(GetAnalysisPtr(), AnalysisType::Noise);
}
Analyses::Disto* Analyses::AnalysisProxy::GetDistoPtr() {
    return As<Disto>(analysis_, AnalysisType::Disto);
}
const Analyses::Disto* Analyses::AnalysisProxy::GetDistoPtr() const {
    return As<Disto>(GetAnalysisPtr(), AnalysisType::Disto);
}
Analyses::DcSweep* Analyses::AnalysisProxy::GetDcSweepPtr() {
    return As<DcSweep>(analysis_, AnalysisType::DcSweep);
}
const Analyses::DcSweep* Analyses::AnalysisProxy::GetDcSweepPtr() const {
    return As<DcSweep>(GetAnalysisPtr(), AnalysisType::DcSweep);
}
Analyses::Sens* Analyses::AnalysisProxy::GetSensPtr() {
    return As<Sens>(analysis_, AnalysisType::Sens);
}
const Analyses::Sens* Analyses::AnalysisProxy::GetSensPtr() const {
    return As<Sens>(GetAnalysisPtr(), AnalysisType::Sens);
}
Analyses::Pz* Analyses::AnalysisProxy::GetPzPtr() {
    return As<Pz>(analysis_, AnalysisType::Pz);
}
const Analyses::Pz* Analyses::AnalysisProxy::GetPzPtr() const {
    return As<Pz>(GetAnalysisPtr(), AnalysisType::Pz);
}
Analyses::Tf* Analyses::AnalysisProxy::GetTfPtr() {
    return As<Tf>(analysis_, AnalysisType::Tf);
}
const Analyses::Tf* Analyses::AnalysisProxy::GetTfPtr() const {
    return As<Tf>(GetAnalysisPtr(), AnalysisType::Tf);
}
Analyses::User* Analyses::AnalysisProxy::GetUserPtr() {
    return As<User>(analysis_, AnalysisType::User);
}
const Analyses::User* Analyses::AnalysisProxy::GetUserPtr() const {
    return As<User>(GetAnalysisPtr(), AnalysisType::User);
}
Analyses::Run* Analyses::AnalysisProxy::GetRunPtr() {
    return As<Run>(analysis_, AnalysisType::Run);
}
const Analyses::Run* Analyses::AnalysisProxy::GetRunPtr() const {
    return As<Run>(GetAnalysisPtr(), AnalysisType::Run);
}

Analyses::AnalysisType Analyses::AnalysisProxy::GetType() const {
    // An empty proxy answers a kind no analysis has.
    return analysis_ ? analysis_->GetType() : static_cast<AnalysisType>(-1);
}

CString Analyses::AnalysisProxy::GetAnalysisNickname() const {
    return analysis_ ? analysis_->GetAnalysisNickname() : CString();
}

void Analyses::AnalysisProxy::SetAnalysisIdentifier(int id) {
    if (analysis_)
        analysis_->SetAnalysisIdentifier(id);
}

long Analyses::AnalysisProxy::GetAnalysisProperty() const {
    return analysis_ ? analysis_->GetAnalysisProperty() : -1;
}

void Analyses::AnalysisProxy::SetAnalysisRawfile(const CString& f) {
    if (analysis_)
        analysis_->SetAnalysisRawfile(f);
}

CString Analyses::AnalysisProxy::GetAnalysisRawfile() const {
    return analysis_ ? analysis_->GetAnalysisRawfile() : CString();
}

void Analyses::AnalysisProxy::SetAnalysisReadableName(const CString& n) {
    if (analysis_)
        analysis_->SetAnalysisReadableName(n);
}

CString Analyses::AnalysisProxy::GetAnalysisReadableName() const {
    return analysis_ ? analysis_->GetAnalysisReadableName() : CString();
}

void Analyses::AnalysisProxy::SetPlotTitle(const CString& t) {
    if (analysis_)
        analysis_->SetPlotTitle(t);
}

CString Analyses::AnalysisProxy::GetPlotTitle() const {
    return analysis_ ? analysis_->GetPlotTitle() : CString();
}

void Analyses::AnalysisProxy::SetUseAnalysisOptions(int v) {
    if (analysis_)
        analysis_->SetUseAnalysisOptions(v);
}

int Analyses::AnalysisProxy::GetUseAnalysisOptions() const {
    return analysis_ ? analysis_->GetUseAnalysisOptions() : 0;
}

AnalysisOptions& Analyses::AnalysisProxy::GetAnalysisOptions() {
    return analysis_->GetAnalysisOptions(2);
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

const Analyses* Analyses::AnalysisProxy::GetMainAnalyses() const {
    return analysis_ ? analysis_->GetMainAnalyses() : nullptr;
}

Analyses::AnalysisNodes& Analyses::AnalysisProxy::GetAnalysisNodes() {
    return analysis_->GetAnalysisNodes();
}

void Analyses::AnalysisProxy::reset() {
    if (analysis_)
        analysis_->reset();
}

CString Analyses::AnalysisProxy::toNutmegCommand(long mask) const {
    return analysis_ ? analysis_->toNutmegCommand(mask) : CString();
}

CPropertyItem Analyses::AnalysisProxy::toPropertyItem() const {
    return analysis_ ? analysis_->toPropertyItem() : CPropertyItem();
}

_TREEITEM* Analyses::AnalysisProxy::toReadableText(CTreeLog& log, _TREEITEM* parent, long mask,
                                                   const char* prefix) const {
    return analysis_ ? analysis_->toReadableText(log, parent, mask, prefix) : parent;
}

_TREEITEM* Analyses::AnalysisProxy::toReadableText(CTreeCtrl& ctrl, _TREEITEM* parent, long mask,
                                                   const char* prefix) const {
    return analysis_ ? analysis_->toReadableText(ctrl, parent, mask, prefix) : parent;
}

void Analyses::AnalysisProxy::ShowDialog(CWnd* parent, COkCancelSimulate::EditMode mode, int* a,
                                         int* b) {
    if (analysis_)
        analysis_->ShowDialog(parent, mode, a, b);
}

int Analyses::AnalysisProxy::GetUseTStep() {
    if (!GetTranPtr() || !analysis_->GetMainAnalyses())
        return 0;
    const auto* mainTran =
        dynamic_cast<const Tran*>(analysis_->GetMainAnalyses()->GetAnalysis(AnalysisType::Tran));
    return mainTran ? mainTran->GetUseAutoTmax() : 0;
}

int Analyses::AnalysisProxy::SameAsDefault() const {
    return analysis_ && analysis_->SameAsDefault() ? 1 : 0;
}

int Analyses::AnalysisProxy::fromPropertyItem(const CPropertyItem& item, const Analyses* main) {
    if (!main || item.GetTypeOfValue() != CPropertyItem::List)
        return 0;
    Analyses::Analysis* a = ::NewAnalysisByNickname(item.GetLabel(), main);
    if (!a)
        return 0;
    SetAnalysisProxy(a, 1);
    return a->fromPropertyItem(item);
}
