// Output variables and plot set-up: save/iplot statements, axis commands, persistence.
#include "analyses/core/analysis_nodes.h"

#include "analyses/core/analysis.h"
#include "platform/resources.h"

namespace {

constexpr const char* kScaleWords[4] = {"vscale", "hscale2", "vscale2", "hscale"};
constexpr const char* kRangeWords[4] = {"vrange", "hrange2", "vrange2", "hrange"};
constexpr const char* kScaleTexts[4] = {"lin", "log", "dec", "oct"};
constexpr unsigned kAxisNames[4] = {IDS_AXIS_VERTICAL, IDS_AXIS_HORIZONTAL2, IDS_AXIS_VERTICAL2,
                                    IDS_AXIS_HORIZONTAL};
// The node type whose analyses start with both node filters set.
constexpr int kFilteredNodeType = 8;

// Texts of one wording: heading, over the incrementally plotted nodes (switch
// on / off), over the saved nodes.
struct Wording {
    unsigned heading, iplot, later, saved;
};
constexpr Wording kVariables = {IDS_VARIABLES_FROM, IDS_VARIABLES_IPLOT, IDS_VARIABLES_LATER,
                                IDS_VARIABLES_SAVED};
constexpr Wording kNodes = {IDS_NODES_FROM, IDS_NODES_IPLOT, IDS_NODES_LATER, IDS_NODES_SAVED};
constexpr Wording kComponents = {IDS_COMPONENTS_FROM, IDS_COMPONENTS_IPLOT, IDS_COMPONENTS_LATER,
                                 IDS_COMPONENTS_SAVED};

const Wording& WordingOf(int mode) {
    switch (mode) {
    case Analyses::AnalysisNodes::Components:
        return kComponents;
    case Analyses::AnalysisNodes::Nodes:
        return kNodes;
    default:
        return kVariables;
    }
}

int AxisOfWord(const char* const words[4], const CString& label) {
    for (int p = 0; p < 4; ++p)
        if (label == words[p])
            return p;
    return -1;
}

void ListNodes(CTreeLog& log, _TREEITEM* parent, const CSpiceNodeNameList& nodes, long mask) {
    nodes.ForEach([&](const CSpiceNodeName& n) {
        if (n.HasFlags(mask))
            log.InsertItem(CTreeLog::Normal, n.GetName(), parent);
    });
}

} // namespace

const char* ScaleTypeText(int scale) {
    return scale >= 0 && scale < 4 ? kScaleTexts[scale] : "";
}

void AxisScalesToReadableText(CTreeLog& log, _TREEITEM* parent, const ScaleType scales[4],
                              const CGrapherAxes& axes) {
    for (int p = 0; p < 4; ++p) {
        const CString axis = GetResourceString(kAxisNames[p]);
        if (scales[p] != ST_NONE)
            log.InsertItem(CTreeLog::Normal,
                           axis + GetResourceText(IDS_AXIS_SCALE) + ScaleTypeText(scales[p]),
                           parent);
        const CMinMax& range = axes.GetRange(p);
        if (!range.IsNull())
            log.InsertItem(
                CTreeLog::Normal,
                axis + GetResourceText(IDS_AXIS_RANGE) + CString::Formatted("%lg", range.GetMin()) +
                    GetResourceText(IDS_AXIS_RANGE_TO) + CString::Formatted("%lg", range.GetMax()),
                parent);
    }
}

const char* Analyses::AnalysisNodes::ScaleWord(int axis) {
    return axis >= 0 && axis < 4 ? kScaleWords[axis] : "";
}

const char* Analyses::AnalysisNodes::RangeWord(int axis) {
    return axis >= 0 && axis < 4 ? kRangeWords[axis] : "";
}

Analyses::AnalysisNodes::AnalysisNodes() {
    reset();
}

void Analyses::AnalysisNodes::reset() {
    const NodeFilter f = ref_.analysis && ref_.analysis->GetNodeType() == kFilteredNodeType
                             ? static_cast<NodeFilter>(1)
                             : NF_NONE;
    filters_[Unselected] = filters_[Selected] = f;
    userNodes_.RemoveAll();
    nodes_.RemoveAll();
    showDevAtEnd_ = 1;
    incrPlot_ = 1;
    for (ScaleType& s : scales_)
        s = ST_NONE;
    axes_.Reset();
    // Mode and the consistency-check switch are user preferences that survive a reset.
    UpdateAnalysisNodeList();
}

