// Ordered key tables: one list of keys per settings class drives both its writer and its reader.
#pragma once

#include "platform/property.h"

#include <span>
#include <type_traits>

namespace PropertyKeys {

/// One stored key of `T`, in the order the writer puts it.
template <class T> struct Key {
    const char* label;
    /// Appends the key's items to `list`: usually one, none when the state
    /// leaves the key out, several (all with this label) for repeated values.
    /// Null for a key that is only read.
    void (*write)(const T& obj, const char* label, CPropertyList& list);
    /// Applies one stored item with this label. An item it cannot use is
    /// skipped; it answers false only when the item makes the reading fail.
    bool (*read)(T& obj, const CPropertyItem& item);
};

template <auto Member> struct MemberOf;
template <class C, class V, V C::*Member> struct MemberOf<Member> {
    using Class = C;
    using Value = V;
};

/// The stored value type of a member type: double, string, or an integer for
/// integers and enumerations.
template <class V> constexpr CPropertyItem::Type StoredType() {
    if constexpr (std::is_same_v<V, double>)
        return CPropertyItem::Double;
    else if constexpr (std::is_same_v<V, CString>)
        return CPropertyItem::String;
    else {
        static_assert(std::is_integral_v<V> || std::is_enum_v<V>);
        return CPropertyItem::Int;
    }
}

/// A key holding one member as a value of its own type. A stored item of
/// another value type is skipped. With `Set` (a member function taking the
/// value) the value read goes through it, so that whatever the setter keeps
/// in step (a plot range, say) follows.
template <auto Member, auto Set = nullptr>
constexpr Key<typename MemberOf<Member>::Class> Field(const char* label) {
    using C = typename MemberOf<Member>::Class;
    using V = typename MemberOf<Member>::Value;
    return {label,
            [](const C& obj, const char* name, CPropertyList& list) {
                if constexpr (StoredType<V>() == CPropertyItem::Int)
                    list.AddItem(CPropertyItem(name, static_cast<long>(obj.*Member)));
                else
                    list.AddItem(CPropertyItem(name, obj.*Member));
            },
            [](C& obj, const CPropertyItem& item) {
                if (item.GetTypeOfValue() != StoredType<V>())
                    return true;
                V value;
                if constexpr (std::is_same_v<V, double>)
                    value = item.GetDouble();
                else if constexpr (std::is_same_v<V, CString>)
                    value = item.GetString();
                else
                    value = static_cast<V>(item.GetInt());
                if constexpr (Set == nullptr)
                    obj.*Member = value;
                else
                    (obj.*Set)(value);
                return true;
            }};
}

/// The items of every key, in table order.
template <class T> CPropertyList Write(const T& obj, std::span<const Key<T>> keys) {
    CPropertyList list;
    for (const Key<T>& key : keys)
        if (key.write)
            key.write(obj, key.label, list);
    return list;
}

enum class Unknown { Fails, Ignored };

/// Applies the items of `list` in their order, each through the key with its
/// label (exact, case-sensitive). Returns 0 when an item was refused, or when
/// a label is not in the table and `unknown` says so; reading always goes on.
template <class T>
int Read(T& obj, const CPropertyList& list, std::span<const Key<T>> keys,
         Unknown unknown = Unknown::Fails) {
    int result = 1;
    for (const CPropertyItem& item : list) {
        const Key<T>* found = nullptr;
        for (const Key<T>& key : keys)
            if (item.GetLabel() == key.label) {
                found = &key;
                break;
            }
        if (!found ? unknown == Unknown::Fails : found->read && !found->read(obj, item))
            result = 0;
    }
    return result;
}

} // namespace PropertyKeys
