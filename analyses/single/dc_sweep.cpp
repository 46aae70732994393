// DC sweep analysis: command line, persistence and readable summary.
#include "analyses/single/dc_sweep.h"

#include "analyses/core/property_reader.h"

#include "platform/helpers.h"
#include "platform/resources.h"

namespace {

CString Number(double v) {
    return CString::Formatted("%lg", v);
}

} // namespace

Analyses::DcSweep::DcSweep(const Analyses* main) : Analysis(main) {
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
    CString cmd = "dc ";
    cmd += " -env-options ";
    cmd += ConvertNullToGround(source1_);
    cmd += " " + Number(start1_) + " " + Number(stop1_) + " " + Number(increment1_);
    if (useSource2_) {
        cmd += " " + ConvertNullToGround(source2_);
        cmd += " " + Number(start2_) + " " + Number(stop2_) + " " + Number(increment2_);
    }
    return cmd;
}

CPropertyList Analyses::DcSweep::toPropertyListHelper() const {
    CPropertyList list;
    list.AddItem(CPropertyItem("NodeFilterSource1", static_cast<long>(filterSource1_)));
    list.AddItem(CPropertyItem("Source1", source1_));
    list.AddItem(CPropertyItem("Start1", start1_));
    list.AddItem(CPropertyItem("Stop1", stop1_));
    list.AddItem(CPropertyItem("Increment1", increment1_));
    list.AddItem(CPropertyItem("UseSource2", static_cast<long>(useSource2_)));
    // The second name comes before its filter, unlike the first pair; stored
    // circuits have this order.
    list.AddItem(CPropertyItem("Source2", source2_));
    list.AddItem(CPropertyItem("NodeFilterSource2", static_cast<long>(filterSource2_)));
    list.AddItem(CPropertyItem("Start2", start2_));
    list.AddItem(CPropertyItem("Stop2", stop2_));
    list.AddItem(CPropertyItem("Increment2", increment2_));
    return list;
}

int Analyses::DcSweep::fromPropertyListHelper(const CPropertyList& list) {
    static constexpr PropertyReader::IntKey<DcSweep, NodeFilter> filters[] = {
        {"NodeFilterSource1", &DcSweep::filterSource1_},
        {"NodeFilterSource2", &DcSweep::filterSource2_},
    };
    static constexpr PropertyReader::StringKey<DcSweep> names[] = {
        {"Source1", &DcSweep::source1_},
        {"Source2", &DcSweep::source2_},
    };
    static constexpr PropertyReader::DoubleKey<DcSweep> numbers[] = {
        {"Start1", &DcSweep::start1_},         {"Stop1", &DcSweep::stop1_},
        {"Increment1", &DcSweep::increment1_}, {"Start2", &DcSweep::start2_},
        {"Stop2", &DcSweep::stop2_},           {"Increment2", &DcSweep::increment2_},
    };

    static constexpr PropertyReader::IntKey<DcSweep, int32_t> flags[] = {
        {"UseSource2", &DcSweep::useSource2_}};

    int result = 1;
    for (const CPropertyItem& item : list) {
        bool known = PropertyReader::ApplyKnownKey(*this, item, filters, names, numbers, flags);
        if (!known)
            result = 0;
    }
    return result;
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
            CTreeLog::Normal,
            GetResourceString(IDS_DCSWEEP_SOURCE_GROUP) + CString::Formatted("%u", n), parent);
        auto line = [&](unsigned label, const CString& value) {
            log.InsertItem(CTreeLog::Normal, GetResourceString(label) + value, group);
        };
        line(IDS_DCSWEEP_SOURCE, ConvertNullToGround(s.name));
        line(IDS_DCSWEEP_START, Number(s.start));
        line(IDS_DCSWEEP_STOP, Number(s.stop));
        line(IDS_DCSWEEP_INCREMENT, Number(s.increment));
        log.Expand(group);
    }
}
