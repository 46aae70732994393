// Pieces of command and readable text that every analysis writes the same way.
#pragma once

#include "platform/cstring.h"
#include "platform/treelog.h"

#include <cstddef>

/// "%lg" of `value`: the form of every number in command and readable texts.
CString FormatNumber(double value);
/// "%u" of `count`: the form of every count.
CString FormatCount(unsigned count);

/// The command word and the environment-options marker that the host's
/// dialect expects after it: "ac" gives "ac  -env-options ".
CString CommandHead(const char* word);

/// Inserts the text of resource `label` followed by `value` as a plain line under `parent`.
void InsertLine(CTreeLog& log, _TREEITEM* parent, unsigned label, const CString& value);

/// The same for a node or source name, an empty name shown as ground ("$0").
void InsertNameLine(CTreeLog& log, _TREEITEM* parent, unsigned label, const CString& name);

/// The voltage output argument "v(node,ref) ", empty names written as ground.
/// With `dropGroundRef` a reference at ground is left out: "v(node) ".
CString VoltageVector(const CString& node, const CString& ref, bool dropGroundRef = false);
/// The output argument of a source-current or node-voltage output: "i(source) "
/// when the current is asked for and a source is named, else the voltage vector.
CString OutputVector(int useCurrentSource, const CString& source, const CString& node,
                     const CString& ref);

/// The row of `rows` (a word table of an enumeration: rows with `value` and
/// `word`) for `value`, or null.
template <class Row, size_t N> const Row* RowOfValue(const Row (&rows)[N], decltype(Row::value) v) {
    for (const Row& row : rows)
        if (row.value == v)
            return &row;
    return nullptr;
}

/// The row whose word is `word` (exact), or null.
template <class Row, size_t N> const Row* RowOfWord(const Row (&rows)[N], const CString& word) {
    for (const Row& row : rows)
        if (row.word && word == row.word)
            return &row;
    return nullptr;
}

/// The word of `value`, or "" when the table has none for it.
template <class Row, size_t N> const char* WordOf(const Row (&rows)[N], decltype(Row::value) v) {
    const Row* row = RowOfValue(rows, v);
    return row && row->word ? row->word : "";
}
