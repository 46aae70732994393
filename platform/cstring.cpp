// CString operations and printf-style formatting pinned to the C locale.
#include "platform/cstring.h"

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <locale.h>

namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

char FoldAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

// Our own processes never leave the "C" locale, but the library may be loaded
// into a host that has called setlocale(LC_ALL, ""): "%lg" would then print a
// decimal comma into command texts. Switching the calling thread to a private
// C locale for the duration of the call keeps every text locale-independent
// without touching the host's global setting.
class CLocaleScope {
public:
    CLocaleScope() {
        static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
        if (cLocale != static_cast<locale_t>(0))
            previous_ = uselocale(cLocale);
    }
    ~CLocaleScope() {
        if (previous_ != static_cast<locale_t>(0))
            uselocale(previous_);
    }
    CLocaleScope(const CLocaleScope&) = delete;
    CLocaleScope& operator=(const CLocaleScope&) = delete;

private:
    locale_t previous_ = static_cast<locale_t>(0);
};

size_t Clamp(int v, size_t hi) {
    if (v < 0)
        return 0;
    return std::min(static_cast<size_t>(v), hi);
}

} // namespace

int CString::Compare(const char* o) const {
    return std::strcmp(s_.c_str(), o ? o : "");
}

int CString::CompareNoCase(const char* o) const {
    const unsigned char* a = reinterpret_cast<const unsigned char*>(s_.c_str());
    const unsigned char* b = reinterpret_cast<const unsigned char*>(o ? o : "");
    for (;; ++a, ++b) {
        const int ca = static_cast<unsigned char>(FoldAscii(static_cast<char>(*a)));
        const int cb = static_cast<unsigned char>(FoldAscii(static_cast<char>(*b)));
        if (ca != cb || ca == 0)
            return ca - cb;
    }
}

int CString::Find(char c, int start) const {
    if (start < 0)
        start = 0;
    if (static_cast<size_t>(start) >= s_.size())
        return -1;
    const size_t at = s_.find(c, static_cast<size_t>(start));
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

int CString::Find(const char* sub, int start) const {
    if (!sub)
        return -1;
    if (start < 0)
        start = 0;
    if (static_cast<size_t>(start) > s_.size())
        return -1;
    const size_t at = s_.find(sub, static_cast<size_t>(start));
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

int CString::ReverseFind(char c) const {
    const size_t at = s_.rfind(c);
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

int CString::FindOneOf(const char* chars) const {
    if (!chars || !*chars)
        return -1;
    const size_t at = s_.find_first_of(chars);
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

CString CString::Left(int n) const {
    return CString(s_.substr(0, Clamp(n, s_.size())));
}

CString CString::Right(int n) const {
    const size_t count = Clamp(n, s_.size());
    return CString(s_.substr(s_.size() - count));
}

CString CString::Mid(int first) const {
    return CString(s_.substr(Clamp(first, s_.size())));
}

CString CString::Mid(int first, int count) const {
    const size_t from = Clamp(first, s_.size());
    return CString(s_.substr(from, Clamp(count, s_.size() - from)));
}

CString& CString::Trim() {
    return TrimRight().TrimLeft();
}

CString& CString::TrimLeft() {
    size_t i = 0;
    while (i < s_.size() && IsBlank(s_[i]))
        ++i;
    s_.erase(0, i);
    return *this;
}

CString& CString::TrimRight() {
    size_t n = s_.size();
    while (n > 0 && IsBlank(s_[n - 1]))
        --n;
    s_.resize(n);
    return *this;
}

CString& CString::Trim(const char* chars) {
    if (!chars || !*chars)
        return *this;
    const size_t last = s_.find_last_not_of(chars);
    if (last == std::string::npos) {
        s_.clear();
        return *this;
    }
    s_.resize(last + 1);
    s_.erase(0, s_.find_first_not_of(chars));
    return *this;
}

CString& CString::MakeUpper() {
    for (char& c : s_)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return *this;
}

CString& CString::MakeLower() {
    for (char& c : s_)
        c = FoldAscii(c);
    return *this;
}

int CString::Replace(const char* from, const char* to) {
    if (!from || !*from)
        return 0;
    const std::string_view f(from);
    const std::string_view t(to ? to : "");
    int count = 0;
    std::string out;
    size_t pos = 0;
    for (size_t at; (at = s_.find(f, pos)) != std::string::npos; pos = at + f.size()) {
        out.append(s_, pos, at - pos);
        out.append(t);
        ++count;
    }
    if (count == 0)
        return 0;
    out.append(s_, pos, std::string::npos);
    s_ = std::move(out);
    return count;
}

void CString::Format(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    FormatV(fmt, args);
    va_end(args);
}

void CString::FormatV(const char* fmt, va_list args) {
    if (!fmt) {
        s_.clear();
        return;
    }
    CLocaleScope cLocale;
    // Most texts are short: one pass into a stack buffer, a second only when
    // the result does not fit.
    char small[256];
    va_list again;
    va_copy(again, args);
    const int n = std::vsnprintf(small, sizeof small, fmt, args);
    if (n < 0) {
        s_.clear();
    } else if (static_cast<size_t>(n) < sizeof small) {
        s_.assign(small, static_cast<size_t>(n));
    } else {
        std::string out(static_cast<size_t>(n) + 1, '\0');
        std::vsnprintf(out.data(), out.size(), fmt, again);
        out.resize(static_cast<size_t>(n));
        s_ = std::move(out);
    }
    va_end(again);
}

CString CString::Formatted(const char* fmt, ...) {
    CString out;
    va_list args;
    va_start(args, fmt);
    out.FormatV(fmt, args);
    va_end(args);
    return out;
}
