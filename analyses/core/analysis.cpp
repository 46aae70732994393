// The analysis base: command framing, persistence, readable text and validation.
#include "analyses/core/analysis.h"

#include "analyses/core/analysis_proxy.h"
#include "platform/helpers.h"
#include "platform/resources.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace {

constexpr long kMinAcceptedPoints = 10000;
constexpr long kInstrumentMaxPoints = 1000;
constexpr long kMaxDefaultPoints = 128000;
constexpr uint32_t kErrTooFewPoints = 1;
constexpr uint32_t kErrTstepOverTmax = 2;

constexpr unsigned kDefaultNames[Analyses::AnalysisTypeCount] = {
    IDS_NAME_OP,      IDS_NAME_AC,       IDS_NAME_TRAN,       IDS_NAME_FOUR,         IDS_NAME_NOISE,
    IDS_NAME_DISTO,   IDS_NAME_DC_SWEEP, IDS_NAME_PSWEEP,     IDS_NAME_TSWEEP,       IDS_NAME_PZ,
    IDS_NAME_TF,      IDS_NAME_SENS,     IDS_NAME_WORST,      IDS_NAME_MONTE,        IDS_NAME_USER,
    IDS_NAME_OPTIONS, IDS_NAME_RUN,      IDS_NAME_TRACEWIDTH, IDS_NAME_NOISE_FIGURE,
};

constexpr unsigned kSimulatorPlotNames[] = {
    IDS_SIM_DC_OPERATING_POINT,
    IDS_SIM_DISTORTION,
    IDS_SIM_NOISE,
    IDS_SIM_AC,
    IDS_SIM_POLE_ZERO,
    IDS_SIM_DC_TRANSFER,
    IDS_SIM_TRANSFER_FUNCTION,
    IDS_SIM_TRANSIENT,
    IDS_SIM_SENSITIVITY,
    IDS_SIM_SENSITIVITY2,
};

} // namespace

Analyses::Analysis::Analysis() : COrvo(COrvo::Analysis) {
    nodes_.SetRefAnalysis(this);
}

Analyses::Analysis::Analysis(const Analyses* main) : COrvo(COrvo::Analysis), main_(main) {
    nodes_.SetRefAnalysis(this);
}

Analyses::Analysis::Analysis(const Analysis& other)
    : COrvo(other), nodes_(other.nodes_),
      main_(other.main_), options_{other.options_[0], other.options_[1]},
      maxPoints_(other.maxPoints_), discardPlot_(other.discardPlot_),
      useAnalysisOptions_(other.useAnalysisOptions_), plotTitle_(other.plotTitle_),
      identifier_(other.identifier_), readableName_(other.readableName_), rawFile_(other.rawFile_),
      useDefaultOptions_(other.useDefaultOptions_), acceptErrors_(other.acceptErrors_) {
    // The copied node set still points at the source analysis.
    nodes_.SetRefAnalysis(this);
}

Analyses::Analysis::~Analysis() = default;

int Analyses::Analysis::SameAsDefault() const {
    // The proxy borrows this very analysis, so its reset() resets this object
    // and both texts describe the same state: the answer is always 1 and the
    // analysis is left at its defaults. Callers rely on that side effect.
    AnalysisProxy proxy(const_cast<Analysis*>(this), 0);
    proxy.reset();
    return toPropertyItem().GetField() == proxy.toPropertyItem().GetField() ? 1 : 0;
}

CString Analyses::Analysis::GetMinPropertyList() {
    const CString mine = toPropertyItem().GetField();
    const std::unique_ptr<Analysis> clone(Clone());
    if (!clone)
        return mine;
    clone->reset();
    return clone->toPropertyItem().GetField() == mine ? CString() : mine;
}

Analyses::Analysis& Analyses::Analysis::assign(const Analysis& other) {
    if (this != &other)
        fromPropertyItem(other.toPropertyItem());
    return *this;
}

void Analyses::Analysis::reset() {
    options_[0].reset();
    options_[1].reset();
    nodes_.reset();
    maxPoints_ = static_cast<int32_t>(s_GetDefaultMaxPoints());
}

