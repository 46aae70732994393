// Distortion analysis: command line, persistence and readable summary.
#include "analyses/single/disto.h"

#include "platform/resources.h"

Analyses::Disto::Disto(const Analyses* main) : Ac(main) {
    reset();
}

void Analyses::Disto::reset() {
    Ac::reset();
    f2OverF1_ = 0.1;
    useF2OverF1_ = 0;
}

CString Analyses::Disto::toNutmegCommandHelper() const {
    CString cmd = GetAxisCmd();
    cmd += "disto ";
    cmd += " -env-options ";
    cmd += GetACArguments();
    if (useF2OverF1_)
        cmd += CString::Formatted(" %lg", f2OverF1_);
    return cmd;
}

CPropertyList Analyses::Disto::toPropertyListHelper() const {
    CPropertyList list;
    list.AddItem(CPropertyItem("FREQ_OPT", GetAcAnalysis().toPropertyList()));
    // The keys say F1 over F2 although the value is F2 over F1; stored files depend on them.
    list.AddItem(CPropertyItem("USE_F1OVERF2", static_cast<long>(useF2OverF1_)));
    list.AddItem(CPropertyItem("F1OVERF2", f2OverF1_));
    return list;
}

int Analyses::Disto::fromPropertyListHelper(const CPropertyList& list) {
    int result = 1;
    for (const CPropertyItem& item : list) {
        const CString& label = item.GetLabel();
        const CPropertyItem::Type type = item.GetTypeOfValue();
        if (label == "FREQ_OPT") {
            if (type == CPropertyItem::List &&
                !GetAcAnalysis().fromPropertyList(item.GetPropertyList()))
                result = 0;
        } else if (label == "USE_F1OVERF2") {
            if (type == CPropertyItem::Int)
                useF2OverF1_ = static_cast<int32_t>(item.GetInt());
        } else if (label == "F1OVERF2") {
            if (type == CPropertyItem::Double)
                f2OverF1_ = item.GetDouble();
        } else {
            result = 0;
        }
    }
    return result;
}

void Analyses::Disto::toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const {
    if (useF2OverF1_)
        log.InsertItem(
            CTreeLog::Normal,
            GetResourceString(IDS_DISTO_F2_OVER_F1) + CString::Formatted("%lg", f2OverF1_), parent);
    freqToReadableText(log, parent);
}
