// Transfer function analysis: command line, persistence and readable summary.
#include "analyses/single/tf.h"

#include "analyses/core/analysis_text.h"
#include "platform/helpers.h"
#include "platform/resources.h"

Analyses::Tf::Tf(const Analyses* main) : AnalysisIdentity(main) {
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
    return CommandHead("tf") +
           OutputVector(useCurrentSource_, currentSource_, outputNode_, outputRefNode_) +
           ConvertNullToGround(inputSource_) + " ";
}

std::span<const PropertyKeys::Key<Analyses::Tf>> Analyses::Tf::Keys() {
    using PropertyKeys::Field;
    static constexpr PropertyKeys::Key<Tf> keys[] = {
        Field<&Tf::filterInputSource_>("NodeFilterInputRefSource"),
        Field<&Tf::filterCurrentSource_>("NodeFilterCurrentSource"),
        Field<&Tf::filterOutputNode_>("NodeFilterOutputNode"),
        Field<&Tf::filterOutputRefNode_>("NodeFilterOutputRefNode"),
        Field<&Tf::inputSource_>("InputRefSource"),
        Field<&Tf::currentSource_>("CurrentSource"),
        Field<&Tf::outputNode_>("OutputNode"),
        Field<&Tf::outputRefNode_>("OutputRefNode"),
        Field<&Tf::useCurrentSource_>("UseCurrentSource"),
    };
    return keys;
}

void Analyses::Tf::toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const {
    InsertNameLine(log, parent, IDS_TF_INPUT_SOURCE, inputSource_);
    if (useCurrentSource_) {
        InsertNameLine(log, parent, IDS_TF_OUTPUT_CURRENT_SOURCE, currentSource_);
    } else {
        InsertNameLine(log, parent, IDS_TF_OUTPUT_NODE, outputNode_);
        InsertNameLine(log, parent, IDS_TF_OUTPUT_REF_NODE, outputRefNode_);
    }
}
