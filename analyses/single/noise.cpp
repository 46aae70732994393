// Noise analysis: command line, persistence and readable summary.
#include "analyses/single/noise.h"

#include "analyses/core/property_reader.h"

#include "platform/helpers.h"
#include "platform/resources.h"

Analyses::Noise::Noise(const Analyses* main) : Ac(main) {
    // The output chooser lists components rather than plain variables.
    GetAnalysisNodes().SetMode(1);
    reset();
}

void Analyses::Noise::reset() {
    Ac::reset();
    filterInputSource_ = filterOutputNode_ = filterReferenceNode_ = NF_NONE;
    inputSource_.Empty();
    outputNode_.Empty();
    referenceNode_.Empty();
    setPointsPerSummary_ = 0;
    pointsPerSummary_ = 1;
}

CString Analyses::Noise::toNutmegCommandHelper() const {
    CString cmd = "noise ";
    cmd += " -env-options ";
    const CString output = ConvertNullToGround(outputNode_);
    const CString reference = ConvertNullToGround(referenceNode_);
    if (reference != "$0")
        cmd += "v(" + output + "," + reference + ") ";
    else
        cmd += "v(" + output + ") ";
    cmd += ConvertNullToGround(inputSource_) + " ";
    cmd += GetACArguments();
    if (setPointsPerSummary_)
        cmd += CString::Formatted(" %u", static_cast<unsigned>(pointsPerSummary_));
    return cmd;
}

CPropertyList Analyses::Noise::toPropertyListHelper() const {
    CPropertyList list;
    list.AddItem(CPropertyItem("NodeFilterInputRefSource", static_cast<long>(filterInputSource_)));
    list.AddItem(CPropertyItem("NodeFilterOutputNode", static_cast<long>(filterOutputNode_)));
    list.AddItem(CPropertyItem("NodeFilterReferenceNode", static_cast<long>(filterReferenceNode_)));
    list.AddItem(CPropertyItem("InputRefSource", inputSource_));
    list.AddItem(CPropertyItem("OutputNode", outputNode_));
    list.AddItem(CPropertyItem("ReferenceNode", referenceNode_));
    list.AddItem(CPropertyItem("SetPointsPerSummary", static_cast<long>(setPointsPerSummary_)));
    list.AddItem(CPropertyItem("PointsPerSummary", static_cast<long>(pointsPerSummary_)));
    list.AddItem(CPropertyItem("FREQ_OPT", GetAcAnalysis().toPropertyList()));
    return list;
}

int Analyses::Noise::fromPropertyListHelper(const CPropertyList& list) {
    static constexpr PropertyReader::IntKey<Noise, NodeFilter> filters[] = {
        {"NodeFilterInputRefSource", &Noise::filterInputSource_},
        {"NodeFilterOutputNode", &Noise::filterOutputNode_},
        {"NodeFilterReferenceNode", &Noise::filterReferenceNode_},
    };
    static constexpr PropertyReader::StringKey<Noise> names[] = {
        {"InputRefSource", &Noise::inputSource_},
        {"OutputNode", &Noise::outputNode_},
        {"ReferenceNode", &Noise::referenceNode_},
    };
    static constexpr PropertyReader::IntKey<Noise, int32_t> counts[] = {
        {"SetPointsPerSummary", &Noise::setPointsPerSummary_},
        {"PointsPerSummary", &Noise::pointsPerSummary_},
    };

    int result = 1;
    for (const CPropertyItem& item : list) {
        bool known = PropertyReader::ApplyKnownKey(*this, item, filters, names, counts);
        if (item.GetLabel() == "FREQ_OPT") {
            known = true;
            if (item.GetTypeOfValue() == CPropertyItem::List &&
                !GetAcAnalysis().fromPropertyList(item.GetPropertyList()))
                result = 0;
        }
        if (!known)
            result = 0;
    }
    return result;
}

void Analyses::Noise::toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const {
    auto line = [&](unsigned label, const CString& value) {
        log.InsertItem(CTreeLog::Normal, GetResourceString(label) + value, parent);
    };
    line(IDS_NOISE_INPUT_REF_SOURCE, ConvertNullToGround(inputSource_));
    line(IDS_NOISE_OUTPUT_NODE, ConvertNullToGround(outputNode_));
    line(IDS_NOISE_REFERENCE_NODE, ConvertNullToGround(referenceNode_));
    // Shown whenever there is a count, even while the command leaves it out.
    if (pointsPerSummary_ != 0)
        line(IDS_NOISE_POINTS_PER_SUMMARY,
             CString::Formatted("%u", static_cast<unsigned>(pointsPerSummary_)));
    freqToReadableText(log, parent);
}
