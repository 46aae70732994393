// Simulator options: the default table, "; set" statements, persistence and summary.
#include "analyses/core/analysis_options.h"

#include "analyses/core/analysis_text.h"
#include "platform/resources.h"

#include <array>

namespace {

struct OptionRow {
    const char* name;
    CPropertyItem value;  ///< default, labelled with the option name
    unsigned description; ///< resource text
    unsigned fallback;    ///< built-in text when the resource is missing; 0 for none
    bool enabledByDefault;
};

using Table = std::array<OptionRow, AnalysisOptions::OptionCount>;

OptionRow Flag(const char* name, unsigned desc, unsigned fallback = 0, bool on = false) {
    return {name, CPropertyItem(name, CPropertyItem::PI_FLAG), desc, fallback, on};
}
OptionRow Real(const char* name, double v, unsigned desc, unsigned fallback = 0, bool on = false) {
    return {name, CPropertyItem(name, v), desc, fallback, on};
}
OptionRow Integer(const char* name, long v, unsigned desc, unsigned fallback = 0, bool on = false) {
    return {name, CPropertyItem(name, v), desc, fallback, on};
}
OptionRow Text(const char* name, const char* v, unsigned desc) {
    return {name, CPropertyItem(name, CString(v)), desc, 0, false};
}

// Built on first use and kept for the program's lifetime; the order is the
// Option enumeration's.
const Table& Defaults() {
    static const Table table = {
        Flag("acct", IDS_OPT_ACCT),
        Real("gmin", 1e-12, IDS_OPT_GMIN),
        Real("reltol", 0.001, IDS_OPT_RELTOL),
        Real("abstol", 1e-12, IDS_OPT_ABSTOL),
        Real("vntol", 1e-06, IDS_OPT_VNTOL),
        Real("trtol", 7, IDS_OPT_TRTOL, 0, true),
        Real("chgtol", 1e-14, IDS_OPT_CHGTOL),
        Real("pivtol", 1e-13, IDS_OPT_PIVTOL),
        Real("pivrel", 0.001, IDS_OPT_PIVREL),
        Real("tnom", 300.15, IDS_OPT_TNOM),
        Integer("itl1", 100, IDS_OPT_ITL1),
        Integer("itl2", 50, IDS_OPT_ITL2),
        Integer("itl4", 100, IDS_OPT_ITL4, 0, true),
        Real("defl", 0.0001, IDS_OPT_DEFL),
        Real("defw", 0.0001, IDS_OPT_DEFW),
        Real("defad", 0, IDS_OPT_DEFAD),
        Real("defas", 0, IDS_OPT_DEFAS),
        Integer("bypass", 1, IDS_OPT_BYPASS),
        Integer("maxord", 2, IDS_OPT_MAXORD),
        // Kelvin, as the simulator dialect expects.
        Real("temp", 300.15, IDS_OPT_TEMP),
        Flag("oldlimit", IDS_OPT_OLDLIMIT),
        Integer("itl6", 10, IDS_OPT_ITL6),
        Integer("gminsteps", 10, IDS_OPT_GMINSTEPS),
        Real("minbreak", 0, IDS_OPT_MINBREAK),
        Flag("noopiter", IDS_OPT_NOOPITER),
        Text("method", "trapezoidal", IDS_OPT_METHOD),
        Flag("trytocompact", IDS_OPT_TRYTOCOMPACT),
        Flag("badmos3", IDS_OPT_BADMOS3),
        Flag("keepopinfo", IDS_OPT_KEEPOPINFO),
        Flag("noopalter", IDS_OPT_NOOPALTER),
        Real("ramptime", 0, IDS_OPT_RAMPTIME),
        Integer("maxevtiter", 0, IDS_OPT_MAXEVTITER),
        Integer("maxopalter", 0, IDS_OPT_MAXOPALTER, IDS_OPT_FALLBACK_MAXOPALTER),
        Flag("convlimit", IDS_OPT_CONVLIMIT, IDS_OPT_FALLBACK_CONVLIMIT, true),
        Real("convabsstep", 0.1, IDS_OPT_CONVABSSTEP, IDS_OPT_FALLBACK_CONVABSSTEP),
        Real("convstep", 0.25, IDS_OPT_CONVSTEP, IDS_OPT_FALLBACK_CONVSTEP),
        Flag("autopartial", IDS_OPT_AUTOPARTIAL, IDS_OPT_FALLBACK_AUTOPARTIAL),
        Real("rshunt", 1e+12, IDS_OPT_RSHUNT, IDS_OPT_FALLBACK_RSHUNT, true),
    };
    return table;
}

bool Valid(AnalysisOptions::Option o) {
    return o >= 0 && o < AnalysisOptions::OptionCount;
}

// " = value" as the simulator's set statement wants it; "" for a flag.
CString ValueText(const CPropertyItem& item) {
    switch (item.GetTypeOfValue()) {
    case CPropertyItem::Int:
    case CPropertyItem::Double:
        return " = " + item.GetValue();
    case CPropertyItem::Bool:
        return CString(" = ") + (item.GetBool() ? "true" : "false");
    case CPropertyItem::String:
        return " = \"" + item.GetString() + "\"";
    default:
        return CString();
    }
}

} // namespace

