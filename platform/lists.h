// Lists with their own recursive lock: every walk holds the lock for its whole
// length, and removals during a walk are deferred until the walk ends.
#pragma once

#include "canal/export.h"
#include "platform/cstring.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

/// An owning list of T with a recursive lock. Copying copies the elements.
template <typename T> class CANAL_EXPORT CopiableSList {
public:
    CopiableSList() = default;
    CopiableSList(const CopiableSList& o) { *this = o; }
    CopiableSList& operator=(const CopiableSList& o) {
        if (this != &o) {
            std::scoped_lock lk(mutex_, o.mutex_);
            items_.clear();
            for (const auto& p : o.items_)
                items_.push_back(std::make_unique<T>(*p));
        }
        return *this;
    }

    void lock() const { mutex_.lock(); }
    void unlock() const { mutex_.unlock(); }

    /// Removal lock: while held (nesting allowed), Remove() only marks an
    /// element; it is freed when the last unlock_remove() runs.
    void lock_remove() {
        std::lock_guard lk(mutex_);
        ++removeLock_;
    }
    void unlock_remove() {
        std::lock_guard lk(mutex_);
        if (removeLock_ > 0 && --removeLock_ == 0)
            graveyard_.clear();
    }

    T& Add(const T& v) { return Adopt(std::make_unique<T>(v)); }
    T& Add(T&& v) { return Adopt(std::make_unique<T>(std::move(v))); }
    T& Adopt(std::unique_ptr<T> p) {
        std::lock_guard lk(mutex_);
        items_.push_back(std::move(p));
        return *items_.back();
    }
    /// Removes the element at `index`; with the removal lock held it lives on
    /// until the lock is released.
    void Remove(size_t index) {
        std::lock_guard lk(mutex_);
        if (index >= items_.size())
            return;
        auto p = std::move(items_[index]);
        items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(index));
        if (removeLock_ > 0)
            graveyard_.push_back(std::move(p));
    }
    void RemoveAll() {
        std::lock_guard lk(mutex_);
        if (removeLock_ > 0)
            for (auto& p : items_)
                graveyard_.push_back(std::move(p));
        items_.clear();
    }

    size_t GetCount() const {
        std::lock_guard lk(mutex_);
        return items_.size();
    }
    bool IsEmpty() const { return GetCount() == 0; }
    T& operator[](size_t i) { return *items_[i]; }
    const T& operator[](size_t i) const { return *items_[i]; }

    /// Calls f(element) for every element under the lock.
    template <typename F> void ForEach(F&& f) {
        std::lock_guard lk(mutex_);
        for (auto& p : items_)
            f(*p);
    }
    template <typename F> void ForEach(F&& f) const {
        std::lock_guard lk(mutex_);
        for (const auto& p : items_)
            f(static_cast<const T&>(*p));
    }

private:
    mutable std::recursive_mutex mutex_;
    std::vector<std::unique_ptr<T>> items_;
    std::vector<std::unique_ptr<T>> graveyard_;
    int removeLock_ = 0;
};

/// The untyped list of the host library, kept for code written against it.
using VoidList = CopiableSList<void*>;

/// A string with a selection flag.
struct CANAL_EXPORT SelectableString {
    CString text;
    int selected = 1;
};

/// A locked list of strings, each with a selection flag.
class CANAL_EXPORT SelectableStringList : public CopiableSList<SelectableString> {
public:
    void AddString(const CString& s, int selected = 1) { Add(SelectableString{s, selected}); }
};
