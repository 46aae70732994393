// Tree log: an in-memory tree of styled text items, and its text/JSON renderers.
#pragma once

#include "canal/export.h"
#include "platform/cstring.h"

#include <memory>
#include <vector>

/// One node of a tree control. Owned by its CTreeCtrl; handles stay valid
/// until the control is cleared or destroyed.
struct CANAL_EXPORT _TREEITEM {
    CString text;
    int style = 0;
    bool expanded = false;
    _TREEITEM* parent = nullptr;
    std::vector<std::unique_ptr<_TREEITEM>> children;
};
using HTREEITEM = _TREEITEM*;

/// Owner of a tree of items. A null parent means the invisible root.
class CANAL_EXPORT CTreeCtrl {
public:
    CTreeCtrl();
    CTreeCtrl(const CTreeCtrl&) = delete;
    CTreeCtrl& operator=(const CTreeCtrl&) = delete;

    _TREEITEM* InsertItem(const char* text, int style, _TREEITEM* parent);
    void Expand(_TREEITEM* item);
    void DeleteAllItems();
    /// The top-level items.
    const std::vector<std::unique_ptr<_TREEITEM>>& Roots() const;
    _TREEITEM* Root();

    /// One item per line, two blanks of indentation per level, "\n" after each.
    std::string ToText() const;
    /// [{"text":..., "style":..., "children":[...]}, ...]
    std::string ToJson() const;

private:
    _TREEITEM root_;
};

/// Writes styled text items into a CTreeCtrl (borrowed, never owned).
class CANAL_EXPORT CTreeLog {
public:
    enum OutputStyle { Normal = 0, Heading = 1, Bold = 2, Warning = 3, Error = 4 };

    CTreeLog(const char* title, const char* description, CTreeCtrl* ctrl);
    ~CTreeLog();

    void SetTreeCtrl(CTreeCtrl* ctrl);
    CTreeCtrl* GetTreeCtrl() const;
    /// Inserts `text` under `parent` (null: top level); returns the new item,
    /// or null when no control is attached.
    _TREEITEM* InsertItem(OutputStyle style, const char* text, _TREEITEM* parent);
    void Expand(_TREEITEM* item);

private:
    CString title_;
    CString description_;
    CTreeCtrl* ctrl_ = nullptr;
};
