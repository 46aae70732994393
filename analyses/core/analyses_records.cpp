// The collection's stored form: the "ANALYSES" item with its run list, and filtering by kind.
#include "analyses/core/analysis.h"
#include "analyses/core/analysis_proxy.h"
#include "engine/simulation_engine.h"

#include <set>

namespace {

using T = Analyses::AnalysisType;

constexpr const char* kRunListLabel = "ANALYSIS_LIST";
constexpr const char* kSelectionLabel = "USE";
constexpr const char* kIdentifierLabel = "CURRENT_ID";

constexpr T kWriteOrder[] = {T::Op,     T::Ac,     T::Tran, T::Four, T::Noise,      T::Disto,
                             T::Psweep, T::Tsweep, T::Pz,   T::Tf,   T::DcSweep,    T::Sens,
                             T::Worst,  T::Monte,  T::User, T::Run,  T::TraceWidth, T::NoiseFigure};
// A stored analysis is offered to the kinds in this order; the two sweeps come between the
// two halves. Pz is asked twice, as sets have always been read: the second time never
// takes anything the first refused.
constexpr T kReadBeforeSweeps[] = {T::Op, T::Ac, T::Tran, T::Four, T::Noise, T::Disto};
constexpr T kReadAfterSweeps[] = {T::Pz,          T::Tf,         T::DcSweep, T::Sens,
                                  T::Worst,       T::Monte,      T::User,    T::Run,
                                  T::NoiseFigure, T::TraceWidth, T::Pz};

bool IsLabelled(const CPropertyItem& item, const char* label, CPropertyItem::Type type) {
    return item.GetLabel() == label && item.GetTypeOfValue() == type;
}

bool Reads(Analyses& set, T kind, const CPropertyItem& field) {
    Analyses::Analysis* a = set.GetAnalysis(kind);
    return a && a->fromPropertyItem(field) != 0;
}

// Offers a stored analysis to the kinds in their order; true when one took it. The toggle
// pairs the sweeps: a PSWEEP is taken while the toggle is 1 and a TSWEEP while it is 0, each
// flipping it, so that a second PSWEEP in a row is read into the parameter sweep all the
// same but not taken.
bool TakeStoredAnalysis(Analyses& set, const CPropertyItem& field, int& sweepToggle) {
    for (const T kind : kReadBeforeSweeps)
        if (Reads(set, kind, field))
            return true;
    if (Reads(set, T::Psweep, field) && sweepToggle == 1) {
        sweepToggle = 0;
        return true;
    }
    if (Reads(set, T::Tsweep, field) && sweepToggle == 0) {
        sweepToggle = 1;
        return true;
    }
    for (const T kind : kReadAfterSweeps)
        if (Reads(set, kind, field))
            return true;
    return false;
}

} // namespace

CPropertyItem Analyses::toPropertyItemRun() const {
    CPropertyList entries;
    runList_->ForEach([&](const SelectableAnalysisProxy& entry) {
        entries.AddItem(entry.proxy.toPropertyItem());
    });
    return CPropertyItem(kRunListLabel, entries);
}

CPropertyItem Analyses::toPropertyItem() const {
    CPropertyList fields;
    fields.AddItem(toPropertyItemRun());
    fields.AddItem(CPropertyItem(kSelectionLabel, static_cast<long>(selection_)));
    fields.AddItem(CPropertyItem(kIdentifierLabel, static_cast<long>(currentIdentifier_)));
    for (const T kind : kWriteOrder)
        if (const Analysis* a = GetAnalysis(kind))
            fields.AddItem(a->toPropertyItem());
    return CPropertyItem(s_GetPropertyLabel(), fields);
}

bool Analyses::TakeRunSetField(const CPropertyItem& field, int renumber) {
    if (fromPropertyItemList(field, renumber))
        return true;
    if (IsLabelled(field, kSelectionLabel, CPropertyItem::Int)) {
        selection_ = static_cast<int>(field.GetInt());
        return true;
    }
    if (IsLabelled(field, kIdentifierLabel, CPropertyItem::Int)) {
        currentIdentifier_ = static_cast<int>(field.GetInt());
        return true;
    }
    return false;
}

int Analyses::fromPropertyItem(const CPropertyItem& item, int renumber) {
    if (!IsLabelled(item, s_GetPropertyLabel(), CPropertyItem::List))
        return 0;
    resetAll(static_cast<AnalysisType>(-1));
    int result = 1;
    int sweepToggle = 1;
    for (const CPropertyItem& field : item.GetPropertyList()) {
        if (field.IsEmpty())
            break;
        if (!TakeRunSetField(field, renumber) && !TakeStoredAnalysis(*this, field, sweepToggle))
            result = 0;
    }
    return result;
}

int Analyses::InitFromPropertyItem(const CPropertyItem& item, int renumber) {
    if (!IsLabelled(item, s_GetPropertyLabel(), CPropertyItem::List))
        return 0;
    resetAll(static_cast<AnalysisType>(-1));
    int result = 1;
    for (const CPropertyItem& field : item.GetPropertyList()) {
        if (field.IsEmpty())
            break;
        if (!TakeRunSetField(field, renumber))
            result = 0;
    }
    return result;
}

int Analyses::fromPropertyItemList(const CPropertyItem& item, int renumber) {
    if (!IsLabelled(item, kRunListLabel, CPropertyItem::List))
        return 0;
    int result = 1;
    for (const CPropertyItem& field : item.GetPropertyList()) {
        auto entry = std::make_unique<SelectableAnalysisProxy>();
        if (!entry->proxy.fromPropertyItem(field, this)) {
            result = 0;
            continue;
        }
        if (renumber) {
            const int id = IncrementCurrentIdentifier();
            entry->proxy.SetAnalysisIdentifier(id);
            entry->proxy.SetAnalysisRawfile(GetAsimEng()->GetAllocFile(id));
        }
        runList_->Adopt(std::move(entry));
    }
    return result;
}

int Analyses::FilterProperties(CPropertyItem& item, std::span<const int> types) const {
    if (!IsLabelled(item, s_GetPropertyLabel(), CPropertyItem::List))
        return 0;
    std::set<CString> wanted;
    for (const int type : types)
        if (const Analysis* a = GetAnalysis(static_cast<AnalysisType>(type)))
            wanted.insert(a->GetAnalysisNickname());
    CPropertyList kept;
    for (const CPropertyItem& field : item.GetPropertyList())
        if (!field.GetLabel().IsEmpty() && wanted.count(field.GetLabel()))
            kept.AddItem(field);
    item = CPropertyItem(s_GetPropertyLabel(), kept);
    return 1;
}
