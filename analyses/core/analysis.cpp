// The analysis base: command framing, persistence, readable text and validation.
#include "analyses/core/analysis.h"

#include "analyses/core/analysis_proxy.h"
#include "analyses/kinds.h"
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
constexpr const char* kDefaultOptionsKey = "VLT_ORVO_OPT";

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

std::span<const PropertyKeys::Key<Analyses::Analysis>> Analyses::Analysis::Keys() {
    using PropertyKeys::Field;
    static constexpr PropertyKeys::Key<Analysis> keys[] = {
        {"NODES",
         [](const Analysis& a, const char*, CPropertyList& list) {
             if (a.toReadableTextMask() & TT_OUTPUTS)
                 list.AddItem(a.nodes_.toPropertyItem());
         },
         // A record the node set refuses counts as an unknown field.
         [](Analysis& a, const CPropertyItem& item) {
             return a.nodes_.fromPropertyItem(item) != 0;
         }},
        {"ANALYSIS",
         [](const Analysis& a, const char* label, CPropertyList& list) {
             list.AddItem(CPropertyItem(label, a.toPropertyListHelper()));
         },
         [](Analysis& a, const CPropertyItem& item) {
             if (item.GetTypeOfValue() != CPropertyItem::List)
                 return false;
             const CPropertyList& own = item.GetPropertyList();
             return own.IsEmpty() || a.fromPropertyListHelper(own) != 0;
         }},
        {"ANALYSIS_ID",
         [](const Analysis& a, const char* label, CPropertyList& list) {
             list.AddItem(CPropertyItem(label, static_cast<long>(a.identifier_)));
         },
         // Identifiers written by toPropertyItem() are integers and are
         // deliberately not read back: the collection's numbering stands.
         [](Analysis& a, const CPropertyItem& item) {
             if (item.GetTypeOfValue() != CPropertyItem::Int)
                 a.identifier_ = static_cast<int>(item.GetInt());
             return true;
         }},
        Field<&Analysis::plotTitle_>("PLOT_TITLE"),
        Field<&Analysis::maxPoints_>("MAX_POINTS"),
        Field<&Analysis::discardPlot_>("DISCARD_PLOTS"),
        Field<&Analysis::readableName_>("READABLE_NAME"),
        Field<&Analysis::rawFile_>("RAWFILE_NAME"),
        {"ORVO_OPT",
         [](const Analysis& a, const char* label, CPropertyList& list) {
             list.AddItem(CPropertyItem(label, a.options_[0].toPropertyListForChg()));
         },
         [](Analysis& a, const CPropertyItem& item) {
             if (item.GetTypeOfValue() != CPropertyItem::List)
                 return true;
             CPropertyList stored;
             stored.AppendItems(item.GetPropertyList());
             return stored.IsEmpty() || a.options_[0].fromPropertyList(stored) != 0;
         }},
        Field<&Analysis::useAnalysisOptions_>("USE_ORVO_OPT"),
        // Read by fromPropertyItem once the walk is over, as its absence matters.
        {kDefaultOptionsKey,
         [](const Analysis& a, const char* label, CPropertyList& list) {
             list.AddItem(CPropertyItem(label, static_cast<long>(a.useDefaultOptions_ ? 1 : 0)));
         },
         nullptr},
    };
    return keys;
}

CPropertyItem Analyses::Analysis::toPropertyItem() const {
    return CPropertyItem(GetAnalysisNickname(), PropertyKeys::Write(*this, Keys()));
}

int Analyses::Analysis::fromPropertyItem(const CPropertyItem& item) {
    if (!(item.GetLabel() == GetAnalysisNickname()) || item.GetTypeOfValue() != CPropertyItem::List)
        return 0;
    reset();
    const CPropertyList& fields = item.GetPropertyList();
    const int result = PropertyKeys::Read(*this, fields, Keys());
    // Older records lack the default-options flag: they use the default set
    // exactly when they use options at all.
    long useDefaults = useAnalysisOptions_;
    for (const CPropertyItem& field : fields)
        if (field.GetLabel() == kDefaultOptionsKey && field.GetTypeOfValue() == CPropertyItem::Int)
            useDefaults = field.GetInt();
    useDefaultOptions_ = useDefaults != 0;
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
    const AnalysisKind* kind = FindAnalysisKind(static_cast<AnalysisType>(type));
    return GetResourceString(kind ? kind->readableName : IDS_NAME_UNKNOWN);
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
