// Noise analysis: command line, persistence and readable summary.
#include "analyses/single/noise.h"

#include "analyses/core/analysis_text.h"
#include "platform/helpers.h"
#include "platform/resources.h"

Analyses::Noise::Noise(const Analyses* main) : AnalysisIdentity(main) {
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
    CString cmd = CommandHead("noise") + VoltageVector(outputNode_, referenceNode_, true) +
                  ConvertNullToGround(inputSource_) + " " + GetACArguments();
    if (setPointsPerSummary_)
        cmd += " " + FormatCount(static_cast<unsigned>(pointsPerSummary_));
    return cmd;
}

std::span<const PropertyKeys::Key<Analyses::Noise>> Analyses::Noise::Keys() {
    using PropertyKeys::Field;
    static constexpr PropertyKeys::Key<Noise> keys[] = {
        Field<&Noise::filterInputSource_>("NodeFilterInputRefSource"),
        Field<&Noise::filterOutputNode_>("NodeFilterOutputNode"),
        Field<&Noise::filterReferenceNode_>("NodeFilterReferenceNode"),
        Field<&Noise::inputSource_>("InputRefSource"),
        Field<&Noise::outputNode_>("OutputNode"),
        Field<&Noise::referenceNode_>("ReferenceNode"),
        Field<&Noise::setPointsPerSummary_>("SetPointsPerSummary"),
        Field<&Noise::pointsPerSummary_>("PointsPerSummary"),
        FrequencySweepKey<Noise>(),
    };
    return keys;
}

void Analyses::Noise::toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const {
    InsertNameLine(log, parent, IDS_NOISE_INPUT_REF_SOURCE, inputSource_);
    InsertNameLine(log, parent, IDS_NOISE_OUTPUT_NODE, outputNode_);
    InsertNameLine(log, parent, IDS_NOISE_REFERENCE_NODE, referenceNode_);
    // Shown whenever there is a count, even while the command leaves it out.
    if (pointsPerSummary_ != 0)
        InsertLine(log, parent, IDS_NOISE_POINTS_PER_SUMMARY,
                   FormatCount(static_cast<unsigned>(pointsPerSummary_)));
    freqToReadableText(log, parent);
}
