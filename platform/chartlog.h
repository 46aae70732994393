// Chart log: a titled list of indented text entries that analyses report into.
#pragma once

#include "canal/export.h"
#include "platform/cstring.h"

#include <string>
#include <vector>

class CANAL_EXPORT ChartLog {
public:
    struct Entry {
        int indent = 0;
        CString text;
    };

    explicit ChartLog(const CString& title = CString());

    void SetTitle(const CString& title);
    const CString& GetTitle() const;
    void AddEntry(const CString& text, int indent = 0);
    void Indent();
    void Unindent();
    /// Entries added without an explicit indent use the current level.
    void AddLine(const CString& text);
    const std::vector<Entry>& GetEntries() const;
    void Clear();
    /// Title line, then each entry indented two blanks per level.
    std::string ToText() const;

private:
    CString title_;
    int level_ = 0;
    std::vector<Entry> entries_;
};
