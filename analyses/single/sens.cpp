// Sensitivity analysis: the settings' copies, command line, persistence and summary.
#include "analyses/single/sens.h"

#include "analyses/core/property_reader.h"

#include "platform/helpers.h"
#include "platform/resources.h"

SensAnalysis::SensAnalysis(const Analyses* main) : main_(main), ac_(main), op_(main) {
    SetSensType(Analyses::AnalysisType::Op);
    reset();
}

SensAnalysis::SensAnalysis(const SensAnalysis& other)
    : main_(other.main_), filterCurrentSource_(other.filterCurrentSource_),
      filterOutputNode_(other.filterOutputNode_), filterOutputRefNode_(other.filterOutputRefNode_),
      currentSource_(other.currentSource_), outputNode_(other.outputNode_),
      outputRefNode_(other.outputRefNode_), useAbsoluteScaling_(other.useAbsoluteScaling_),
      useCurrentSource_(other.useCurrentSource_), ac_(other.ac_), op_(other.op_) {
    SetSensType(other.GetSensType());
}

SensAnalysis& SensAnalysis::operator=(const SensAnalysis& other) {
    if (this == &other)
        return *this;
    main_ = other.main_;
    filterCurrentSource_ = other.filterCurrentSource_;
    filterOutputNode_ = other.filterOutputNode_;
    filterOutputRefNode_ = other.filterOutputRefNode_;
    currentSource_ = other.currentSource_;
    outputNode_ = other.outputNode_;
    outputRefNode_ = other.outputRefNode_;
    useAbsoluteScaling_ = other.useAbsoluteScaling_;
    useCurrentSource_ = other.useCurrentSource_;
    ac_ = other.ac_;
    op_ = other.op_;
    SetSensType(other.GetSensType());
    return *this;
}

SensAnalysis::~SensAnalysis() = default;

void SensAnalysis::reset() {
    filterCurrentSource_ = filterOutputNode_ = filterOutputRefNode_ = Analyses::NF_NONE;
    currentSource_.Empty();
    outputNode_.Empty();
    outputRefNode_.Empty();
    useAbsoluteScaling_ = 1;
    useCurrentSource_ = 0;
    // Only the analysis in use returns to its defaults; the type stays as it is.
    proxy_.reset();
}

int SensAnalysis::GetOutputVariableClass() const {
    return GetSensType() == Analyses::AnalysisType::Ac ? OVC_SENS_CKTnames_ac
                                                       : OVC_SENS_CKTnames_op;
}

Analyses::AnalysisType SensAnalysis::GetSensType() const {
    return proxy_.GetType();
}

void SensAnalysis::SetSensType(Analyses::AnalysisType type) {
    if (type == Analyses::AnalysisType::Ac)
        proxy_.SetAnalysisProxy(&ac_, 0);
    else
        proxy_.SetAnalysisProxy(&op_, 0);
}

CString SensAnalysis::toNutmegCommand() const {
    // The sweep takes part only while the proxy holds this object's AC settings.
    const Analyses::Ac* ac = proxy_.GetAnalysisPtr() == &ac_ ? &ac_ : nullptr;
    CString cmd;
    if (ac)
        cmd += ac->GetAxisCmd();
    cmd += "sens ";
    cmd += " -env-options ";
    const CString source = ConvertNullToGround(currentSource_);
    if (useCurrentSource_ && source != "$0")
        cmd += "i(" + source + ") ";
    else
        cmd += "v(" + ConvertNullToGround(outputNode_) + "," + ConvertNullToGround(outputRefNode_) +
               ") ";
    if (ac)
        cmd += "ac " + ac->GetACArguments();
    if (!useAbsoluteScaling_)
        cmd += " relative";
    return cmd;
}

