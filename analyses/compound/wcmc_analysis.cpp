// Worst case and Monte Carlo settings: defaults, record, command and readable text.
#include "analyses/compound/wcmc_analysis.h"

#include "analyses/core/analysis_text.h"
#include "engine/simulation_engine.h"

namespace {

struct NameRow {
    int value;
    unsigned text;
};

constexpr NameRow kTypeNames[] = {
    {WcMcAnalysis::WcMcDcOp, IDS_WCMC_TYPE_DCOP},
    {WcMcAnalysis::WcMcAc, IDS_WCMC_TYPE_AC},
    {WcMcAnalysis::WcMcTran, IDS_WCMC_TYPE_TRAN},
};
constexpr NameRow kFunctionNames[] = {
    {WcMcAnalysis::FunctionMax, IDS_WCMC_FN_MAX},
    {WcMcAnalysis::FunctionMin, IDS_WCMC_FN_MIN},
    {WcMcAnalysis::FunctionRiseEdge, IDS_WCMC_FN_RISE_EDGE},
    {WcMcAnalysis::FunctionFallEdge, IDS_WCMC_FN_FALL_EDGE},
    {WcMcAnalysis::FunctionYMax, IDS_WCMC_FN_YMAX},
    {WcMcAnalysis::FunctionFrequency, IDS_WCMC_FN_FREQUENCY},
};
// In the order users see them listed; the numbers are our own.
constexpr NameRow kVaryNames[] = {
    {WcMcAnalysis::VaryBoth, IDS_WCMC_VARY_BOTH},
    {WcMcAnalysis::VaryDeviceOnly, IDS_WCMC_VARY_DEVICE},
    {WcMcAnalysis::VaryLotOnly, IDS_WCMC_VARY_LOT},
};
constexpr NameRow kFilterNames[] = {
    {WcMcAnalysis::FilterLow, IDS_WCMC_FILTER_LOW},
    {WcMcAnalysis::FilterHigh, IDS_WCMC_FILTER_HIGH},
};

template <size_t N> CString NameOf(const NameRow (&rows)[N], int value) {
    for (const NameRow& row : rows)
        if (row.value == value)
            return GetResourceString(row.text);
    return CString();
}

} // namespace

WcMcAnalysis::WcMcAnalysis(const Analyses* main, int worstCase)
    : CPlotEventSink(GetResourceString(IDS_WCMC_SINK), GetResourceString(IDS_WCMC_OWNER), main),
      main_(main), worstCase_(worstCase ? 1 : 0), ac_(main), tran_(main), sens_(main) {
    reset();
}

WcMcAnalysis::WcMcAnalysis(const WcMcAnalysis& other, Instance* instance) : WcMcAnalysis(other) {
    CASimulationEngine* engine = GetEngine();
    if (!engine)
        return;
    tolSpecs_.lock_remove();
    tolSpecs_.ForEach([&](WcMcTolSpec& t) { t.TolSpecWithNewCirc(instance, *engine); });
    tolSpecs_.unlock_remove();
}

CString WcMcAnalysis::GetAnalysisNickname() const {
    return AnalysisNickname(worstCase_ ? Analyses::AnalysisType::Worst
                                       : Analyses::AnalysisType::Monte);
}

void WcMcAnalysis::reset() {
    groupAllTraces_ = 1;
    SetWcMcAnalysisType(worstCase_ ? WcMcDcOp : WcMcTran);
    function_ = FunctionMax;
    functionThreshold_ = 0.0;
    filter_ = FilterHigh;
    textOutput_ = TextAllRuns;
    textOutputRuns_ = "1";
    vary_ = VaryBoth;
    numRuns_ = 1;
    useRange_ = 0;
    rangeXLow_ = 0.0;
    rangeXHigh_ = 1.0;
    outputVariable_.Empty();
    nodeFilterOutputVariable_ = Analyses::NF_NONE;
    tolSpecs_.RemoveAll();
    SetStopRequested(false);
    ac_.reset();
    tran_.reset();
}

void WcMcAnalysis::SetWcMcAnalysisType(WcMcAnalysisType t) {
    analysisType_ = t;
    if (!worstCase_)
        return;
    if (t == WcMcDcOp)
        sens_.SetSensType(Analyses::AnalysisType::Op);
    else if (t == WcMcAc)
        sens_.SetSensType(Analyses::AnalysisType::Ac);
}

int WcMcAnalysis::GetNodeType() const {
    switch (analysisType_) {
    case WcMcDcOp:
        return AT_OP;
    case WcMcAc:
        return AT_AC;
    default:
        return AT_TRAN;
    }
}

int WcMcAnalysis::GetOutputVariableClass() const {
    return analysisType_ == WcMcAc ? OVC_CKTnames : OVC_DCnames;
}

int WcMcAnalysis::CanSimulate() const {
    return WcMcOutput(outputVariable_).IsEmpty() ? 0 : 1;
}

