// Locale-free number texts for the renderers.
#include "report/numbers.h"

#include <cctype>
#include <charconv>
#include <cmath>

namespace report {

namespace {

std::string Special(double value) {
    if (std::isnan(value))
        return "nan";
    return value < 0 ? "-inf" : "inf";
}

} // namespace

void AppendFull(std::string& out, double value) {
    if (!std::isfinite(value)) {
        out += Special(value);
        return;
    }
    char buf[64];
    const auto res = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::general, 17);
    out.append(buf, res.ptr);
}

std::string FormatFull(double value) {
    std::string out;
    AppendFull(out, value);
    return out;
}

std::string FormatShort(double value) {
    if (!std::isfinite(value))
        return Special(value);
    char buf[64];
    auto res = std::to_chars(buf, buf + sizeof buf, value);
    return std::string(buf, res.ptr);
}

std::string FormatEngineering(double value, int digits) {
    if (!std::isfinite(value))
        return Special(value);
    if (value == 0.0)
        return "0";
    if (digits < 1)
        digits = 1;
    // Round to the wanted significant digits first, so that 999.99 with three
    // digits becomes "1k" rather than "1000".
    char buf[64];
    auto res =
        std::to_chars(buf, buf + sizeof buf, value, std::chars_format::scientific, digits - 1);
    double rounded = 0.0;
    std::from_chars(buf, res.ptr, rounded);

    static const char* const kPrefixes[] = {"a", "f", "p", "n", "u", "m", "",
                                            "k", "M", "G", "T", "P", "E"};
    int exp3 = static_cast<int>(std::floor(std::log10(std::fabs(rounded)) / 3.0));
    if (exp3 < -6 || exp3 > 6) {
        res = std::to_chars(buf, buf + sizeof buf, rounded, std::chars_format::general, digits);
        return std::string(buf, res.ptr);
    }
    double mantissa = rounded / std::pow(10.0, 3 * exp3);
    // Clean representation of the mantissa with the same significant digits.
    res = std::to_chars(buf, buf + sizeof buf, mantissa, std::chars_format::general, digits);
    std::string text(buf, res.ptr);
    double back = 0.0;
    std::from_chars(buf, res.ptr, back);
    if (text.find('e') != std::string::npos) {
        // Rounding pushed the mantissa to 1000: move to the next prefix.
        if (exp3 < 6) {
            ++exp3;
            res = std::to_chars(buf, buf + sizeof buf, back / 1000.0, std::chars_format::general,
                                digits);
            text.assign(buf, res.ptr);
        }
    }
    return text + kPrefixes[exp3 + 6];
}

std::string FormatQuantity(double value, const std::string& unit, int digits) {
    std::string text = FormatEngineering(value, digits);
    if (unit.empty())
        return text;
    // The prefix letter belongs to the unit: "12.3m" becomes "12.3 mV".
    if (std::isfinite(value) && !text.empty() &&
        std::isalpha(static_cast<unsigned char>(text.back())))
        return text.substr(0, text.size() - 1) + " " + text.back() + unit;
    return text + " " + unit;
}

} // namespace report
