// Chart log: titled, indented text entries and their plain-text rendering.
#include "platform/chartlog.h"

#include <algorithm>

ChartLog::ChartLog(const CString& title) : title_(title) {
}

void ChartLog::SetTitle(const CString& title) {
    title_ = title;
}

const CString& ChartLog::GetTitle() const {
    return title_;
}

void ChartLog::AddEntry(const CString& text, int indent) {
    entries_.push_back(Entry{std::max(indent, 0), text});
}

void ChartLog::Indent() {
    ++level_;
}

void ChartLog::Unindent() {
    if (level_ > 0)
        --level_;
}

void ChartLog::AddLine(const CString& text) {
    AddEntry(text, level_);
}

const std::vector<ChartLog::Entry>& ChartLog::GetEntries() const {
    return entries_;
}

void ChartLog::Clear() {
    entries_.clear();
    level_ = 0;
}

std::string ChartLog::ToText() const {
    std::string out = title_.str();
    out += '\n';
    for (const auto& e : entries_) {
        out.append(static_cast<size_t>(e.indent) * 2, ' ');
        out += e.text.str();
        out += '\n';
    }
    return out;
}
