// The collection: its table of analyses, copies, resets, run list, engine and random streams.
#include "analyses/core/analysis.h"
#include "analyses/core/analysis_factory.h"
#include "analyses/core/analysis_proxy.h"
#include "engine/simulation_engine.h"

#include <algorithm>

namespace {

using T = Analyses::AnalysisType;

bool HasSlot(T type) {
    const int t = static_cast<int>(type);
    return t >= 0 && t < Analyses::AnalysisTypeCount && type != T::Options;
}

// The analyses resetAll(type) resets, row by row, each in its order. User is in no row, not
// even the full one, and the User row resets the direct run: a user's own commands survive
// every reset.
constexpr T kAll[] = {T::Op,     T::Ac,     T::Tran,       T::Four,        T::Noise,   T::Disto,
                      T::Psweep, T::Tsweep, T::Pz,         T::Tf,          T::DcSweep, T::Sens,
                      T::Worst,  T::Monte,  T::TraceWidth, T::NoiseFigure, T::Run};
constexpr T kOp[] = {T::Op}, kAc[] = {T::Ac}, kTran[] = {T::Tran}, kFour[] = {T::Four},
            kNoise[] = {T::Ac, T::Noise}, kDisto[] = {T::Disto}, kDcSweep[] = {T::DcSweep},
            kPsweep[] = {T::Psweep}, kTsweep[] = {T::Tsweep}, kPz[] = {T::Pz}, kTf[] = {T::Tf},
            kSens[] = {T::Ac, T::Sens}, kWorst[] = {T::Op, T::Ac, T::Sens, T::Worst},
            kMonte[] = {T::Op, T::Ac, T::Sens, T::Monte}, kUser[] = {T::Run},
            kTraceWidth[] = {T::Tran, T::TraceWidth}, kNoiseFigure[] = {T::Ac, T::NoiseFigure};

struct ResetRowEntry {
    int type;
    std::span<const T> kinds;
};
constexpr ResetRowEntry kResetRows[] = {
    {-1, kAll},  {0, kOp},    {1, kAc},          {2, kTran},         {3, kFour},
    {4, kNoise}, {5, kDisto}, {6, kDcSweep},     {7, kPsweep},       {8, kTsweep},
    {9, kPz},    {10, kTf},   {11, kSens},       {12, kWorst},       {13, kMonte},
    {14, kUser}, {16, kAll},  {17, kTraceWidth}, {18, kNoiseFigure},
};

// Options and every value without a row reset nothing.
std::span<const T> ResetRow(T type) {
    for (const ResetRowEntry& row : kResetRows)
        if (row.type == static_cast<int>(type))
            return row.kinds;
    return {};
}

// What the typed copy holds of `type`: the analyses its reset row names, except that the
// user-defined analysis and the direct run are copied alone.
std::span<const T> CopyRow(T type) {
    static constexpr T kUser[] = {T::User}, kRun[] = {T::Run};
    if (type == T::User)
        return kUser;
    if (type == T::Run)
        return kRun;
    return ResetRow(type);
}

// A new analysis of `source`'s kind bound to `main` that reads `source`'s record, so that the
// settings objects inside it point at `main`; identifier and title come along. Null when the
// kind has no class.
std::unique_ptr<Analyses::Analysis> CopyOnto(const Analyses::Analysis& source,
                                             const Analyses* main) {
    std::unique_ptr<Analyses::Analysis> copy(NewAnalysisOfType(source.GetType(), main));
    if (!copy)
        return nullptr;
    copy->assign(source);
    copy->SetAnalysisIdentifier(source.GetAnalysisIdentifier());
    copy->SetPlotTitle(source.GetPlotTitle());
    return copy;
}

} // namespace

// Out of line, as the owners need the complete analysis class to clean up.
Analyses::Analyses()
    : COrvo(COrvo::Collection), maxPoints_(static_cast<int32_t>(Analysis::s_GetDefaultMaxPoints())),
      runList_(std::make_unique<SelectableAnalysisProxyList>()) {
    MakeRandStreams();
}

Analyses::Analyses(const Analyses& other)
    : COrvo(other), selection_(other.selection_), currentIdentifier_(other.currentIdentifier_),
      maxPoints_(other.maxPoints_), runList_(std::make_unique<SelectableAnalysisProxyList>()),
      asimEng_(other.asimEng_), randStreams_(other.randStreams_),
      randGeneration_(other.randGeneration_) {
    std::vector<AnalysisType> kinds;
    for (const OwnedKind& kind : kOwnedKinds)
        kinds.push_back(kind.type);
    CopyAnalyses(other, kinds);
    CopyRunList(other);
}

Analyses::Analyses(const Analyses& other, Instance*) : Analyses(other) {
}

Analyses::Analyses(const Analyses& other, Instance*, AnalysisType type)
    : COrvo(other), selection_(other.selection_), currentIdentifier_(other.currentIdentifier_),
      maxPoints_(static_cast<int32_t>(Analysis::s_GetDefaultMaxPoints())),
      runList_(std::make_unique<SelectableAnalysisProxyList>()), asimEng_(other.asimEng_),
      randStreams_(other.randStreams_), randGeneration_(other.randGeneration_) {
    CopyAnalyses(other, CopyRow(type));
}