CASimulationEngine* WcMcAnalysis::GetEngine() const {
    if (engine_)
        return engine_;
    return main_ ? main_->GetAsimEng() : nullptr;
}

CString WcMcAnalysis::GetXAxisUnitString() const {
    switch (analysisType_) {
    case WcMcAc:
        return "Hz";
    case WcMcTran:
        return "s";
    default:
        return CString();
    }
}

CString WcMcAnalysis::GetWcMcAnalysisTypeName(WcMcAnalysisType t) {
    return NameOf(kTypeNames, t);
}

CString WcMcAnalysis::GetFunctionName(WcMcFunction f) {
    return NameOf(kFunctionNames, f);
}

CString WcMcAnalysis::GetVaryName(WcMcVary v) {
    return NameOf(kVaryNames, v);
}

CString WcMcAnalysis::GetFilterName(WcMcFilter f) {
    return NameOf(kFilterNames, f > 0 ? FilterHigh : FilterLow);
}

CString WcMcAnalysis::toNutmegCommand() const {
    CString cmd = worstCase_ ? "save all; " : "";
    cmd += "orvo " + GetAnalysisNickname() + " " + toPropertyList().GetList() + "; ";
    return cmd;
}

std::span<const PropertyKeys::Key<WcMcAnalysis>> WcMcAnalysis::WcMcKeys() {
    using PropertyKeys::Field;
    using Key = PropertyKeys::Key<WcMcAnalysis>;
    static constexpr Key keys[] = {
        Field<&WcMcAnalysis::groupAllTraces_>("GroupTraces"),
        // Read through the setter, so that a worst case's sensitivity type follows.
        Field<&WcMcAnalysis::analysisType_, &WcMcAnalysis::SetWcMcAnalysisType>("AnalysisType"),
        Field<&WcMcAnalysis::function_>("Function"),
        Field<&WcMcAnalysis::functionThreshold_>("FunctionThreshold"),
        Field<&WcMcAnalysis::filter_>("Filter"),
        Field<&WcMcAnalysis::textOutput_>("OutputText"),
        Field<&WcMcAnalysis::textOutputRuns_>("OutputTextRuns"),
        Field<&WcMcAnalysis::vary_>("Vary"),
        Field<&WcMcAnalysis::numRuns_>("NumRuns"),
        Field<&WcMcAnalysis::useRange_>("UseRange"),
        Field<&WcMcAnalysis::rangeXLow_>("RangeLowX"),
        Field<&WcMcAnalysis::rangeXHigh_>("RangeHighX"),
        Field<&WcMcAnalysis::outputVariable_>("OutputVariable"),
        Field<&WcMcAnalysis::nodeFilterOutputVariable_>("NodeFilterOutputVariable"),
        {"TolSpecList",
         [](const WcMcAnalysis& a, const char* label, CPropertyList& list) {
             CPropertyList specs;
             a.tolSpecs_.ForEach([&](const WcMcTolSpec& t) {
                 specs.AddItem(CPropertyItem("TolSpec", t.toPropertyList()));
             });
             list.AddItem(CPropertyItem(label, specs));
         },
         [](WcMcAnalysis& a, const CPropertyItem& item) {
             if (item.GetTypeOfValue() != CPropertyItem::List)
                 return true;
             // The stored list replaces the present one; a tolerance that reads
             // only in part is kept as far as it read.
             bool ok = true;
             a.tolSpecs_.RemoveAll();
             for (const CPropertyItem& entry : item.GetPropertyList()) {
                 if (!(entry.GetLabel() == "TolSpec") ||
                     entry.GetTypeOfValue() != CPropertyItem::List) {
                     ok = false;
                     continue;
                 }
                 WcMcTolSpec spec;
                 if (!spec.fromPropertyList(entry.GetPropertyList()))
                     ok = false;
                 a.tolSpecs_.Add(std::move(spec));
             }
             return ok;
         }},
        {"Tran",
         [](const WcMcAnalysis& a, const char* label, CPropertyList& list) {
             list.AddItem(CPropertyItem(label, a.tran_.toPropertyList()));
         },
         [](WcMcAnalysis& a, const CPropertyItem& item) {
             return item.GetTypeOfValue() != CPropertyItem::List ||
                    a.tran_.fromPropertyList(item.GetPropertyList()) != 0;
         }},
    };
    return keys;
}

CPropertyList WcMcAnalysis::toPropertyList() const {
    return PropertyKeys::Write(*this, WcMcKeys());
}

int WcMcAnalysis::fromPropertyList(const CPropertyList& list) {
    return PropertyKeys::Read(*this, list, WcMcKeys());
}

