// Sensitivity analysis: command line, persistence and readable summary.
#include "analyses/single/sens.h"

#include "analyses/core/analysis_text.h"
#include "platform/helpers.h"
#include "platform/resources.h"

#include <type_traits>

namespace {

template <Analyses::AnalysisType K> using Kind = std::integral_constant<Analyses::AnalysisType, K>;

/// The embedded analysis of kind `K` (Ac or Op).
template <Analyses::AnalysisType K, class Target> auto& Embedded(Target& target) {
    if constexpr (K == Analyses::AnalysisType::Ac)
        return target.ac;
    else
        return target.op;
}

} // namespace

SensTarget& SensTarget::operator=(const SensTarget& other) {
    ac = other.ac;
    op = other.op;
    Select(other.Type());
    return *this;
}

void SensTarget::Select(Analyses::AnalysisType type) {
    if (type == Analyses::AnalysisType::Ac)
        proxy.SetAnalysisProxy(&ac, 0);
    else
        proxy.SetAnalysisProxy(&op, 0);
}

SensAnalysis::SensAnalysis(const Analyses* main) : main_(main), target_(main) {
    reset();
}

void SensAnalysis::reset() {
    filterCurrentSource_ = filterOutputNode_ = filterOutputRefNode_ = Analyses::NF_NONE;
    currentSource_.Empty();
    outputNode_.Empty();
    outputRefNode_.Empty();
    useAbsoluteScaling_ = 1;
    useCurrentSource_ = 0;
    // Only the analysis in use returns to its defaults; the type stays as it is.
    target_.proxy.reset();
}

int SensAnalysis::GetOutputVariableClass() const {
    return GetSensType() == Analyses::AnalysisType::Ac ? OVC_SENS_CKTnames_ac
                                                       : OVC_SENS_CKTnames_op;
}

CString SensAnalysis::toNutmegCommand() const {
    // The sweep takes part only while the proxy holds this object's AC settings.
    const Analyses::Ac* ac = target_.proxy.GetAnalysisPtr() == &target_.ac ? &target_.ac : nullptr;
    CString cmd = ac ? ac->GetAxisCmd() : CString();
    cmd += CommandHead("sens");
    cmd += OutputVector(useCurrentSource_, currentSource_, outputNode_, outputRefNode_);
    if (ac)
        cmd += "ac " + ac->GetACArguments();
    if (!useAbsoluteScaling_)
        cmd += " relative";
    return cmd;
}

std::span<const PropertyKeys::Key<SensAnalysis>> SensAnalysis::Keys() {
    using PropertyKeys::Field;
    using Key = PropertyKeys::Key<SensAnalysis>;
    // The analysis in use is stored last, as its own item labelled with its
    // nickname; reading either one selects it, even when it reads badly.
    auto embedded = []<Analyses::AnalysisType K>(Kind<K>) -> Key {
        return {AnalysisNickname(K),
                [](const SensAnalysis& s, const char*, CPropertyList& list) {
                    if (s.GetSensType() == K)
                        list.AddItem(Embedded<K>(s.target_).toPropertyItem());
                },
                [](SensAnalysis& s, const CPropertyItem& item) {
                    if (item.GetTypeOfValue() != CPropertyItem::List)
                        return true;
                    const bool read = Embedded<K>(s.target_).fromPropertyItem(item) != 0;
                    s.SetSensType(K);
                    return read;
                }};
    };
    static const Key keys[] = {
        Field<&SensAnalysis::filterCurrentSource_>("NodeFilterCurrentSource"),
        Field<&SensAnalysis::filterOutputNode_>("NodeFilterOutputNode"),
        Field<&SensAnalysis::filterOutputRefNode_>("NodeFilterOutputRefNode"),
        Field<&SensAnalysis::currentSource_>("CurrentSource"),
        Field<&SensAnalysis::outputNode_>("OutputNode"),
        Field<&SensAnalysis::outputRefNode_>("OutputRefNode"),
        Field<&SensAnalysis::useAbsoluteScaling_>("UseAbsoluteScaling"),
        Field<&SensAnalysis::useCurrentSource_>("UseCurrentSource"),
        embedded(Kind<Analyses::AnalysisType::Ac>{}),
        embedded(Kind<Analyses::AnalysisType::Op>{}),
    };
    return keys;
}

CPropertyList SensAnalysis::toPropertyList() const {
    return PropertyKeys::Write(*this, Keys());
}

int SensAnalysis::fromPropertyList(const CPropertyList& list) {
    return PropertyKeys::Read(*this, list, Keys());
}

void SensAnalysis::toReadableText(CTreeLog& log, _TREEITEM* parent) const {
    if (useCurrentSource_) {
        InsertNameLine(log, parent, IDS_SENS_CURRENT_SOURCE, currentSource_);
    } else {
        InsertNameLine(log, parent, IDS_SENS_OUTPUT_NODE, outputNode_);
        InsertNameLine(log, parent, IDS_SENS_OUTPUT_REF_NODE, outputRefNode_);
    }
    InsertLine(log, parent, IDS_SENS_OUTPUT_SCALING,
               GetResourceString(useAbsoluteScaling_ ? IDS_SENS_ABSOLUTE : IDS_SENS_RELATIVE));
    target_.proxy.toReadableText(log, parent, Analyses::Analysis::TT_SETTINGS, nullptr);
}
