// Output variables of an analysis and its plot set-up: which variables are
// saved and plotted, node filters, the four plot axes and three switches.
#pragma once

#include "analyses/core/analyses.h"
#include "canal/export.h"
#include "platform/spice.h"

/// Writes the readable lines of four axis scales and ranges under `parent`
/// (shared by every analysis that shows plot axes).
CANAL_EXPORT void AxisScalesToReadableText(CTreeLog& log, _TREEITEM* parent,
                                           const ScaleType scales[4], const CGrapherAxes& axes);

/// Text of a scale ("lin", "log", "dec", "oct"); "" for 4 or unknown values.
CANAL_EXPORT const char* ScaleTypeText(int scale);

class CANAL_EXPORT Analyses::AnalysisNodes {
public:
    enum NodeFilterGroup : int { Unselected = 0, Selected = 1 };
    enum Mode : int { Variables = 0, Components = 1, Nodes = 2 };
    enum AxisPosition : int { VAxis = 0, HAxis2 = 1, VAxis2 = 2, HAxis = 3 };

    /// Scale and range key words of each axis ("vscale"/"vrange", ...).
    static const char* ScaleWord(int axis);
    static const char* RangeWord(int axis);
    /// The plot option setting the scale of `axis`, "-param vscale log; ";
    /// "" when the scale is not set.
    static CString ScaleOption(int axis, ScaleType scale);
    /// The plot option setting the range of `axis`, "-param vrange 1 10; ";
    /// "" for a null range.
    static CString RangeOption(int axis, const CMinMax& range);

    AnalysisNodes();

    void reset();
    /// Asks the engine for the candidate variables and refreshes the nodes list.
    void UpdateAnalysisNodeList();
    void SetRefAnalysis(Analysis* a) { ref_.analysis = a; }
    Analysis* GetRefAnalysis() const { return ref_.analysis; }

    NodeFilter GetNodeFilter(NodeFilterGroup g) const { return filters_[g]; }
    void SetNodeFilter(NodeFilterGroup g, NodeFilter f) { filters_[g] = f; }
    void AddNodeFilter(NodeFilterGroup g, NodeFilter f);
    void RemoveNodeFilter(NodeFilterGroup g, NodeFilter f);

    CSpiceNodeNameList& GetUserNodes() { return userNodes_; }
    const CSpiceNodeNameList& GetUserNodes() const { return userNodes_; }
    void SetUserNodes(const CSpiceNodeNameList& l) { userNodes_ = l; }
    void ResetUserNodes() { userNodes_.RemoveAll(); }
    CSpiceNodeNameList& GetNodes() { return nodes_; }
    const CSpiceNodeNameList& GetNodes() const { return nodes_; }
    void SetNodes(const CSpiceNodeNameList& l) { nodes_ = l; }
    /// Replaces the nodes with the blank-separated names of `s`, each saved and
    /// plotted incrementally (flags 256 | 512).
    void SetNodesString(const CString& s);
    void GetNodes(CSpiceNodeNameList& out) const { out = nodes_; }
    /// Copies the saved (256) nodes into `out`.
    void SelectNodes(CSpiceNodeNameList& out) const;

    int GetShowDevAtEnd() const { return showDevAtEnd_; }
    void SetShowDevAtEnd(int v) { showDevAtEnd_ = v; }
    int GetIncrPlot() const { return incrPlot_; }
    void SetIncrPlot(int v) { incrPlot_ = v; }
    Mode GetMode() const { return mode_; }
    void SetMode(int m) { mode_ = static_cast<Mode>(m); }
    ScaleType GetAxis(AxisPosition p) const { return scales_[p]; }
    void SetAxis(AxisPosition p, ScaleType s) { scales_[p] = s; }
    CGrapherAxes& GetAxes() { return axes_; }
    const CGrapherAxes& GetAxes() const { return axes_; }
    int GetWantCheckNodes() const { return wantCheckNodes_; }
    void SetWantCheckNodes(int v) { wantCheckNodes_ = v; }

    CString GetNodesString(long mask, int flag) const;
    int GetSelected() const;
    int GetIPlot() const;
    int GetSelectedNotIPlot() const;

    CString GetSetupIPlot(int flag) const;
    CString GetSetupPostProcessing() const;
    CString GetAxisCmd(AxisPosition p) const;

    CPropertyItem toPropertyItem() const;
    int fromPropertyItem(const CPropertyItem& item);
    void toReadableText(CTreeLog& log, _TREEITEM* parent) const;
    void toReadableText(CTreeCtrl& ctrl, _TREEITEM* parent) const;

private:
    /// The analysis holding the set. A copy names the same analysis until its
    /// holder binds it; assignment keeps the target's own binding, as the
    /// binding is the holder's business, not part of the settings.
    struct Binding {
        Analysis* analysis = nullptr;
        Binding() = default;
        Binding(const Binding&) = default;
        Binding& operator=(const Binding&) { return *this; }
    };

    Binding ref_;
    NodeFilter filters_[2] = {NF_NONE, NF_NONE};
    CSpiceNodeNameList userNodes_;
    CSpiceNodeNameList nodes_;
    int showDevAtEnd_ = 1;
    int incrPlot_ = 1;
    Mode mode_ = Variables;
    ScaleType scales_[4] = {ST_NONE, ST_NONE, ST_NONE, ST_NONE};
    CGrapherAxes axes_;
    int wantCheckNodes_ = 1;
};
