// Node name lists: look-ups, the token text of a selection, persistence; plot
// vector look-ups.
#include "platform/spice.h"

#include <mutex>
#include <optional>

namespace {

// One stored NODE entry, or nothing when it is not a list with a string Name
// and integer Kind/Flags (Kind and Flags may be absent; unknown fields are
// ignored so that later versions can add some).
std::optional<CSpiceNodeName> ReadNode(const CPropertyItem& item) {
    if (!(item.GetLabel() == "NODE") || item.GetTypeOfValue() != CPropertyItem::List)
        return std::nullopt;
    CSpiceNodeName node;
    bool haveName = false;
    for (const CPropertyItem& field : item.GetPropertyList()) {
        const CString& label = field.GetLabel();
        const auto type = field.GetTypeOfValue();
        if (label == "Name") {
            if (type != CPropertyItem::String)
                return std::nullopt;
            node.SetName(field.GetString());
            haveName = true;
        } else if (label == "Kind") {
            if (type != CPropertyItem::Int)
                return std::nullopt;
            node.SetKind(static_cast<int>(field.GetInt()));
        } else if (label == "Flags") {
            if (type != CPropertyItem::Int)
                return std::nullopt;
            node.SetFlags(field.GetInt());
        }
    }
    if (!haveName)
        return std::nullopt;
    return node;
}

} // namespace

CSpiceNodeName* CSpiceNodeNameList::FindName(const CString& name) {
    CSpiceNodeName* found = nullptr;
    ForEach([&](CSpiceNodeName& n) {
        if (!found && n.GetName() == name)
            found = &n;
    });
    return found;
}

const CSpiceNodeName* CSpiceNodeNameList::FindName(const CString& name) const {
    const CSpiceNodeName* found = nullptr;
    ForEach([&](const CSpiceNodeName& n) {
        if (!found && n.GetName() == name)
            found = &n;
    });
    return found;
}

bool CSpiceNodeNameList::AnyWithFlags(long mask) const {
    bool any = false;
    ForEach([&](const CSpiceNodeName& n) { any = any || n.HasFlags(mask); });
    return any;
}

CString CSpiceNodeNameList::toSpaceDelimittedTokens(long mask, const char* allText,
                                                    int flag) const {
    CString tokens;
    size_t total = 0;
    size_t matching = 0;
    ForEach([&](const CSpiceNodeName& n) {
        ++total;
        if (!n.HasFlags(mask))
            return;
        if (matching++ > 0)
            tokens += ' ';
        tokens += n.GetName();
    });
    if (flag != 0 && total > 0 && matching == total)
        return CString(allText);
    return tokens;
}

CPropertyItem CSpiceNodeNameList::toPropertyItem(const CString& label) const {
    CPropertyList nodes;
    ForEach([&](const CSpiceNodeName& n) {
        CPropertyList fields;
        fields.AddItem(CPropertyItem("Name", n.GetName()));
        fields.AddItem(CPropertyItem("Kind", n.GetKind()));
        fields.AddItem(CPropertyItem("Flags", n.GetFlags()));
        nodes.AddItem(CPropertyItem("NODE", fields));
    });
    return CPropertyItem(label, nodes);
}

int CSpiceNodeNameList::fromPropertyItem(const CPropertyItem& item, const CString& label) {
    if (!(item.GetLabel() == label) || item.GetTypeOfValue() != CPropertyItem::List)
        return 0;
    // Hold the lock across clear and refill so no walker sees half a list.
    std::lock_guard lk(*this);
    RemoveAll();
    for (const CPropertyItem& entry : item.GetPropertyList())
        if (auto node = ReadNode(entry))
            Add(std::move(*node));
    return 1;
}

int CSpicePlotInfo::FindVector(const CString& vectorName) const {
    for (size_t i = 0; i < vectorNames.size(); ++i)
        if (vectorNames[i].CompareNoCase(vectorName) == 0)
            return static_cast<int>(i);
    return -1;
}

double CSpiceDataRow::GetScaleValue(const CSpicePlotInfo& plot) const {
    if (plot.scaleIndex < 0 || static_cast<size_t>(plot.scaleIndex) >= real.size())
        return 0.0;
    return real[static_cast<size_t>(plot.scaleIndex)];
}
