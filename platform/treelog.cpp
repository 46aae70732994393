// Tree log: the item tree, its writer and its text/JSON renderings.
#include "platform/treelog.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace {

void AppendHex4(std::string& out, unsigned v) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "\\u%04x", v & 0xffffu);
    out += buf;
}

// Length of the well-formed UTF-8 sequence at s[i], or 0 when the bytes there
// are not one (stray continuation, overlong form, surrogate, beyond U+10FFFF).
size_t Utf8SequenceLength(std::string_view s, size_t i) {
    const auto b = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
    const unsigned c = b(i);
    size_t len = 0;
    unsigned lo = 0x80, hi = 0xbf; // allowed range of the second byte
    if (c >= 0xc2 && c <= 0xdf) {
        len = 2;
    } else if (c >= 0xe0 && c <= 0xef) {
        len = 3;
        if (c == 0xe0)
            lo = 0xa0;
        else if (c == 0xed)
            hi = 0x9f;
    } else if (c >= 0xf0 && c <= 0xf4) {
        len = 4;
        if (c == 0xf0)
            lo = 0x90;
        else if (c == 0xf4)
            hi = 0x8f;
    } else {
        return 0;
    }
    if (i + len > s.size())
        return 0;
    if (b(i + 1) < lo || b(i + 1) > hi)
        return 0;
    for (size_t k = 2; k < len; ++k)
        if (b(i + k) < 0x80 || b(i + k) > 0xbf)
            return 0;
    return len;
}

// Simulator output can carry any byte; invalid UTF-8 becomes U+FFFD so that
// the document always parses.
void AppendJsonString(std::string& out, std::string_view s) {
    out += '"';
    for (size_t i = 0; i < s.size();) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        if (c < 0x80) {
            switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\b':
                out += "\\b";
                break;
            case '\f':
                out += "\\f";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (c < 0x20)
                    AppendHex4(out, c);
                else
                    out += static_cast<char>(c);
            }
            ++i;
            continue;
        }
        const size_t len = Utf8SequenceLength(s, i);
        if (len == 0) {
            AppendHex4(out, 0xfffd);
            ++i;
        } else {
            out.append(s.substr(i, len));
            i += len;
        }
    }
    out += '"';
}

void AppendText(std::string& out, const _TREEITEM& item, int level) {
    out.append(static_cast<size_t>(level) * 2, ' ');
    out += item.text.str();
    out += '\n';
    for (const auto& child : item.children)
        AppendText(out, *child, level + 1);
}

void AppendJson(std::string& out, const std::vector<std::unique_ptr<_TREEITEM>>& items) {
    out += '[';
    bool first = true;
    for (const auto& item : items) {
        if (!first)
            out += ',';
        first = false;
        out += "{\"text\":";
        AppendJsonString(out, item->text.view());
        out += ",\"style\":";
        out += std::to_string(item->style);
        out += ",\"children\":";
        AppendJson(out, item->children);
        out += '}';
    }
    out += ']';
}

} // namespace

CTreeCtrl::CTreeCtrl() = default;

_TREEITEM* CTreeCtrl::InsertItem(const char* text, int style, _TREEITEM* parent) {
    _TREEITEM* owner = parent ? parent : &root_;
    auto item = std::make_unique<_TREEITEM>();
    item->text = CString(text);
    item->style = style;
    // Top-level items report no parent, however the caller named the root.
    item->parent = owner == &root_ ? nullptr : owner;
    owner->children.push_back(std::move(item));
    return owner->children.back().get();
}

void CTreeCtrl::Expand(_TREEITEM* item) {
    if (item)
        item->expanded = true;
}

void CTreeCtrl::DeleteAllItems() {
    root_.children.clear();
}

const std::vector<std::unique_ptr<_TREEITEM>>& CTreeCtrl::Roots() const {
    return root_.children;
}

_TREEITEM* CTreeCtrl::Root() {
    return &root_;
}

std::string CTreeCtrl::ToText() const {
    std::string out;
    for (const auto& item : root_.children)
        AppendText(out, *item, 0);
    return out;
}

std::string CTreeCtrl::ToJson() const {
    std::string out;
    AppendJson(out, root_.children);
    return out;
}

CTreeLog::CTreeLog(const char* title, const char* description, CTreeCtrl* ctrl)
    : title_(title), description_(description), ctrl_(ctrl) {
}

CTreeLog::~CTreeLog() = default;

void CTreeLog::SetTreeCtrl(CTreeCtrl* ctrl) {
    ctrl_ = ctrl;
}

CTreeCtrl* CTreeLog::GetTreeCtrl() const {
    return ctrl_;
}

_TREEITEM* CTreeLog::InsertItem(OutputStyle style, const char* text, _TREEITEM* parent) {
    if (!ctrl_)
        return nullptr;
    return ctrl_->InsertItem(text, style, parent);
}

void CTreeLog::Expand(_TREEITEM* item) {
    if (ctrl_)
        ctrl_->Expand(item);
}