void WcMcAnalysis::toReadableText(CTreeLog& log, _TREEITEM* parent) const {
    const auto line = [&](unsigned label, const CString& value, _TREEITEM* under) {
        return log.InsertItem(CTreeLog::Normal, GetResourceString(label) + value, under);
    };
    line(IDS_WCMC_RT_TYPE, GetWcMcAnalysisTypeName(analysisType_), parent);
    const WcMcOutput output(outputVariable_);
    line(IDS_WCMC_OUTPUT_VARIABLE,
         output.IsEmpty() ? GetResourceString(IDS_WCMC_RT_NO_OUTPUT) : CString(outputVariable_),
         parent);

    _TREEITEM* fn = line(IDS_WCMC_FUNCTION, GetFunctionName(function_), parent);
    switch (function_) {
    case FunctionRiseEdge:
    case FunctionFallEdge:
        line(IDS_WCMC_RT_THRESHOLD, FormatNumber(functionThreshold_), fn);
        log.InsertItem(CTreeLog::Normal, GetResourceText(IDS_WCMC_RT_EDGE), fn);
        break;
    case FunctionYMax:
        log.InsertItem(CTreeLog::Normal, GetResourceText(IDS_WCMC_RT_YMAX), fn);
        break;
    case FunctionFrequency:
        log.InsertItem(CTreeLog::Normal, GetResourceText(IDS_WCMC_RT_FREQUENCY), fn);
        break;
    default:
        break;
    }

    line(IDS_WCMC_RT_FILTER,
         GetFilterName(filter_) +
             GetResourceText(filter_ > 0 ? IDS_WCMC_RT_FILTER_HIGH : IDS_WCMC_RT_FILTER_LOW),
         parent);
    if (!worstCase_)
        line(IDS_WCMC_RT_RUNS, FormatCount(static_cast<unsigned>(numRuns_ < 0 ? 0 : numRuns_)),
             parent);
    const unsigned varyNote = vary_ == VaryDeviceOnly ? IDS_WCMC_RT_VARY_DEVICE
                              : vary_ == VaryLotOnly  ? IDS_WCMC_RT_VARY_LOT
                                                      : IDS_WCMC_RT_VARY_BOTH;
    line(IDS_WCMC_RT_VARY,
         GetVaryName(vary_ == VaryDeviceOnly || vary_ == VaryLotOnly ? vary_ : VaryBoth) +
             GetResourceText(varyNote),
         parent);

    CString range = GetResourceString(IDS_WCMC_RT_RANGE_ALL);
    if (useRange_) {
        const CString unit = GetXAxisUnitString();
        const CString suffix = unit.IsEmpty() ? CString() : " " + unit;
        range = FormatNumber(rangeXLow_) + suffix + GetResourceText(IDS_WCMC_RT_RANGE_TO) +
                FormatNumber(rangeXHigh_) + suffix;
    }
    line(IDS_WCMC_RT_RANGE, range, parent);

    if (!worstCase_) {
        CString runs;
        if (textOutput_ == TextListedRuns)
            runs = GetResourceString(IDS_WCMC_RT_TEXT_LISTED) + textOutputRuns_ +
                   GetResourceText(IDS_WCMC_RT_TEXT_LISTED_NOTE);
        else if (textOutput_ == TextNoRuns)
            runs = GetResourceString(IDS_WCMC_RT_TEXT_NONE);
        else
            runs = GetResourceString(IDS_WCMC_RT_TEXT_ALL);
        line(IDS_WCMC_RT_TEXT, runs, parent);
    }
    line(IDS_WCMC_RT_GROUP,
         GetResourceString(groupAllTraces_ ? IDS_WCMC_RT_GROUP_ON : IDS_WCMC_RT_GROUP_OFF), parent);
    if (worstCase_)
        line(IDS_WCMC_RT_SENSITIVITY,
             GetResourceString(analysisType_ == WcMcTran ? IDS_WC_TRAN_SENSITIVITY
                                                         : IDS_WCMC_RT_SENS_ANALYSIS),
             parent);

    if (analysisType_ == WcMcTran) {
        _TREEITEM* item =
            log.InsertItem(CTreeLog::Normal, GetResourceText(IDS_WCMC_RT_TRAN), parent);
        tran_.toReadableText(log, item);
    } else if (analysisType_ == WcMcAc) {
        _TREEITEM* item = log.InsertItem(CTreeLog::Normal, GetResourceText(IDS_WCMC_RT_AC), parent);
        const AcAnalysis* sweep = ac_.GetMainAnalysis();
        (sweep ? *sweep : ac_).toReadableText(log, item);
    }

    _TREEITEM* tolerances =
        log.InsertItem(CTreeLog::Normal, GetResourceText(IDS_WCMC_RT_TOLERANCES), parent);
    if (tolSpecs_.IsEmpty())
        log.InsertItem(CTreeLog::Normal, GetResourceText(IDS_WCMC_RT_NO_TOLERANCES), tolerances);
    tolSpecs_.ForEach([&](const WcMcTolSpec& t) { t.toReadableText(log, tolerances); });
}