AnalysisOptions::AnalysisOptions() {
    reset();
}

bool AnalysisOptions::operator==(const AnalysisOptions& o) const {
    for (int i = 0; i < OptionCount; ++i)
        if (enabled_[i] != o.enabled_[i] || !(values_[i] == o.values_[i]))
            return false;
    return true;
}

void AnalysisOptions::reset() {
    for (int i = 0; i < OptionCount; ++i)
        reset(static_cast<Option>(i));
}

void AnalysisOptions::reset(Option o) {
    if (!Valid(o))
        return;
    const OptionRow& row = Defaults()[o];
    values_[o] = row.value;
    enabled_[o] = row.enabledByDefault ? 1 : 0;
}

CPropertyItem AnalysisOptions::GetOption(Option o) const {
    return Valid(o) ? values_[o] : CPropertyItem();
}

CPropertyItem AnalysisOptions::GetDefaultOption(Option o) {
    return Valid(o) ? Defaults()[o].value : CPropertyItem();
}

CString AnalysisOptions::GetOptionDescription(Option o) {
    if (!Valid(o))
        return CString();
    const OptionRow& row = Defaults()[o];
    CString text = GetResourceString(row.description);
    if (text.IsEmpty() && row.fallback)
        text = GetResourceString(row.fallback);
    return text;
}

void AnalysisOptions::SetOption(Option o, const CPropertyItem& item) {
    if (!Valid(o) || item.IsEmpty())
        return;
    if (item.GetLabel() == Defaults()[o].name && item.GetType() == values_[o].GetType())
        values_[o] = item;
}

int AnalysisOptions::GetIsEnabledOption(Option o) const {
    return Valid(o) ? enabled_[o] : 0;
}

void AnalysisOptions::SetIsEnabledOption(Option o, int enabled) {
    if (Valid(o))
        enabled_[o] = enabled;
}

AnalysisOptions::Option AnalysisOptions::FindIndexItem(CString name, CPropertyItem& out) const {
    for (int i = 0; i < OptionCount; ++i) {
        if (name == Defaults()[i].name) {
            out = values_[i];
            return static_cast<Option>(i);
        }
    }
    return OptionCount;
}

CString AnalysisOptions::toNutmegCommand() const {
    CString cmd;
    for (int i = 0; i < OptionCount; ++i)
        if (enabled_[i])
            cmd += CString("; set ") + Defaults()[i].name + ValueText(values_[i]);
    return cmd;
}

CPropertyList AnalysisOptions::toPropertyList() const {
    CPropertyList list;
    for (int i = 0; i < OptionCount; ++i) {
        CPropertyList pair;
        pair.AddItem(CPropertyItem("IsEnabled", static_cast<long>(enabled_[i])));
        pair.AddItem(values_[i]);
        list.AddItem(CPropertyItem(FormatCount(static_cast<unsigned>(i)), pair));
    }
    return list;
}

CPropertyList AnalysisOptions::toPropertyListForChg() const {
    CPropertyList list;
    for (int i = 0; i < OptionCount; ++i) {
        if (!enabled_[i])
            continue;
        CPropertyList pair;
        pair.AddItem(CPropertyItem("IsEnabled", static_cast<long>(enabled_[i])));
        pair.AddItem(values_[i]);
        list.AddItem(CPropertyItem(FormatCount(static_cast<unsigned>(i)), pair));
    }
    return list;
}

// An option is applied only when its record names it and carries its enabled
// flag; the value goes through SetOption, so a value of another type is
// refused. Any record that cannot be applied makes the result 0.
int AnalysisOptions::fromPropertyList(const CPropertyList& list) {
    int result = 1;
    for (const CPropertyItem& record : list) {
        if (record.GetTypeOfValue() != CPropertyItem::List) {
            result = 0;
            continue;
        }
        Option index = OptionCount;
        CPropertyItem value;
        long enabled = -1;
        for (const CPropertyItem& inner : record.GetPropertyList()) {
            if (inner.GetLabel() == "IsEnabled") {
                if (inner.GetTypeOfValue() == CPropertyItem::Int)
                    enabled = inner.GetInt();
            } else {
                CPropertyItem current;
                const Option found = FindIndexItem(inner.GetLabel(), current);
                if (found != OptionCount) {
                    index = found;
                    value = inner;
                }
            }
        }
        if (index == OptionCount || enabled == -1) {
            result = 0;
            continue;
        }
        enabled_[index] = static_cast<int>(enabled);
        SetOption(index, value);
        if (!(values_[index] == value))
            result = 0;
    }
    return result;
}

void AnalysisOptions::toReadableText(CTreeLog& log, _TREEITEM* parent) const {
    bool any = false;
    for (int i = 0; i < OptionCount; ++i) {
        if (!enabled_[i])
            continue;
        any = true;
        const Option o = static_cast<Option>(i);
        log.InsertItem(CTreeLog::Normal,
                       CString(Defaults()[i].name) + ValueText(values_[i]) + ": " +
                           GetOptionDescription(o),
                       parent);
    }
    if (!any)
        log.InsertItem(CTreeLog::Normal, GetResourceText(IDS_OPTIONS_NONE), parent);
}