Analyses& Analyses::operator=(const Analyses& other) {
    if (this == &other)
        return *this;
    std::vector<AnalysisType> kinds;
    for (const OwnedKind& kind : kOwnedKinds)
        kinds.push_back(kind.type);
    CopyAnalyses(other, kinds);
    selection_ = other.selection_;
    currentIdentifier_ = other.currentIdentifier_;
    maxPoints_ = other.maxPoints_;
    CopyRunList(other);
    asimEng_ = other.asimEng_;
    spareIndex_ = other.spareIndex_;
    randStreams_ = other.randStreams_;
    randGeneration_ = other.randGeneration_;
    return *this;
}

Analyses::~Analyses() = default;

void Analyses::CopyAnalyses(const Analyses& other, std::span<const AnalysisType> kinds) {
    for (const OwnedKind& kind : kOwnedKinds) {
        if (std::find(kinds.begin(), kinds.end(), kind.type) == kinds.end())
            continue;
        std::unique_ptr<Analysis>& owner = this->*kind.field;
        const Analysis* source = other.GetAnalysis(kind.type);
        if (!source) {
            owner.reset();
        } else if (owner && owner.get() != source &&
                   owner->GetAnalysisNickname() == source->GetAnalysisNickname()) {
            owner->assign(*source);
            owner->SetAnalysisIdentifier(source->GetAnalysisIdentifier());
            owner->SetPlotTitle(source->GetPlotTitle());
        } else if (owner.get() != source) {
            owner = CopyOnto(*source, this);
        }
        RegisterAnalysis(kind.type, owner.get());
    }
}

void Analyses::CopyRunList(const Analyses& other) {
    runList_->RemoveAll();
    other.runList_->ForEach([&](const SelectableAnalysisProxy& entry) {
        const Analysis* held = entry.proxy.GetAnalysisPtr();
        std::unique_ptr<Analysis> own =
            entry.proxy.GetOwnerFlag() && held ? CopyOnto(*held, this) : nullptr;
        if (!own) {
            runList_->Add(entry); // a borrowed analysis stays borrowed
            return;
        }
        auto copy = std::make_unique<SelectableAnalysisProxy>();
        copy->selected = entry.selected;
        copy->proxy.SetAnalysisProxy(own.release(), 1);
        copy->proxy.SetTstep(entry.proxy.GetTstep());
        if (entry.proxy.GetChange())
            copy->proxy.SetChange();
        runList_->Adopt(std::move(copy));
    });
}

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

CString Analyses::s_GetPropertyLabel() {
    return "ANALYSES";
}

CASimulationEngine* Analyses::GetAsimEng() const {
    // Shared by every collection without an engine of its own: the base
    // engine answers everything harmlessly.
    static CASimulationEngine doNothing;
    return asimEng_ ? asimEng_ : &doNothing;
}

void Analyses::MakeRandStreams() {
    // One by one, so that stream i always takes the i-th seed of the sequence.
    randStreams_.clear();
    randStreams_.reserve(kRandStreamCount);
    for (int i = 0; i < kRandStreamCount; ++i)
        randStreams_.emplace_back();
    randGeneration_ = Random::GetSeedGeneration();
}

Random& Analyses::GetRandStream(int n) {
    if (randGeneration_ != Random::GetSeedGeneration())
        MakeRandStreams();
    const int index = std::clamp(n + kRandStreamOffset, 0, kRandStreamCount - 1);
    return randStreams_[static_cast<size_t>(index)];
}

void Analyses::resetAll(AnalysisType type) {
    selection_ = -1;
    for (const AnalysisType kind : ResetRow(type))
        if (Analysis* a = GetAnalysis(kind))
            a->reset();
    runList_->RemoveAll();
    currentIdentifier_ = 1;
    maxPoints_ = static_cast<int32_t>(Analysis::s_GetDefaultMaxPoints());
}

void Analyses::UpdateAnalysisNodeList() {
    CASimulationEngine* engine = GetAsimEng();
    engine->UpdateAnalysisNodeList();
    engine->LockUpdateAnalysisNodeList(1);
    runList_->ForEach([](SelectableAnalysisProxy& entry) { entry.proxy.UpdateAnalysisNodeList(); });
    engine->LockUpdateAnalysisNodeList(0);
}

CString Analyses::GetAllocFile() {
    return GetAsimEng()->GetAllocFile(IncrementCurrentIdentifier());
}

_TREEITEM* Analyses::toReadableText(CTreeLog& log, _TREEITEM* parent) const {
    const long mask = ~static_cast<long>(Analysis::TT_NO_HEADING);
    runList_->ForEach([&](const SelectableAnalysisProxy& entry) {
        entry.proxy.toReadableText(log, parent, mask, nullptr);
    });
    return parent;
}

_TREEITEM* Analyses::toReadableText(CTreeCtrl& ctrl, _TREEITEM* parent) const {
    CTreeLog log("", "", &ctrl);
    return toReadableText(log, parent);
}

void Analyses::GetNameMap(CMapStringToPtr& map) {
    for (int t = 0; t < AnalysisTypeCount; ++t)
        if (Analysis* a = GetAnalysis(static_cast<AnalysisType>(t)))
            map[a->GetAnalysisNickname()] = a;
}
