// DC sweep analysis: command line, persistence and readable summary.
#include "analyses/single/dc_sweep.h"

#include "analyses/core/analysis_text.h"
#include "platform/helpers.h"
#include "platform/resources.h"

Analyses::DcSweep::DcSweep(const Analyses* main) : AnalysisIdentity(main) {
    // The output chooser lists components, not plain variables.
    GetAnalysisNodes().SetMode(1);
    DcSweep::reset();
}

void Analyses::DcSweep::reset() {
    Analysis::reset();
    filterSource1_ = NF_NONE;
    source1_.Empty();
    start1_ = 0.0;
    stop1_ = 1.0;
    increment1_ = 0.5;
    useSource2_ = 0;
    filterSource2_ = NF_NONE;
    source2_.Empty();
    start2_ = 0.0;
    stop2_ = 1.0;
    increment2_ = 0.5;
}

CString Analyses::DcSweep::toNutmegCommandHelper() const {
    auto sweep = [](const CString& source, double start, double stop, double increment) {
        return ConvertNullToGround(source) + " " + FormatNumber(start) + " " + FormatNumber(stop) +
               " " + FormatNumber(increment);
    };
    CString cmd = CommandHead("dc") + sweep(source1_, start1_, stop1_, increment1_);
    if (useSource2_)
        cmd += " " + sweep(source2_, start2_, stop2_, increment2_);
    return cmd;
}

std::span<const PropertyKeys::Key<Analyses::DcSweep>> Analyses::DcSweep::Keys() {
    using PropertyKeys::Field;
    // The second name comes before its filter, unlike the first pair; stored
    // circuits have this order.
    static constexpr PropertyKeys::Key<DcSweep> keys[] = {
        Field<&DcSweep::filterSource1_>("NodeFilterSource1"),
        Field<&DcSweep::source1_>("Source1"),
        Field<&DcSweep::start1_>("Start1"),
        Field<&DcSweep::stop1_>("Stop1"),
        Field<&DcSweep::increment1_>("Increment1"),
        Field<&DcSweep::useSource2_>("UseSource2"),
        Field<&DcSweep::source2_>("Source2"),
        Field<&DcSweep::filterSource2_>("NodeFilterSource2"),
        Field<&DcSweep::start2_>("Start2"),
        Field<&DcSweep::stop2_>("Stop2"),
        Field<&DcSweep::increment2_>("Increment2"),
    };
    return keys;
}

void Analyses::DcSweep::toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const {
    struct Source {
        const CString& name;
        double start, stop, increment;
    };
    const Source sources[] = {
        {source1_, start1_, stop1_, increment1_},
        {source2_, start2_, stop2_, increment2_},
    };
    const unsigned count = useSource2_ ? 2 : 1;
    for (unsigned n = 1; n <= count; ++n) {
        const Source& s = sources[n - 1];
        _TREEITEM* group = log.InsertItem(
            CTreeLog::Normal, GetResourceString(IDS_DCSWEEP_SOURCE_GROUP) + FormatCount(n), parent);
        InsertLine(log, group, IDS_DCSWEEP_SOURCE, ConvertNullToGround(s.name));
        InsertLine(log, group, IDS_DCSWEEP_START, FormatNumber(s.start));
        InsertLine(log, group, IDS_DCSWEEP_STOP, FormatNumber(s.stop));
        InsertLine(log, group, IDS_DCSWEEP_INCREMENT, FormatNumber(s.increment));
        log.Expand(group);
    }
}
