// Post-processing pages: diagrams (charts and graphs) of trace expressions shown after a run.
#pragma once

#include "analyses/core/analyses.h"
#include "canal/export.h"
#include "platform/lists.h"

#include <cstdint>

/// One chart or graph on a page, with its trace expressions.
class CANAL_EXPORT PP_Diagram {
public:
    enum Type : int32_t { Chart = 0, Graph = 1 };

    explicit PP_Diagram(Type type = Chart, _TREEITEM* item = nullptr)
        : type_(type), treeItem_(item) {}
    PP_Diagram(const PP_Diagram&) = default;
    PP_Diagram& operator=(const PP_Diagram&) = default;

    Type GetType() const { return type_; }
    void SetType(Type t) { type_ = t; }
    SelectableStringList& GetTraces() { return traces_; }
    const SelectableStringList& GetTraces() const { return traces_; }
    /// The user-interface item showing this diagram; borrowed, never persisted.
    _TREEITEM* GetTreeItem() const { return treeItem_; }
    void SetTreeItem(_TREEITEM* item) { treeItem_ = item; }

    /// "plot-chart " or "plot-graph ", each trace and a blank, then "; ".
    static CString toNutmegCommand(const PP_Diagram& d);
    static CPropertyList toPropertyList(const PP_Diagram& d);
    /// Appends the stored traces; 0 when some item was not understood.
    static int fromPropertyList(PP_Diagram& d, const CPropertyList& list);
    static void toReadableText(const PP_Diagram& d, CTreeLog& log, _TREEITEM* parent);

private:
    Type type_;
    SelectableStringList traces_;
    _TREEITEM* treeItem_;
};

/// One page of diagrams, in display order.
class CANAL_EXPORT PP_Page {
public:
    explicit PP_Page(_TREEITEM* item = nullptr) : treeItem_(item) {}
    PP_Page(const PP_Page&) = default;
    PP_Page& operator=(const PP_Page&) = default;

    CopiableSList<PP_Diagram>& GetDiagramList() { return diagrams_; }
    const CopiableSList<PP_Diagram>& GetDiagramList() const { return diagrams_; }
    _TREEITEM* GetTreeItem() const { return treeItem_; }
    void SetTreeItem(_TREEITEM* item) { treeItem_ = item; }

    /// "-param new-page; " and the statements of every diagram.
    static CString toNutmegCommand(const PP_Page& p);
    static CPropertyList toPropertyList(const PP_Page& p);
    static int fromPropertyList(PP_Page& p, const CPropertyList& list);
    static void toReadableText(const PP_Page& p, CTreeLog& log, _TREEITEM* parent);

private:
    CopiableSList<PP_Diagram> diagrams_;
    _TREEITEM* treeItem_;
};

/// The post-processing pages of one reference analysis.
class CANAL_EXPORT PostProcess {
public:
    PostProcess() = default;
    PostProcess(const PostProcess&) = default;
    PostProcess& operator=(const PostProcess&) = default;

    static CString s_GetAnalysisNickname() { return "PostProc"; }
    CString GetAnalysisNickname() const { return s_GetAnalysisNickname(); }

    void reset() { pages_.RemoveAll(); }
    CopiableSList<PP_Page>& GetPageList() { return pages_; }
    const CopiableSList<PP_Page>& GetPageList() const { return pages_; }
    /// The analysis whose results the pages show; borrowed, not owned.
    void SetRefAnalysis(Analyses::Analysis* a) { ref_ = a; }
    Analyses::Analysis* GetRefAnalysis() const { return ref_; }

    /// The statements of every page, in order; "" when there are no pages.
    CString toNutmegCommand() const;
    CPropertyList toPropertyList() const;
    /// Replaces the pages with the stored ones; 0 when some item was not understood.
    int fromPropertyList(const CPropertyList& list);
    /// Writes a "Post Processing" item under `parent` and the pages under it; returns that item.
    _TREEITEM* toReadableText(CTreeLog& log, _TREEITEM* parent) const;

private:
    CopiableSList<PP_Page> pages_;
    Analyses::Analysis* ref_ = nullptr;
};
