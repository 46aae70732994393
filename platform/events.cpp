// Event variants and the base event sink.
#include "platform/events.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>
#include <system_error>

namespace {

// Numbers in strings are read in the C convention whatever the locale is;
// leading and trailing white space is allowed, anything else makes it 0.
bool ParseDouble(std::string_view s, double& out) {
    const auto isSpace = [](char c) {
        return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
    };
    while (!s.empty() && isSpace(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && isSpace(s.back()))
        s.remove_suffix(1);
    if (!s.empty() && s.front() == '+')
        s.remove_prefix(1);
    if (s.empty())
        return false;
    double v = 0.0;
    const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
    if (ec != std::errc() || end != s.data() + s.size())
        return false;
    out = v;
    return true;
}

long DoubleToLong(double d) {
    if (std::isnan(d))
        return 0;
    // Truncate toward zero like a C cast, but saturate instead of overflowing.
    if (d >= static_cast<double>(std::numeric_limits<long>::max()))
        return std::numeric_limits<long>::max();
    if (d <= static_cast<double>(std::numeric_limits<long>::min()))
        return std::numeric_limits<long>::min();
    return static_cast<long>(d);
}

CString ShortestDouble(double d) {
    char buf[64];
    const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, d);
    if (ec != std::errc())
        return CString();
    return CString(buf, static_cast<int>(end - buf));
}

} // namespace

long IITVariant::GetLong() const {
    if (auto p = std::get_if<long>(&v_))
        return *p;
    if (auto p = std::get_if<double>(&v_))
        return DoubleToLong(*p);
    if (auto p = std::get_if<CString>(&v_)) {
        std::string_view s = p->view();
        long v = 0;
        // Plain integers first, so that large values keep every digit.
        size_t b = 0;
        while (b < s.size() && (s[b] == ' ' || s[b] == '\t'))
            ++b;
        std::string_view t = s.substr(b);
        if (!t.empty() && t.front() == '+')
            t.remove_prefix(1);
        const auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), v);
        if (ec == std::errc() &&
            std::string_view(end, t.data() + t.size()).find_first_not_of(" \t\r\n\v\f") ==
                std::string_view::npos)
            return v;
        double d = 0.0;
        return ParseDouble(s, d) ? DoubleToLong(d) : 0;
    }
    if (auto p = std::get_if<CPropertyItem>(&v_))
        return p->GetInt();
    return 0;
}

double IITVariant::GetDouble() const {
    if (auto p = std::get_if<long>(&v_))
        return static_cast<double>(*p);
    if (auto p = std::get_if<double>(&v_))
        return *p;
    if (auto p = std::get_if<CString>(&v_)) {
        double d = 0.0;
        return ParseDouble(p->view(), d) ? d : 0.0;
    }
    if (auto p = std::get_if<CPropertyItem>(&v_))
        return p->GetDouble();
    return 0.0;
}

CString IITVariant::GetString() const {
    if (auto p = std::get_if<long>(&v_))
        return CString(std::to_string(*p));
    if (auto p = std::get_if<double>(&v_))
        return ShortestDouble(*p);
    if (auto p = std::get_if<CString>(&v_))
        return *p;
    if (auto p = std::get_if<CPropertyItem>(&v_))
        return p->GetValue();
    return CString();
}

int CEventSink::HandleEventIndirect(CEventSource* /*source*/, const EventData* /*data*/) {
    return 0;
}
