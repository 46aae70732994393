// CString: the small string type the analysis model is written against.
#pragma once

#include "canal/export.h"

#include <cstdarg>
#include <string>
#include <string_view>
#include <vector>

/// A byte string with the handful of operations the model needs. Value type;
/// never locale-dependent. Indexes are 0-based; "not found" is -1.
class CANAL_EXPORT CString {
public:
    CString() = default;
    CString(const char* s) : s_(s ? s : "") {}
    CString(const char* s, int len) : s_(s ? std::string(s, len < 0 ? 0 : len) : std::string()) {}
    CString(std::string s) : s_(std::move(s)) {}
    CString(std::string_view s) : s_(s) {}
    CString(char c, int repeat = 1) : s_(repeat > 0 ? repeat : 0, c) {}

    int GetLength() const { return static_cast<int>(s_.size()); }
    bool IsEmpty() const { return s_.empty(); }
    void Empty() { s_.clear(); }
    char GetAt(int i) const { return s_[static_cast<size_t>(i)]; }
    char operator[](int i) const { return GetAt(i); }

    const char* c_str() const { return s_.c_str(); }
    operator const char*() const { return s_.c_str(); }
    const std::string& str() const { return s_; }
    std::string_view view() const { return s_; }

    CString& operator+=(const CString& o) {
        s_ += o.s_;
        return *this;
    }
    CString& operator+=(const char* o) {
        if (o)
            s_ += o;
        return *this;
    }
    CString& operator+=(char c) {
        s_ += c;
        return *this;
    }
    friend CString operator+(const CString& a, const CString& b) { return CString(a.s_ + b.s_); }
    friend CString operator+(const CString& a, const char* b) {
        return CString(a.s_ + (b ? b : ""));
    }
    friend CString operator+(const char* a, const CString& b) {
        return CString((a ? a : "") + b.s_);
    }
    friend CString operator+(const CString& a, char c) { return CString(a.s_ + c); }

    friend bool operator==(const CString& a, const CString& b) { return a.s_ == b.s_; }
    friend bool operator==(const CString& a, const char* b) { return a.s_ == (b ? b : ""); }
    friend bool operator<(const CString& a, const CString& b) { return a.s_ < b.s_; }

    /// strcmp-style comparison; CompareNoCase folds ASCII letters only.
    int Compare(const char* o) const;
    int CompareNoCase(const char* o) const;

    int Find(char c, int start = 0) const;
    int Find(const char* sub, int start = 0) const;
    int ReverseFind(char c) const;
    int FindOneOf(const char* chars) const;

    CString Left(int n) const;
    CString Right(int n) const;
    CString Mid(int first) const;
    CString Mid(int first, int count) const;

    /// Trim white space (blank, tab, CR, LF, VT, FF) in place; returns *this.
    CString& Trim();
    CString& TrimLeft();
    CString& TrimRight();
    CString& Trim(const char* chars);

    CString& MakeUpper();
    CString& MakeLower();
    int Replace(const char* from, const char* to);

    /// printf-style formatting in the C locale: "%lg" and "%u" print exactly as C does.
    void Format(const char* fmt, ...) __attribute__((format(printf, 2, 3)));
    void FormatV(const char* fmt, va_list args);
    static CString Formatted(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

private:
    std::string s_;
};

using CStringArray = std::vector<CString>;
