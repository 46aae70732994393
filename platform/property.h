// Property records: labelled typed values and ordered lists of them, with the
// text form under which analyses are stored with a circuit.
#pragma once

#include "canal/export.h"
#include "platform/cstring.h"

#include <cstddef>
#include <memory>
#include <vector>

class CPropertyList;

/// One labelled value. Text form: label ':' type '{' value '}', e.g.
/// "FSTART:double{1}" or "NODES:list{IncrPlot:int{1} Mode:int{0}}".
/// The text form has no escape for labels: a label must not hold ':', braces
/// or white space. String values write a backslash before each backslash and brace.
/// Items are immutable values; copies are cheap (they share the value).
class CANAL_EXPORT CPropertyItem {
public:
    /// Value type codes, as GetTypeOfValue() reports them.
    enum Type {
        Empty = 0,
        Flag = 1,
        Int = 2,
        Bool = 3,
        Double = 5,
        String = 6,
        List = 7,
        Array = 8
    };
    enum PI_FLAG_T { PI_FLAG };
    enum PI_BOOL { PI_FALSE = 0, PI_TRUE = 1 };

    CPropertyItem();
    CPropertyItem(const CString& label, long value);
    CPropertyItem(const CString& label, int value)
        : CPropertyItem(label, static_cast<long>(value)) {}
    CPropertyItem(const CString& label, double value);
    CPropertyItem(const CString& label, const CString& value);
    CPropertyItem(const CString& label, const char* value) : CPropertyItem(label, CString(value)) {}
    /// An item from its type name ("int", "double", ...) and value text; an
    /// unknown type name or unparsable value yields an empty item.
    CPropertyItem(const CString& label, const CString& typeText, const CString& valueText);
    CPropertyItem(const CString& label, const CPropertyList& list);
    CPropertyItem(const CString& label, const double* values, int count);
    CPropertyItem(const CString& label, PI_FLAG_T);
    CPropertyItem(const CString& label, bool value);
    CPropertyItem(const CPropertyItem&);
    CPropertyItem(CPropertyItem&&) noexcept;
    CPropertyItem& operator=(const CPropertyItem&);
    CPropertyItem& operator=(CPropertyItem&&) noexcept;
    ~CPropertyItem();

    const CString& GetLabel() const;
    /// Type name: "flag", "int", "bool", "double", "string", "list", "array"; "" when empty.
    CString GetType() const;
    /// Value text as written between the braces, unescaped (doubles in shortest
    /// round-trip form, lists as GetList()).
    CString GetValue() const;
    Type GetTypeOfValue() const;

    /// Typed getters convert from other value types where that makes sense
    /// (a string "5" gives GetInt() == 5, a double rounds to the nearest long,
    /// a flag counts as 1 / true); otherwise they return 0 / "" / false.
    long GetInt() const;
    double GetDouble() const;
    CString GetString() const;
    PI_BOOL GetBool() const;
    /// The nested list of a list item; an empty list for other types.
    const CPropertyList& GetPropertyList() const;

    /// The whole item in text form.
    CString GetField() const;
    bool IsEmpty() const;

    int GetArrayCount() const;
    /// Copies the array into `out`, which must hold GetArrayCount() values.
    void WriteToArray(double* out) const;

    friend bool operator==(const CPropertyItem& a, const CPropertyItem& b) {
        return a.GetField() == b.GetField();
    }

private:
    struct Impl;
    // Items never change after construction, so copies share one immutable
    // value: copying a list item (ExtractField, GetNth, list walks) costs a
    // reference count, not a deep copy of everything nested in it.
    std::shared_ptr<const Impl> impl_;

    /// Writes the text form onto `out`, so that whole trees print into one buffer.
    void AppendField(std::string& out) const;
    friend class CPropertyList;
};

/// Where and why parsing of a property text stopped.
struct CANAL_EXPORT PropertyParseResult {
    bool ok = true;
    size_t position = 0; ///< byte offset of the first character that could not be read
    CString message;     ///< empty when ok
};

/// An ordered list of items.
class CANAL_EXPORT CPropertyList {
public:
    CPropertyList();
    /// Parses the text form; on a malformed text the items before the fault are kept.
    explicit CPropertyList(const CString& text);
    CPropertyList(const CPropertyList&);
    CPropertyList(CPropertyList&&) noexcept;
    CPropertyList& operator=(const CPropertyList&);
    CPropertyList& operator=(CPropertyList&&) noexcept;
    ~CPropertyList();

    /// Parses `text` (items separated by any white space) and appends the items
    /// read before the first fault. Never throws, never crashes.
    PropertyParseResult Parse(std::string_view text);

    /// Appends a copy; an empty item (it has no text form) is not added.
    void AddItem(const CPropertyItem& item);
    void AppendItems(const CPropertyList& other);
    int GetCount() const;
    /// Copies item n into `out`; returns 0 when n is out of range.
    int GetNth(int n, CPropertyItem& out) const;
    /// `first` = the first item (an empty item when none is left), `rest` = the others.
    void ExtractField(CPropertyItem& first, CPropertyList& rest) const;
    bool IsEmpty() const;
    void RemoveAll();
    /// Items joined by single blanks, without an outer label.
    CString GetList() const;

    using const_iterator = std::vector<CPropertyItem>::const_iterator;
    const_iterator begin() const;
    const_iterator end() const;

private:
    std::vector<CPropertyItem> items_;
};
