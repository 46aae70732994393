// Parameter and temperature sweeps: settings, record and readable text (the run is in
// parameter_sweep_run.cpp).
#include "analyses/compound/parameter_sweep.h"

#include "analyses/compound/psweep.h"
#include "analyses/core/analysis_text.h"
#include "engine/simulation_engine.h"
#include "platform/resources.h"

#include <algorithm>
#include <type_traits>

namespace {

using Key = PropertyKeys::Key<ParameterSweep>;

// A member with no names at all. Assigning a default member is not enough: a member's
// assignment keeps the target's names when the source has none.
void ClearMember(CSPICEdevMember& member, int isinst) {
    member = CSPICEdevMember();
    member.CopyNames(CSPICEdevMember());
    member.SetIsInstance(isinst);
}

// An exact copy of `source`'s names, whether it has any or not.
void CopyMember(CSPICEdevMember& target, const CSPICEdevMember& source) {
    target.CopyNames(source);
    target = source;
}

template <ParameterSweep::SweepType T>
using Kind = std::integral_constant<ParameterSweep::SweepType, T>;

bool IsList(const CPropertyItem& item) {
    return item.GetTypeOfValue() == CPropertyItem::List;
}

CString OrNone(const CString& name) {
    return name.IsEmpty() ? GetResourceString(IDS_PSWEEP_NONE) : name;
}

} // namespace

ParameterSweep::ParameterSweep(const Analyses* owner, int level)
    : CPlotEventSink(CString::Formatted("%s%d", GetResourceText(IDS_PSWEEP_SINK_NAME), level),
                     GetResourceString(IDS_PSWEEP_SINK_DESCRIPTION), owner),
      ac_(owner), tran_(owner), level_(level) {
    reset();
}

ParameterSweep::ParameterSweep(const ParameterSweep& other)
    : CPlotEventSink(other), ac_(other.ac_), tran_(other.tran_) {
    structCopy(other);
}

ParameterSweep::ParameterSweep(const ParameterSweep& other, Instance*) : ParameterSweep(other) {
}

ParameterSweep& ParameterSweep::operator=(const ParameterSweep& other) {
    if (this != &other) {
        CPlotEventSink::operator=(other);
        structCopy(other);
    }
    return *this;
}

ParameterSweep::~ParameterSweep() = default;

void ParameterSweep::structCopy(const ParameterSweep& other) {
    if (this == &other)
        return;
    sweepType_ = other.sweepType_;
    analysisType_ = other.analysisType_;
    for (size_t i = 0; i < members_.size(); ++i)
        CopyMember(members_[i], other.members_[i]);
    params_ = other.params_;
    variations_ = other.variations_;
    ac_ = other.ac_;
    tran_ = other.tran_;
    groupAllTraces_ = other.groupAllTraces_;
    level_ = other.level_;
    nested_ = other.nested_ ? std::make_unique<ParameterSweep>(*other.nested_) : nullptr;
    SetEventOwner(other.GetEventOwner());
    nickname_ = other.nickname_;
}

void ParameterSweep::copyMemberToSweep(const ParameterSweep& other, CSpiceCircuit& circuit) {
    structCopy(other);
    CASimulationEngine* engine = CSPICEdevMember::GetSimEngine();
    if (!engine && GetEventOwner())
        engine = GetEventOwner()->GetAsimEng();
    if (!engine)
        return;
    for (size_t i = 0; i < 2; ++i)
        CopyMember(members_[i], other.members_[i].memberWithNewCirc(circuit, *engine));
}

void ParameterSweep::reset() {
    ac_.reset();
    tran_.reset();
    if (nested_)
        nested_->reset();
    variations_[TemperatureSweep].reset();
    variations_[DeviceSweep].reset();
    ClearMember(members_[DeviceSweep], 1);
    params_[DeviceSweep] = CSPICEparam();
    variations_[ModelSweep].reset();
    ClearMember(members_[ModelSweep], 0);
    params_[ModelSweep] = CSPICEparam();
}

Analyses::AnalysisType ParameterSweep::GetType() const {
    return nickname_ == AnalysisNickname(Analyses::AnalysisType::Tsweep)
               ? Analyses::AnalysisType::Tsweep
               : Analyses::AnalysisType::Psweep;
}

int ParameterSweep::GetNodeType() const {
    switch (analysisType_) {
    case InnerOp:
        return AT_OP;
    case InnerAc:
        return AT_AC;
    case InnerTran:
        return AT_TRAN;
    case InnerSweep:
        return nested_ ? nested_->GetNodeType() : static_cast<int>(AT_NONE);
    }
    return AT_NONE;
}

int ParameterSweep::GetOutputVariableClass() const {
    switch (GetNodeType()) {
    case AT_OP:
    case AT_TRAN:
        return OVC_DCnames;
    case AT_AC:
        return OVC_CKTnames;
    default:
        return OVC_NONE;
    }
}

