// Pieces of command and readable text that every analysis writes the same way.
#pragma once

#include "platform/cstring.h"
#include "platform/property.h"
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

/// One row of an enumeration's word table: the value, its word in commands or
/// records, and the resource id of its readable text (0 when it has none).
template <class E> struct EnumWord {
    E value;
    const char* word;
    unsigned text;
};

/// The row of `rows` (a word table of an enumeration: rows with `value` and
/// `word`) for `value`, or null.
template <class Row, size_t N> const Row* RowOfValue(const Row (&rows)[N], decltype(Row::value) v) {
    for (const Row& row : rows)
        if (row.value == v)
            return &row;
    return nullptr;
}

/// The row for `value`, or the first row for a value the table lacks (stored
/// values outside an enumeration act as its first value).
template <class Row, size_t N> const Row& RowOrFirst(const Row (&rows)[N], decltype(Row::value) v) {
    const Row* row = RowOfValue(rows, v);
    return row ? *row : rows[0];
}

/// The row whose word is `word` (exact), or null.
template <class Row, size_t N> const Row* RowOfWord(const Row (&rows)[N], const CString& word) {
    for (const Row& row : rows)
        if (row.word && word == row.word)
            return &row;
    return nullptr;
}

/// The row whose word a stored string item holds; null for another value type
/// or an unknown word.
template <class Row, size_t N>
const Row* RowOfStoredWord(const Row (&rows)[N], const CPropertyItem& item) {
    return item.GetTypeOfValue() == CPropertyItem::String ? RowOfWord(rows, item.GetString())
                                                          : nullptr;
}

/// The word of `value`, or "" when the table has none for it.
template <class Row, size_t N> const char* WordOf(const Row (&rows)[N], decltype(Row::value) v) {
    const Row* row = RowOfValue(rows, v);
    return row && row->word ? row->word : "";
}
