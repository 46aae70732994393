// Analysis handles: ownership, forwarding and creation from a stored item.
#include "analyses/core/analysis_proxy.h"

#include "analyses/core/analysis_factory.h"

Analyses::AnalysisProxy::AnalysisProxy() : COrvo(COrvo::Proxy) {
}

Analyses::AnalysisProxy::AnalysisProxy(Analyses::Analysis* a, int own)
    : COrvo(COrvo::Proxy), analysis_(own ? (a ? a->Clone() : nullptr) : a), owner_(own), tstep_(0) {
}

Analyses::AnalysisProxy::AnalysisProxy(const AnalysisProxy& other)
    : COrvo(COrvo::Proxy),
      analysis_(other.owner_ && other.analysis_ ? other.analysis_->Clone() : other.analysis_),
      owner_(other.owner_), tstep_(other.tstep_), changed_(other.changed_) {
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
    changed_ = other.changed_;
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
    changed_ = 0;
}

void Analyses::AnalysisProxy::SetType(AnalysisType type, Analyses* main) {
    if (type == AnalysisType::Options)
        return;
    if (Analyses::Analysis* a = NewAnalysisOfType(type, main))
        SetAnalysisProxy(a, 1);
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
