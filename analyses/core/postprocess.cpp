// Post-processing pages: plotting statements, persistence and readable text.
#include "analyses/core/postprocess.h"

#include "platform/resources.h"

CString PP_Diagram::toNutmegCommand(const PP_Diagram& d) {
    CString cmd;
    if (d.type_ == Chart)
        cmd = "plot-chart ";
    else if (d.type_ == Graph)
        cmd = "plot-graph ";
    d.traces_.ForEach([&](const SelectableString& t) { cmd += t.text + " "; });
    cmd += "; ";
    return cmd;
}

CPropertyList PP_Diagram::toPropertyList(const PP_Diagram& d) {
    CPropertyList list;
    if (d.type_ == Chart)
        list.AddItem(CPropertyItem("TYPE", "CHART"));
    else if (d.type_ == Graph)
        list.AddItem(CPropertyItem("TYPE", "GRAPH"));
    d.traces_.ForEach(
        [&](const SelectableString& t) { list.AddItem(CPropertyItem("TRACE", t.text)); });
    return list;
}

int PP_Diagram::fromPropertyList(PP_Diagram& d, const CPropertyList& list) {
    int result = 1;
    for (const CPropertyItem& item : list) {
        const bool isString = item.GetTypeOfValue() == CPropertyItem::String;
        if (item.GetLabel() == "TYPE" && isString) {
            const CString value = item.GetString();
            if (value == "GRAPH")
                d.type_ = Graph;
            else if (value == "CHART")
                d.type_ = Chart;
        } else if (item.GetLabel() == "TRACE" && isString) {
            d.traces_.AddString(item.GetString(), 1);
        } else {
            result = 0;
        }
    }
    return result;
}

void PP_Diagram::toReadableText(const PP_Diagram& d, CTreeLog& log, _TREEITEM* parent) {
    if (d.type_ == Chart)
        log.InsertItem(CTreeLog::Normal, GetResourceText(IDS_PP_CHART), parent);
    else if (d.type_ == Graph)
        log.InsertItem(CTreeLog::Normal, GetResourceText(IDS_PP_GRAPH), parent);
    _TREEITEM* traces = log.InsertItem(CTreeLog::Normal, GetResourceText(IDS_PP_TRACES), parent);
    d.traces_.ForEach(
        [&](const SelectableString& t) { log.InsertItem(CTreeLog::Normal, t.text, traces); });
}

CString PP_Page::toNutmegCommand(const PP_Page& p) {
    CString cmd = "-param new-page; ";
    p.diagrams_.ForEach([&](const PP_Diagram& d) { cmd += PP_Diagram::toNutmegCommand(d); });
    return cmd;
}

CPropertyList PP_Page::toPropertyList(const PP_Page& p) {
    CPropertyList list;
    p.diagrams_.ForEach([&](const PP_Diagram& d) {
        list.AddItem(CPropertyItem("DIAGRAM", PP_Diagram::toPropertyList(d)));
    });
    return list;
}

int PP_Page::fromPropertyList(PP_Page& p, const CPropertyList& list) {
    int result = 1;
    for (const CPropertyItem& item : list) {
        if (item.GetLabel() == "DIAGRAM" && item.GetTypeOfValue() == CPropertyItem::List) {
            PP_Diagram d;
            if (!PP_Diagram::fromPropertyList(d, item.GetPropertyList()))
                result = 0;
            p.diagrams_.Add(d);
        } else {
            result = 0;
        }
    }
    return result;
}

void PP_Page::toReadableText(const PP_Page& p, CTreeLog& log, _TREEITEM* parent) {
    unsigned n = 0;
    p.diagrams_.ForEach([&](const PP_Diagram& d) {
        const CString text = CString::Formatted("%s %u", GetResourceText(IDS_PP_DIAGRAM), ++n);
        PP_Diagram::toReadableText(d, log, log.InsertItem(CTreeLog::Normal, text, parent));
    });
}

CString PostProcess::toNutmegCommand() const {
    CString cmd;
    pages_.ForEach([&](const PP_Page& p) { cmd += PP_Page::toNutmegCommand(p); });
    return cmd;
}

CPropertyList PostProcess::toPropertyList() const {
    CPropertyList list;
    pages_.ForEach(
        [&](const PP_Page& p) { list.AddItem(CPropertyItem("PAGE", PP_Page::toPropertyList(p))); });
    return list;
}

int PostProcess::fromPropertyList(const CPropertyList& list) {
    reset();
    int result = 1;
    for (const CPropertyItem& item : list) {
        if (item.GetLabel() == "PAGE" && item.GetTypeOfValue() == CPropertyItem::List) {
            PP_Page p;
            if (!PP_Page::fromPropertyList(p, item.GetPropertyList()))
                result = 0;
            pages_.Add(p);
        } else {
            result = 0;
        }
    }
    return result;
}

_TREEITEM* PostProcess::toReadableText(CTreeLog& log, _TREEITEM* parent) const {
    _TREEITEM* heading =
        log.InsertItem(CTreeLog::Heading, GetResourceText(IDS_PP_POST_PROCESSING), parent);
    unsigned n = 0;
    pages_.ForEach([&](const PP_Page& p) {
        const CString text = CString::Formatted("%s %u", GetResourceText(IDS_PP_PAGE), ++n);
        PP_Page::toReadableText(p, log, log.InsertItem(CTreeLog::Normal, text, heading));
    });
    return heading;
}
