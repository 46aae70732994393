// CSV form of a result page.
#include "report/csv.h"

#include "report/numbers.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace report {

std::string CsvField(std::string_view text) {
    bool quote = text.find_first_of(",\"\r\n") != std::string_view::npos ||
                 (!text.empty() && (text.front() == ' ' || text.back() == ' '));
    if (!quote)
        return std::string(text);
    std::string out = "\"";
    for (char c : text) {
        if (c == '"')
            out += '"';
        out += c;
    }
    out += '"';
    return out;
}

namespace {

double Magnitude(double re, double im) {
    return std::hypot(re, im);
}

double PhaseDegrees(double re, double im) {
    return std::atan2(im, re) * (180.0 / std::numbers::pi);
}

std::string Cell(const std::vector<double>& values, size_t i) {
    return i < values.size() ? FormatFull(values[i]) : std::string();
}

std::string ToCsvWithoutX(const Page& page) {
    bool anyComplex = std::any_of(page.traces.begin(), page.traces.end(),
                                  [](const Trace& t) { return t.IsComplex(); });
    std::string out = anyComplex ? "name,value,imaginary\n" : "name,value\n";
    for (const Trace& t : page.traces) {
        size_t n = std::max(t.re.size(), t.im.size());
        for (size_t i = 0; i < n; ++i) {
            // A vector with several values (poles, zeros) gets one row per value.
            std::string name = n > 1 ? t.name + "[" + std::to_string(i) + "]" : t.name;
            out += CsvField(name);
            out += ',';
            out += Cell(t.re, i);
            if (anyComplex) {
                out += ',';
                out += Cell(t.im, i);
            }
            out += '\n';
        }
    }
    return out;
}

} // namespace

std::string ToCsv(const Page& page) {
    if (page.x.empty())
        return ToCsvWithoutX(page);

    std::string out = CsvField(page.xName.empty() ? std::string("x") : page.xName);
    size_t rows = page.x.size();
    for (const Trace& t : page.traces) {
        out += ',';
        if (t.IsComplex()) {
            out += CsvField("|" + t.name + "|");
            out += ',';
            out += CsvField("phase(" + t.name + ")");
        } else {
            out += CsvField(t.name);
        }
        rows = std::max(rows, t.re.size());
    }
    out += '\n';

    for (size_t i = 0; i < rows; ++i) {
        out += Cell(page.x, i);
        for (const Trace& t : page.traces) {
            out += ',';
            if (!t.IsComplex()) {
                out += Cell(t.re, i);
                continue;
            }
            if (i < t.re.size() && i < t.im.size()) {
                out += FormatFull(Magnitude(t.re[i], t.im[i]));
                out += ',';
                out += FormatFull(PhaseDegrees(t.re[i], t.im[i]));
            } else {
                out += ',';
            }
        }
        out += '\n';
    }
    return out;
}

} // namespace report