void Analyses::Analysis::reset_for_instrument(int) {
    reset();
    maxPoints_ = kInstrumentMaxPoints;
}

long Analyses::Analysis::GetAnalysisProperty() const {
    return -1;
}

Analyses::Analysis* Analyses::Analysis::Clone() const {
    return nullptr;
}

Analyses::Analysis* Analyses::Analysis::Clone(Instance*&) const {
    return nullptr;
}

void Analyses::Analysis::ShowDialog(CWnd*, COkCancelSimulate::EditMode, int* a, int* b) {
    // No settings dialog in this library: report "nothing changed".
    if (a)
        *a = 0;
    if (b)
        *b = 0;
}

int Analyses::Analysis::CanAccept() {
    if (maxPoints_ < kMinAcceptedPoints)
        acceptErrors_ |= kErrTooFewPoints;
    // The base checkError() drops the word; analyses with checks of their own
    // keep it and add their bits.
    acceptErrors_ = static_cast<uint32_t>(checkError());
    return acceptErrors_ == 0 ? 1 : 0;
}

CString Analyses::Analysis::ExplainWhyCannotAccept() {
    CString why;
    if (acceptErrors_ & kErrTooFewPoints)
        why = GetResourceString(IDS_ERR_MAX_POINTS) + "\n";
    else if (acceptErrors_ & kErrTstepOverTmax)
        why = GetResourceString(IDS_ERR_TSTEP_TMAX);
    acceptErrors_ = 0;
    return why;
}

int Analyses::Analysis::CanSimulate() const {
    return nodes_.GetSelected() || GetOutputVariableClass() == OVC_ALL ? 1 : 0;
}

CString Analyses::Analysis::ExplainWhyCannotSimulate() {
    // The base's own test, not the derived one: derived classes add their
    // reasons after this one.
    return Analysis::CanSimulate() ? CString() : GetResourceString(IDS_ERR_NO_OUTPUTS);
}

void Analyses::Analysis::UpdateAnalysisNodeList() {
    nodes_.UpdateAnalysisNodeList();
}

int Analyses::Analysis::KeepTrackOfCurrentsAtComponentTerminals() {
    return 0;
}

long Analyses::Analysis::checkError() {
    return 0;
}

long Analyses::Analysis::toReadableTextMask() const {
    return static_cast<long>(~static_cast<uint32_t>(TT_NO_HEADING));
}

long Analyses::Analysis::toNutmegCommandMask() const {
    return ~static_cast<long>(NT_IPLOT_FLAG);
}

CString Analyses::Analysis::toNutmegCommandHelper() const {
    return CString();
}

CPropertyList Analyses::Analysis::toPropertyListHelper() const {
    return CPropertyList();
}

int Analyses::Analysis::fromPropertyListHelper(const CPropertyList&) {
    return 0;
}

void Analyses::Analysis::toReadableTextHelper(CTreeLog&, _TREEITEM*) const {
}

CString Analyses::Analysis::toNutmegCommand(long mask) const {
    const long m = mask & toNutmegCommandMask();
    CString cmd;
    if (m & NT_SCOPE)
        cmd += "begin-scope page " + plotTitle_ + "; ";
    if (m & NT_PLOT_SETUP)
        cmd += nodes_.GetSetupIPlot((m & NT_IPLOT_FLAG) ? 1 : 0) + "; ";
    if ((m & NT_OPTIONS) && useAnalysisOptions_)
        cmd += GetAnalysisOptions(2).toNutmegCommand() + "; ";
    if (m & NT_COMMAND)
        cmd += toNutmegCommandHelper();
    if (m & (NT_POSTPROCESS | NT_PLOT_SETUP)) {
        cmd += "; if-error end-scope audit-log-show";
        if (m & NT_POSTPROCESS)
            cmd += "; " + nodes_.GetSetupPostProcessing();
        if ((m & NT_PLOT_SETUP) && !rawFile_.IsEmpty())
            cmd += "; write-and-destroy-iplot " + rawFile_;
    }
    if (m & NT_SCOPE)
        cmd += "; end-scope ";
    return cmd;
}

