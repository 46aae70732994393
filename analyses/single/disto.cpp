// Distortion analysis: command line, persistence and readable summary.
#include "analyses/single/disto.h"

#include "analyses/core/analysis_text.h"
#include "platform/resources.h"

void Analyses::Disto::reset() {
    Ac::reset();
    f2OverF1_ = 0.1;
    useF2OverF1_ = 0;
}

CString Analyses::Disto::toNutmegCommandHelper() const {
    CString cmd = GetAxisCmd() + CommandHead("disto") + GetACArguments();
    if (useF2OverF1_)
        cmd += " " + FormatNumber(f2OverF1_);
    return cmd;
}

std::span<const PropertyKeys::Key<Analyses::Disto>> Analyses::Disto::Keys() {
    using PropertyKeys::Field;
    // The keys say F1 over F2 although the value is F2 over F1; stored files depend on them.
    static constexpr PropertyKeys::Key<Disto> keys[] = {
        FrequencySweepKey<Disto>(),
        Field<&Disto::useF2OverF1_>("USE_F1OVERF2"),
        Field<&Disto::f2OverF1_>("F1OVERF2"),
    };
    return keys;
}

void Analyses::Disto::toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const {
    if (useF2OverF1_)
        InsertLine(log, parent, IDS_DISTO_F2_OVER_F1, FormatNumber(f2OverF1_));
    freqToReadableText(log, parent);
}