void Analyses::AnalysisNodes::UpdateAnalysisNodeList() {
    // The candidate variables come from the simulation engine of the owning
    // collection. Until an engine is attached, the list stays as the user or
    // the stored settings left it.
}

void Analyses::AnalysisNodes::AddNodeFilter(NodeFilterGroup g, NodeFilter f) {
    filters_[g] = static_cast<NodeFilter>(filters_[g] | f);
}

void Analyses::AnalysisNodes::RemoveNodeFilter(NodeFilterGroup g, NodeFilter f) {
    filters_[g] = static_cast<NodeFilter>(filters_[g] & ~f);
}

void Analyses::AnalysisNodes::SetNodesString(const CString& s) {
    nodes_.RemoveAll();
    const std::string& text = s.str();
    size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && (text[i] == ' ' || text[i] == '\t'))
            ++i;
        size_t j = i;
        while (j < text.size() && text[j] != ' ' && text[j] != '\t')
            ++j;
        if (j > i)
            nodes_.AddName(CString(text.substr(i, j - i)), 0,
                           CSpiceNodeName::Saved | CSpiceNodeName::IPlot);
        i = j;
    }
}

void Analyses::AnalysisNodes::SelectNodes(CSpiceNodeNameList& out) const {
    out.RemoveAll();
    nodes_.ForEach([&](const CSpiceNodeName& n) {
        if (n.HasFlags(CSpiceNodeName::Saved))
            out.Add(n);
    });
}

CString Analyses::AnalysisNodes::GetNodesString(long mask, int flag) const {
    return nodes_.toSpaceDelimittedTokens(mask, "all", flag);
}

int Analyses::AnalysisNodes::GetSelected() const {
    return nodes_.AnyWithFlags(CSpiceNodeName::Saved) ? 1 : 0;
}

int Analyses::AnalysisNodes::GetIPlot() const {
    return nodes_.AnyWithFlags(CSpiceNodeName::IPlot) ? 1 : 0;
}

int Analyses::AnalysisNodes::GetSelectedNotIPlot() const {
    bool any = false;
    nodes_.ForEach([&](const CSpiceNodeName& n) {
        if (n.HasFlags(CSpiceNodeName::Saved) && !n.HasFlags(CSpiceNodeName::IPlot))
            any = true;
    });
    return any ? 1 : 0;
}

CString Analyses::AnalysisNodes::GetSetupIPlot(int flag) const {
    CString cmd;
    if (wantCheckNodes_ && ref_.analysis)
        cmd += CString::Formatted("checknodes %u; ",
                                  static_cast<unsigned>(ref_.analysis->GetNodeType()));
    cmd += "save " + GetNodesString(CSpiceNodeName::Saved, flag);
    if (incrPlot_) {
        cmd += "; iplot " + GetNodesString(CSpiceNodeName::IPlot, 0) + "; ";
        for (int p = 0; p < 4; ++p)
            cmd += GetAxisCmd(static_cast<AxisPosition>(p));
    }
    return cmd;
}

CString Analyses::AnalysisNodes::GetSetupPostProcessing() const {
    return showDevAtEnd_ ? CString("; show all; showmod all; ") : CString();
}

CString Analyses::AnalysisNodes::GetAxisCmd(AxisPosition p) const {
    CString cmd;
    if (scales_[p] != ST_NONE)
        cmd += CString("-param ") + kScaleWords[p] + " " + ScaleTypeText(scales_[p]) + "; ";
    const CMinMax& range = axes_.GetRange(p);
    if (!range.IsNull())
        cmd += CString("-param ") + kRangeWords[p] +
               CString::Formatted(" %lg %lg; ", range.GetMin(), range.GetMax());
    return cmd;
}