CPropertyItem Analyses::Analysis::toPropertyItem() const {
    CPropertyList list;
    if (toReadableTextMask() & TT_OUTPUTS)
        list.AddItem(nodes_.toPropertyItem());
    list.AddItem(CPropertyItem("ANALYSIS", toPropertyListHelper()));
    list.AddItem(CPropertyItem("ANALYSIS_ID", static_cast<long>(identifier_)));
    list.AddItem(CPropertyItem("PLOT_TITLE", plotTitle_));
    list.AddItem(CPropertyItem("MAX_POINTS", static_cast<long>(maxPoints_)));
    list.AddItem(CPropertyItem("DISCARD_PLOTS", static_cast<long>(discardPlot_)));
    list.AddItem(CPropertyItem("READABLE_NAME", readableName_));
    list.AddItem(CPropertyItem("RAWFILE_NAME", rawFile_));
    list.AddItem(CPropertyItem("ORVO_OPT", options_[0].toPropertyListForChg()));
    list.AddItem(CPropertyItem("USE_ORVO_OPT", static_cast<long>(useAnalysisOptions_)));
    list.AddItem(CPropertyItem("VLT_ORVO_OPT", static_cast<long>(useDefaultOptions_ ? 1 : 0)));
    return CPropertyItem(GetAnalysisNickname(), list);
}

int Analyses::Analysis::fromPropertyItem(const CPropertyItem& item) {
    if (!(item.GetLabel() == GetAnalysisNickname()) || item.GetTypeOfValue() != CPropertyItem::List)
        return 0;
    reset();
    int result = 1;
    long useDefaults = -1; // absent
    for (const CPropertyItem& field : item.GetPropertyList()) {
        const CString& label = field.GetLabel();
        const CPropertyItem::Type type = field.GetTypeOfValue();
        if (label == "ANALYSIS") {
            if (type != CPropertyItem::List)
                result = 0;
            else if (!field.GetPropertyList().IsEmpty() &&
                     !fromPropertyListHelper(field.GetPropertyList()))
                result = 0;
        } else if (label == "RAWFILE_NAME") {
            if (type == CPropertyItem::String)
                rawFile_ = field.GetString();
        } else if (label == "READABLE_NAME") {
            if (type == CPropertyItem::String)
                readableName_ = field.GetString();
        } else if (label == "PLOT_TITLE") {
            if (type == CPropertyItem::String)
                plotTitle_ = field.GetString();
        } else if (label == "MAX_POINTS") {
            if (type == CPropertyItem::Int)
                maxPoints_ = static_cast<int32_t>(field.GetInt());
        } else if (label == "DISCARD_PLOTS") {
            if (type == CPropertyItem::Int)
                discardPlot_ = static_cast<int>(field.GetInt());
        } else if (label == "ANALYSIS_ID") {
            // Identifiers written by toPropertyItem() are integers and are
            // deliberately not read back: the collection's numbering stands.
            if (type != CPropertyItem::Int)
                identifier_ = static_cast<int>(field.GetInt());
        } else if (nodes_.fromPropertyItem(field)) {
            // taken by the node set
        } else if (label == "USE_ORVO_OPT") {
            if (type == CPropertyItem::Int)
                useAnalysisOptions_ = static_cast<int>(field.GetInt());
        } else if (label == "VLT_ORVO_OPT") {
            if (type == CPropertyItem::Int)
                useDefaults = field.GetInt();
        } else if (label == "ORVO_OPT") {
            if (type == CPropertyItem::List) {
                CPropertyList stored;
                stored.AppendItems(field.GetPropertyList());
                if (!stored.IsEmpty() && !options_[0].fromPropertyList(stored))
                    result = 0;
            }
        } else {
            result = 0;
        }
    }
    // Older records lack "VLT_ORVO_OPT": they use the default set exactly when
    // they use options at all.
    useDefaultOptions_ = (useDefaults != -1 ? useDefaults : useAnalysisOptions_) != 0;
    return result;
}

