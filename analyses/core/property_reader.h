// Table-driven reading of typed keys: a label applies to one member only when the value type fits.
#pragma once

#include "platform/property.h"

#include <cstddef>

namespace PropertyReader {

template <class T, class M> struct IntKey {
    const char* label;
    M T::*member;
};

template <class T> struct StringKey {
    const char* label;
    CString T::*member;
};

template <class T> struct DoubleKey {
    const char* label;
    double T::*member;
};

template <class T, class M>
bool ApplyKey(T& obj, const CPropertyItem& item, const IntKey<T, M>& key) {
    if (item.GetLabel() != key.label)
        return false;
    if (item.GetTypeOfValue() == CPropertyItem::Int)
        obj.*key.member = static_cast<M>(item.GetInt());
    return true;
}

template <class T> bool ApplyKey(T& obj, const CPropertyItem& item, const StringKey<T>& key) {
    if (item.GetLabel() != key.label)
        return false;
    if (item.GetTypeOfValue() == CPropertyItem::String)
        obj.*key.member = item.GetString();
    return true;
}

template <class T> bool ApplyKey(T& obj, const CPropertyItem& item, const DoubleKey<T>& key) {
    if (item.GetLabel() != key.label)
        return false;
    if (item.GetTypeOfValue() == CPropertyItem::Double)
        obj.*key.member = item.GetDouble();
    return true;
}

// Every table is consulted (no short cut), as the hand-written readers did.
template <class T, class... Tables>
bool ApplyKnownKey(T& obj, const CPropertyItem& item, const Tables&... tables) {
    bool known = false;
    auto scan = [&](const auto& table) {
        for (const auto& key : table)
            known = ApplyKey(obj, item, key) || known;
    };
    (scan(tables), ...);
    return known;
}

} // namespace PropertyReader
