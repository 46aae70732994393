// Helpers shared by the test binaries: command texts, records from text, key order, readable text.
#pragma once

#include "analyses/core/analysis_factory.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace test {

using Analysis = Analyses::Analysis;

/// The analysis' own command, without any framing.
inline CString CommandOf(const Analysis& a) {
    return a.toNutmegCommand(Analysis::NT_COMMAND);
}

/// The first item of a property text, as a settings file holds it.
inline CPropertyItem ParseItem(const CString& text) {
    CPropertyItem item;
    CPropertyList(text).GetNth(0, item);
    return item;
}

/// A record labelled `label` whose "ANALYSIS" list is `analysisList`.
inline CPropertyItem Record(const char* label, const CPropertyList& analysisList) {
    CPropertyList outer;
    outer.AddItem(CPropertyItem("ANALYSIS", analysisList));
    return CPropertyItem(label, outer);
}
inline CPropertyItem Record(const char* label, const char* analysisListText) {
    return Record(label, CPropertyList(analysisListText));
}

/// A new analysis of kind `nickname` whose own keys are read from `keys`
/// (property text); a kind without a class, or keys that do not read, fail
/// the calling test.
inline std::unique_ptr<Analysis> WithKeys(const char* nickname, const char* keys) {
    std::unique_ptr<Analysis> a(NewAnalysisByNickname(nickname, nullptr));
    if (!a)
        a.reset(NewAnalysisOfType(Analyses::AnalysisType::Op, nullptr));
    else if (!a->fromPropertyItem(Record(nickname, keys)))
        ADD_FAILURE() << nickname << " does not read " << keys;
    EXPECT_EQ(a->GetAnalysisNickname(), nickname);
    return a;
}

/// The analysis' own keys: the "ANALYSIS" list of its record; empty when there is none.
inline CPropertyList AnalysisList(const Analysis& a) {
    const CPropertyItem record = a.toPropertyItem();
    for (const CPropertyItem& item : record.GetPropertyList())
        if (item.GetLabel() == "ANALYSIS")
            return item.GetPropertyList();
    return {};
}

/// The labels of the items of `list`, in order.
inline std::vector<std::string> Labels(const CPropertyList& list) {
    std::vector<std::string> labels;
    for (const CPropertyItem& item : list)
        labels.push_back(item.GetLabel().str());
    return labels;
}

/// The items of `now` that differ from those of `before` (compared position by position), as
/// property text.
inline std::string Changed(const CPropertyList& now, const CPropertyList& before) {
    std::string changed;
    int i = 0;
    for (const CPropertyItem& item : now) {
        CPropertyItem was;
        if (!before.GetNth(i++, was) || was.GetField() != item.GetField())
            changed += (changed.empty() ? "" : " ") + item.GetField().str();
    }
    return changed;
}

/// The items of `a`'s own list that differ from those of a default object of its kind.
inline std::string ChangedKeys(const Analysis& a) {
    const std::unique_ptr<Analysis> fresh(a.NewInstance());
    return Changed(AnalysisList(a), AnalysisList(*fresh));
}

/// The fields of `a`'s whole record that differ from those of a default object of its kind.
inline std::string ChangedFields(const Analysis& a) {
    const std::unique_ptr<Analysis> fresh(a.NewInstance());
    return Changed(a.toPropertyItem().GetPropertyList(), fresh->toPropertyItem().GetPropertyList());
}

/// The readable text of anything that writes itself under a parent item
/// (settings classes, node sets, option sets), as indented lines.
template <class T> std::string ReadableOf(const T& obj) {
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    obj.toReadableText(log, nullptr);
    return ctrl.ToText();
}

/// The readable text of an analysis for `mask`, without a prefix.
inline std::string ReadableText(const Analysis& a, long mask) {
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    a.toReadableText(log, nullptr, mask, nullptr);
    return ctrl.ToText();
}

/// Just the "Analysis settings" block.
inline std::string SettingsText(const Analysis& a) {
    return ReadableText(a, Analysis::TT_SETTINGS | Analysis::TT_NO_HEADING);
}

} // namespace test