CPropertyList SensAnalysis::toPropertyList() const {
    CPropertyList list;
    list.AddItem(CPropertyItem("NodeFilterCurrentSource", static_cast<long>(filterCurrentSource_)));
    list.AddItem(CPropertyItem("NodeFilterOutputNode", static_cast<long>(filterOutputNode_)));
    list.AddItem(CPropertyItem("NodeFilterOutputRefNode", static_cast<long>(filterOutputRefNode_)));
    list.AddItem(CPropertyItem("CurrentSource", currentSource_));
    list.AddItem(CPropertyItem("OutputNode", outputNode_));
    list.AddItem(CPropertyItem("OutputRefNode", outputRefNode_));
    list.AddItem(CPropertyItem("UseAbsoluteScaling", static_cast<long>(useAbsoluteScaling_)));
    list.AddItem(CPropertyItem("UseCurrentSource", static_cast<long>(useCurrentSource_)));
    list.AddItem(proxy_.toPropertyItem());
    return list;
}

int SensAnalysis::fromPropertyList(const CPropertyList& list) {
    static constexpr PropertyReader::IntKey<SensAnalysis, Analyses::NodeFilter> filters[] = {
        {"NodeFilterCurrentSource", &SensAnalysis::filterCurrentSource_},
        {"NodeFilterOutputNode", &SensAnalysis::filterOutputNode_},
        {"NodeFilterOutputRefNode", &SensAnalysis::filterOutputRefNode_},
    };
    static constexpr PropertyReader::StringKey<SensAnalysis> names[] = {
        {"CurrentSource", &SensAnalysis::currentSource_},
        {"OutputNode", &SensAnalysis::outputNode_},
        {"OutputRefNode", &SensAnalysis::outputRefNode_},
    };
    static constexpr PropertyReader::IntKey<SensAnalysis, int32_t> flags[] = {
        {"UseAbsoluteScaling", &SensAnalysis::useAbsoluteScaling_},
        {"UseCurrentSource", &SensAnalysis::useCurrentSource_},
    };

    int result = 1;
    for (const CPropertyItem& item : list) {
        const CString& label = item.GetLabel();
        const CPropertyItem::Type type = item.GetTypeOfValue();
        bool known = PropertyReader::ApplyKnownKey(*this, item, filters, names, flags);
        // The proxy's item: read into the matching embedded analysis and select it.
        if (label == ac_.GetAnalysisNickname()) {
            known = true;
            if (type == CPropertyItem::List) {
                if (!ac_.fromPropertyItem(item))
                    result = 0;
                SetSensType(Analyses::AnalysisType::Ac);
            }
        } else if (label == op_.GetAnalysisNickname()) {
            known = true;
            if (type == CPropertyItem::List) {
                if (!op_.fromPropertyItem(item))
                    result = 0;
                SetSensType(Analyses::AnalysisType::Op);
            }
        }
        if (!known)
            result = 0;
    }
    return result;
}

void SensAnalysis::toReadableText(CTreeLog& log, _TREEITEM* parent) const {
    auto line = [&](unsigned label, const CString& value) {
        log.InsertItem(CTreeLog::Normal, GetResourceString(label) + value, parent);
    };
    if (useCurrentSource_) {
        line(IDS_SENS_CURRENT_SOURCE, ConvertNullToGround(currentSource_));
    } else {
        line(IDS_SENS_OUTPUT_NODE, ConvertNullToGround(outputNode_));
        line(IDS_SENS_OUTPUT_REF_NODE, ConvertNullToGround(outputRefNode_));
    }
    line(IDS_SENS_OUTPUT_SCALING,
         GetResourceString(useAbsoluteScaling_ ? IDS_SENS_ABSOLUTE : IDS_SENS_RELATIVE));
    proxy_.toReadableText(log, parent, Analyses::Analysis::TT_SETTINGS, nullptr);
}

Analyses::Sens::Sens(const Analyses* main) : Analysis(main), settings_(main) {
    reset();
}

void Analyses::Sens::reset() {
    Analysis::reset();
    settings_.reset();
}