CString ParameterSweep::GetXAxisUnitString() const {
    switch (GetNodeType()) {
    case AT_AC:
        return GetResourceString(IDS_PSWEEP_UNIT_HERTZ);
    case AT_TRAN:
        return GetResourceString(IDS_PSWEEP_UNIT_SECOND);
    default:
        return CString();
    }
}

void ParameterSweep::SetSweepAnalysisType(SweepAnalysisType t) {
    analysisType_ = t;
    if (t == InnerSweep && !nested_) {
        // A new level is a plain parameter sweep; its own sweep type says what it varies.
        nested_ = std::make_unique<ParameterSweep>(GetEventOwner(), level_ + 1);
        nested_->SetNickName(AnalysisNickname(Analyses::AnalysisType::Psweep));
    }
}

const ParameterSweep* ParameterSweep::GetMainAnalysis() const {
    const Analyses* owner = GetEventOwner();
    const auto* sweep =
        owner ? dynamic_cast<const Analyses::Psweep*>(owner->GetAnalysis(GetType())) : nullptr;
    return sweep ? &sweep->GetParameterSweep() : nullptr;
}

CString ParameterSweep::GetError() const {
    if (sweepType_ != TemperatureSweep) {
        const CSPICEdevMember& member = members_[Index(sweepType_)];
        const CString name = sweepType_ == DeviceSweep ? member.GetName() : member.GetModelName();
        if (name.IsEmpty())
            return GetResourceString(IDS_PSWEEP_ERR_NO_ELEMENT);
        if (params_[Index(sweepType_)].GetName().IsEmpty())
            return GetResourceString(IDS_PSWEEP_ERR_NO_PARAMETER);
    }
    if (!SweepVariationIterator(GetVariation()))
        return GetResourceString(IDS_PSWEEP_ERR_NO_VALUES);
    if (analysisType_ == InnerSweep && nested_)
        return nested_->GetError();
    return CString();
}

std::span<const Key> ParameterSweep::Keys() {
    using PropertyKeys::Field;
    using Item = CPropertyItem;
    // Each nested record is skipped when its value is no list and fails the record when it
    // does not read.
    auto variation = []<SweepType T>(Kind<T>, const char* label) -> Key {
        return {label,
                [](const ParameterSweep& s, const char* name, CPropertyList& list) {
                    list.AddItem(Item(name, s.variations_[T].toPropertyList()));
                },
                [](ParameterSweep& s, const CPropertyItem& item) {
                    return !IsList(item) ||
                           s.variations_[T].fromPropertyList(item.GetPropertyList()) != 0;
                }};
    };
    auto member = []<SweepType T>(Kind<T>, const char* label) -> Key {
        return {label,
                [](const ParameterSweep& s, const char* name, CPropertyList& list) {
                    // The member's record is a cache it rebuilds on demand.
                    list.AddItem(Item(name, s.members_[T].toPropertyList(0)));
                },
                [](ParameterSweep& s, const CPropertyItem& item) {
                    return !IsList(item) || s.members_[T].fromPropertyList(
                                                item.GetPropertyList(),
                                                CSpiceDevice_generic_iterator_wrapper()) != 0;
                }};
    };
    auto parameter = []<SweepType T>(Kind<T>, const char* label) -> Key {
        return {label,
                [](const ParameterSweep& s, const char* name, CPropertyList& list) {
                    list.AddItem(Item(name, s.params_[T].toPropertyList()));
                },
                [](ParameterSweep& s, const CPropertyItem& item) {
                    return !IsList(item) ||
                           s.params_[T].fromPropertyList(item.GetPropertyList()) != 0;
                }};
    };
    static const Key keys[] = {
        variation(Kind<DeviceSweep>{}, "DeviceSweep"),
        variation(Kind<ModelSweep>{}, "ModelSweep"),
        variation(Kind<TemperatureSweep>{}, "TemperatureSweep"),
        Field<&ParameterSweep::sweepType_>("SweepType"),
        Field<&ParameterSweep::analysisType_, &ParameterSweep::SetSweepAnalysisType>(
            "AnalysisType"),
        member(Kind<DeviceSweep>{}, "InstToSweep"),
        member(Kind<ModelSweep>{}, "ModelToSweep"),
        parameter(Kind<DeviceSweep>{}, "InstParamToSweep"),
        parameter(Kind<ModelSweep>{}, "ModelParamToSweep"),
        {"Ac",
         [](const ParameterSweep& s, const char* name, CPropertyList& list) {
             list.AddItem(Item(name, s.ac_.toPropertyList()));
         },
         [](ParameterSweep& s, const CPropertyItem& item) {
             return !IsList(item) || s.ac_.fromPropertyList(item.GetPropertyList()) != 0;
         }},
        {"Tran",
         [](const ParameterSweep& s, const char* name, CPropertyList& list) {
             list.AddItem(Item(name, s.tran_.toPropertyList()));
         },
         [](ParameterSweep& s, const CPropertyItem& item) {
             return !IsList(item) || s.tran_.fromPropertyList(item.GetPropertyList()) != 0;
         }},
        // The nested sweep's record is stored under the nested sweep's name, so its row has
        // no label of its own and only writes; the reader recognises it as the one list
        // that no other row claims.
        {nullptr,
         [](const ParameterSweep& s, const char*, CPropertyList& list) {
             if (s.nested_)
                 list.AddItem(Item(s.nested_->GetAnalysisName(), s.nested_->toPropertyList()));
         },
         nullptr},
        Field<&ParameterSweep::groupAllTraces_>("GroupTraces"),
    };
    return keys;
}