_TREEITEM* Analyses::Analysis::toReadableText(CTreeLog& log, _TREEITEM* parent, long mask,
                                              const char* prefix) const {
    const long m = mask & toReadableTextMask();
    _TREEITEM* heading = parent;
    if (!(mask & TT_NO_HEADING)) {
        const CString text = CString(prefix) + GetAnalysisReadableName();
        heading = log.InsertItem(CTreeLog::Heading, text, parent);
    }
    if (m & TT_TITLE)
        log.InsertItem(CTreeLog::Normal, GetResourceString(IDS_PLOT_TITLE) + plotTitle_, heading);
    if (m & TT_SETTINGS) {
        _TREEITEM* settings =
            log.InsertItem(CTreeLog::Bold, GetResourceText(IDS_ANALYSIS_SETTINGS), heading);
        toReadableTextHelper(log, settings);
    }
    if (m & TT_OUTPUTS)
        nodes_.toReadableText(log, heading);
    if (m & TT_COMMAND) {
        _TREEITEM* commands =
            log.InsertItem(CTreeLog::Bold, GetResourceText(IDS_SPICE_COMMANDS), heading);
        CStringArray statements;
        DivideStringIntoStatements(toNutmegCommand(-1), statements);
        for (CString& s : statements)
            if (!s.Trim().IsEmpty())
                log.InsertItem(CTreeLog::Normal, s, commands);
    }
    if ((m & TT_OUTPUTS) && !rawFile_.IsEmpty())
        log.InsertItem(CTreeLog::Normal, GetResourceString(IDS_RESULTS_SAVED_TO) + rawFile_,
                       heading);
    if (m & TT_OPTIONS) {
        _TREEITEM* options = log.InsertItem(
            CTreeLog::Bold,
            GetResourceText(useDefaultOptions_ ? IDS_DEFAULT_OPTIONS : IDS_CUSTOM_OPTIONS),
            heading);
        GetAnalysisOptions(2).toReadableText(log, options);
    }
    return heading;
}

_TREEITEM* Analyses::Analysis::toReadableText(CTreeCtrl& ctrl, _TREEITEM* parent, long mask,
                                              const char* prefix) const {
    CTreeLog log("", "", &ctrl);
    return toReadableText(log, parent, mask, prefix);
}

int Analyses::Analysis::LoadFromMainAnalysis() {
    return 0;
}

CString Analyses::Analysis::GetAnalysisReadableName() const {
    if (!readableName_.IsEmpty())
        return readableName_;
    return s_GetDefaultReadableName(static_cast<int>(GetType()));
}

void Analyses::Analysis::SetAnalysisIdentifier(int id) {
    identifier_ = id;
    plotTitle_ = GetAnalysisReadableName();
}

AnalysisOptions& Analyses::Analysis::GetAnalysisOptions(int which) {
    return const_cast<AnalysisOptions&>(std::as_const(*this).GetAnalysisOptions(which));
}

const AnalysisOptions& Analyses::Analysis::GetAnalysisOptions(int which) const {
    if (which == 2)
        return options_[useDefaultOptions_ ? 1 : 0];
    return options_[which == 1 ? 1 : 0];
}

CString Analyses::Analysis::s_GetDefaultReadableName(int type) {
    if (type < 0 || type >= AnalysisTypeCount)
        return GetResourceString(IDS_NAME_UNKNOWN);
    return GetResourceString(kDefaultNames[type]);
}

void Analyses::Analysis::ConvertXspiceAnalysisName(CString& name) {
    for (unsigned id : kSimulatorPlotNames) {
        if (name.CompareNoCase(GetResourceText(id)) == 0) {
            name = GetResourceString(id);
            return;
        }
    }
}

CString Analyses::Analysis::ConvertAnalysisToXAxisValue(int, double value, const char* unit) {
    double mantissa = 0.0;
    CString prefixed;
    ExpandNumber(value, unit ? unit : "s", &mantissa, &prefixed, 1, 1);
    return CString::Formatted("%.3f %s", mantissa, prefixed.c_str());
}

long Analyses::Analysis::s_GetDefaultMaxPoints() {
    MEMORYSTATUS status;
    GlobalMemoryStatus(&status);
    return static_cast<long>(std::min<uint64_t>(status.dwTotalPhys >> 9, kMaxDefaultPoints));
}
