// Shared pieces of command and readable text.
#include "analyses/core/analysis_text.h"

#include "platform/helpers.h"
#include "platform/resources.h"

CString FormatNumber(double value) {
    return CString::Formatted("%lg", value);
}

CString FormatCount(unsigned count) {
    return CString::Formatted("%u", count);
}

CString CommandHead(const char* word) {
    return CString(word) + " " + " -env-options ";
}

void InsertLine(CTreeLog& log, _TREEITEM* parent, unsigned label, const CString& value) {
    log.InsertItem(CTreeLog::Normal, GetResourceString(label) + value, parent);
}

void InsertNameLine(CTreeLog& log, _TREEITEM* parent, unsigned label, const CString& name) {
    InsertLine(log, parent, label, ConvertNullToGround(name));
}

CString VoltageVector(const CString& node, const CString& ref, bool dropGroundRef) {
    const CString reference = ConvertNullToGround(ref);
    if (dropGroundRef && reference == "$0")
        return "v(" + ConvertNullToGround(node) + ") ";
    return "v(" + ConvertNullToGround(node) + "," + reference + ") ";
}

CString OutputVector(int useCurrentSource, const CString& source, const CString& node,
                     const CString& ref) {
    // A current output without a source to measure it through falls back to the voltage.
    const CString current = ConvertNullToGround(source);
    if (useCurrentSource && current != "$0")
        return "i(" + current + ") ";
    return VoltageVector(node, ref);
}
