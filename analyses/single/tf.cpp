// Transfer function analysis: command line, persistence and readable summary.
#include "analyses/single/tf.h"

#include "analyses/core/property_reader.h"

#include "platform/helpers.h"
#include "platform/resources.h"

Analyses::Tf::Tf(const Analyses* main) : Analysis(main) {
    reset();
}

void Analyses::Tf::reset() {
    Analysis::reset();
    filterInputSource_ = filterCurrentSource_ = filterOutputNode_ = filterOutputRefNode_ = NF_NONE;
    inputSource_.Empty();
    currentSource_.Empty();
    outputNode_.Empty();
    outputRefNode_.Empty();
    useCurrentSource_ = 0;
}

CString Analyses::Tf::toNutmegCommandHelper() const {
    CString cmd = "tf ";
    cmd += " -env-options ";
    // A current output without a source to measure it through falls back to the voltage.
    const CString source = ConvertNullToGround(currentSource_);
    if (useCurrentSource_ && source != "$0")
        cmd += "i(" + source + ") ";
    else
        cmd += "v(" + ConvertNullToGround(outputNode_) + "," + ConvertNullToGround(outputRefNode_) +
               ") ";
    cmd += ConvertNullToGround(inputSource_) + " ";
    return cmd;
}

CPropertyList Analyses::Tf::toPropertyListHelper() const {
    CPropertyList list;
    list.AddItem(CPropertyItem("NodeFilterInputRefSource", static_cast<long>(filterInputSource_)));
    list.AddItem(CPropertyItem("NodeFilterCurrentSource", static_cast<long>(filterCurrentSource_)));
    list.AddItem(CPropertyItem("NodeFilterOutputNode", static_cast<long>(filterOutputNode_)));
    list.AddItem(CPropertyItem("NodeFilterOutputRefNode", static_cast<long>(filterOutputRefNode_)));
    list.AddItem(CPropertyItem("InputRefSource", inputSource_));
    list.AddItem(CPropertyItem("CurrentSource", currentSource_));
    list.AddItem(CPropertyItem("OutputNode", outputNode_));
    list.AddItem(CPropertyItem("OutputRefNode", outputRefNode_));
    list.AddItem(CPropertyItem("UseCurrentSource", static_cast<long>(useCurrentSource_)));
    return list;
}

int Analyses::Tf::fromPropertyListHelper(const CPropertyList& list) {
    static constexpr PropertyReader::IntKey<Tf, NodeFilter> filters[] = {
        {"NodeFilterInputRefSource", &Tf::filterInputSource_},
        {"NodeFilterCurrentSource", &Tf::filterCurrentSource_},
        {"NodeFilterOutputNode", &Tf::filterOutputNode_},
        {"NodeFilterOutputRefNode", &Tf::filterOutputRefNode_},
    };
    static constexpr PropertyReader::StringKey<Tf> names[] = {
        {"InputRefSource", &Tf::inputSource_},
        {"CurrentSource", &Tf::currentSource_},
        {"OutputNode", &Tf::outputNode_},
        {"OutputRefNode", &Tf::outputRefNode_},
    };
    static constexpr PropertyReader::IntKey<Tf, int32_t> flags[] = {
        {"UseCurrentSource", &Tf::useCurrentSource_}};

    int result = 1;
    for (const CPropertyItem& item : list)
        if (!PropertyReader::ApplyKnownKey(*this, item, filters, names, flags))
            result = 0;
    return result;
}

void Analyses::Tf::toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const {
    Analysis::toReadableTextHelper(log, parent);
    auto line = [&](unsigned label, const CString& name) {
        log.InsertItem(CTreeLog::Normal, GetResourceString(label) + ConvertNullToGround(name),
                       parent);
    };
    line(IDS_TF_INPUT_SOURCE, inputSource_);
    if (useCurrentSource_) {
        line(IDS_TF_OUTPUT_CURRENT_SOURCE, currentSource_);
    } else {
        line(IDS_TF_OUTPUT_NODE, outputNode_);
        line(IDS_TF_OUTPUT_REF_NODE, outputRefNode_);
    }
}