CPropertyItem Analyses::AnalysisNodes::toPropertyItem() const {
    CPropertyList list;
    list.AddItem(CPropertyItem("IncrPlot", static_cast<long>(incrPlot_)));
    list.AddItem(CPropertyItem("NodeFilterSelected", static_cast<long>(filters_[Selected])));
    list.AddItem(CPropertyItem("NodeFilterUnselected", static_cast<long>(filters_[Unselected])));
    list.AddItem(CPropertyItem("ShowAtEnd", static_cast<long>(showDevAtEnd_)));
    list.AddItem(CPropertyItem("Mode", static_cast<long>(mode_)));
    list.AddItem(userNodes_.toPropertyItem("UserNodes"));
    list.AddItem(nodes_.toPropertyItem("Nodes"));
    for (int p = 0; p < 4; ++p)
        if (scales_[p] != ST_NONE)
            list.AddItem(CPropertyItem(kScaleWords[p], static_cast<long>(scales_[p])));
    list.AddItem(CPropertyItem("WantCheckNodes", static_cast<long>(wantCheckNodes_)));
    for (int p = 0; p < 4; ++p) {
        const CMinMax& range = axes_.GetRange(p);
        if (!range.IsNull()) {
            list.AddItem(CPropertyItem(kRangeWords[p], range.GetMin()));
            list.AddItem(CPropertyItem(kRangeWords[p], range.GetMax()));
        }
    }
    return CPropertyItem("NODES", list);
}

int Analyses::AnalysisNodes::fromPropertyItem(const CPropertyItem& item) {
    if (!(item.GetLabel() == "NODES") || item.GetTypeOfValue() != CPropertyItem::List)
        return 0;
    reset();
    int result = 1;
    for (const CPropertyItem& field : item.GetPropertyList()) {
        const CString& label = field.GetLabel();
        const bool isInt = field.GetTypeOfValue() == CPropertyItem::Int;
        const int value = isInt ? static_cast<int>(field.GetInt()) : 0;
        int axis = -1;
        if (label == "ShowAtEnd") {
            if (isInt)
                showDevAtEnd_ = value;
        } else if (label == "WantCheckNodes") {
            if (isInt)
                wantCheckNodes_ = value;
        } else if (label == "NodeFilterUnselected") {
            if (isInt)
                filters_[Unselected] = static_cast<NodeFilter>(value);
        } else if (label == "NodeFilterSelected") {
            if (isInt)
                filters_[Selected] = static_cast<NodeFilter>(value);
        } else if (label == "Mode") {
            if (isInt)
                mode_ = static_cast<Mode>(value);
        } else if (label == "IncrPlot") {
            if (isInt)
                incrPlot_ = value;
        } else if (userNodes_.fromPropertyItem(field, "UserNodes")) {
        } else if (nodes_.fromPropertyItem(field, "Nodes")) {
        } else if ((axis = AxisOfWord(kScaleWords, label)) >= 0 && isInt) {
            scales_[axis] = static_cast<ScaleType>(value);
        } else if ((axis = AxisOfWord(kRangeWords, label)) >= 0 &&
                   field.GetTypeOfValue() == CPropertyItem::Double) {
            // Minimum and maximum are stored as two points of the range.
            axes_.GetRange(axis).Add(field.GetDouble());
        } else {
            result = 0;
        }
    }
    return result;
}

void Analyses::AnalysisNodes::toReadableText(CTreeLog& log, _TREEITEM* parent) const {
    if (wantCheckNodes_)
        log.InsertItem(CTreeLog::Normal, GetResourceText(IDS_NODES_CHECK), parent);
    const Wording& w = WordingOf(mode_);
    _TREEITEM* heading = log.InsertItem(CTreeLog::Bold, GetResourceText(w.heading), parent);
    if (showDevAtEnd_)
        log.InsertItem(CTreeLog::Normal, GetResourceText(IDS_NODES_SHOW_AT_END), heading);
    AxisScalesToReadableText(log, heading, scales_, axes_);
    if (GetSelectedNotIPlot()) {
        _TREEITEM* saved = log.InsertItem(CTreeLog::Normal, GetResourceText(w.saved), heading);
        ListNodes(log, saved, nodes_, CSpiceNodeName::Saved);
    }
    if (GetIPlot()) {
        _TREEITEM* plotted = log.InsertItem(
            CTreeLog::Normal, GetResourceText(incrPlot_ ? w.iplot : w.later), heading);
        ListNodes(log, plotted, nodes_, CSpiceNodeName::IPlot);
    }
}

void Analyses::AnalysisNodes::toReadableText(CTreeCtrl& ctrl, _TREEITEM* parent) const {
    CTreeLog log("", "", &ctrl);
    toReadableText(log, parent);
}