CPropertyList ParameterSweep::toPropertyList() const {
    return PropertyKeys::Write(*this, Keys());
}

int ParameterSweep::fromPropertyList(const CPropertyList& list) {
    int result = 1;
    for (const CPropertyItem& item : list) {
        const auto keys = Keys();
        const auto key = std::find_if(keys.begin(), keys.end(), [&](const Key& k) {
            return k.label && item.GetLabel() == k.label;
        });
        if (key != keys.end()) {
            if (!key->read(*this, item))
                result = 0;
        } else if (item.GetTypeOfValue() == CPropertyItem::List) {
            if (!ReadNested(item))
                result = 0;
        } else {
            result = 0;
        }
    }
    return result;
}

int ParameterSweep::ReadNested(const CPropertyItem& item) {
    if (!nested_) {
        nested_ = std::make_unique<ParameterSweep>(GetEventOwner(), level_ + 1);
        nested_->SetNickName(AnalysisNickname(Analyses::AnalysisType::Psweep));
    }
    // The label is the nested sweep's name, so that the record is written back as it was read.
    if (!item.GetLabel().IsEmpty())
        nested_->SetNickName(item.GetLabel());
    return nested_->fromPropertyList(item.GetPropertyList());
}

CString ParameterSweep::toNutmegCommand() const {
    const char* head =
        GetType() == Analyses::AnalysisType::Psweep ? "orvo psweep " : "orvo tsweep ";
    return head + toPropertyList().GetList() + "; ";
}

void ParameterSweep::toReadableText(CTreeLog& log, _TREEITEM* parent) const {
    const size_t type = Index(sweepType_);
    const CSPICEdevMember& member = members_[type];
    switch (sweepType_) {
    case TemperatureSweep:
        InsertLine(log, parent, IDS_PSWEEP_SWEPT, GetResourceString(IDS_PSWEEP_TEMPERATURE));
        break;
    case ModelSweep:
        InsertLine(log, parent, IDS_PSWEEP_SWEPT, GetResourceString(IDS_PSWEEP_MODEL_PARAMETER));
        InsertLine(log, parent, IDS_PSWEEP_MODEL, OrNone(member.GetModelName()));
        InsertLine(log, parent, IDS_PSWEEP_PARAMETER, OrNone(params_[type].GetName()));
        break;
    default:
        InsertLine(log, parent, IDS_PSWEEP_SWEPT, GetResourceString(IDS_PSWEEP_DEVICE_PARAMETER));
        InsertLine(log, parent, IDS_PSWEEP_INSTANCE, OrNone(member.GetName()));
        InsertLine(log, parent, IDS_PSWEEP_PARAMETER, OrNone(params_[type].GetName()));
        break;
    }
    variations_[type].toReadableText(log, parent);

    if (analysisType_ == InnerSweep) {
        // The nested level's own settings, under a heading of their own.
        _TREEITEM* heading =
            log.InsertItem(CTreeLog::Heading, GetResourceText(IDS_PSWEEP_NESTED), parent);
        if (nested_)
            nested_->toReadableText(log, heading);
    } else {
        static constexpr unsigned kInnerNames[] = {IDS_NAME_OP, IDS_NAME_AC, IDS_NAME_TRAN};
        const auto inner = static_cast<size_t>(analysisType_);
        const CString name =
            inner < std::size(kInnerNames) ? GetResourceString(kInnerNames[inner]) : CString();
        _TREEITEM* item = log.InsertItem(
            CTreeLog::Normal, GetResourceString(IDS_PSWEEP_INNER) + OrNone(name), parent);
        if (analysisType_ == InnerAc)
            ac_.toReadableText(log, item);
        else if (analysisType_ == InnerTran)
            tran_.toReadableText(log, item);
    }
    InsertLine(log, parent, IDS_PSWEEP_GROUP,
               GetResourceString(groupAllTraces_ ? IDS_PSWEEP_YES : IDS_PSWEEP_NO));
}
