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

// Value i, or an empty cell past the end.
void AppendCell(std::string& out, const std::vector<double>& values, size_t i) {
    if (i < values.size())
        AppendFull(out, values[i]);
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
            AppendCell(out, t.re, i);
            if (anyComplex) {
                out += ',';
                AppendCell(out, t.im, i);
            }
            out += '\n';
        }
    }
    return out;
}

// Where each trace has a value on the page's x grid: index i of the grid is the trace's
// point at[i], or none. Traces with their own x values meet the grid where the values are equal.
struct Alignment {
    std::vector<double> grid;
    std::vector<std::vector<size_t>> at; ///< per trace; npos where the trace has no point
};

Alignment Align(const Page& page) {
    Alignment a;
    const bool ownX = std::any_of(page.traces.begin(), page.traces.end(),
                                  [](const Trace& t) { return !t.x.empty(); });
    a.grid = page.x;
    if (ownX) {
        for (const Trace& t : page.traces)
            a.grid.insert(a.grid.end(), t.x.begin(), t.x.end());
        std::sort(a.grid.begin(), a.grid.end());
        a.grid.erase(std::unique(a.grid.begin(), a.grid.end()), a.grid.end());
    }
    for (const Trace& t : page.traces) {
        std::vector<size_t> at(a.grid.size(), std::string::npos);
        const std::vector<double>& xs = XOf(page, t);
        if (!ownX) {
            for (size_t i = 0; i < at.size(); ++i)
                at[i] = i;
        } else {
            for (size_t k = 0; k < xs.size(); ++k) {
                const auto it = std::lower_bound(a.grid.begin(), a.grid.end(), xs[k]);
                if (it != a.grid.end() && *it == xs[k])
                    at[static_cast<size_t>(it - a.grid.begin())] = k;
            }
        }
        a.at.push_back(std::move(at));
    }
    return a;
}

// The header cells of a trace: its name, or magnitude and phase of a complex one.
void AppendTraceHeader(std::string& out, const Trace& t) {
    if (t.IsComplex()) {
        out += CsvField("|" + t.name + "|");
        out += ',';
        out += CsvField("phase(" + t.name + ")");
    } else {
        out += CsvField(t.name);
    }
}

// Point k of a trace: its value, or magnitude and phase; empty cells past its end.
void AppendTraceCells(std::string& out, const Trace& t, size_t k) {
    if (!t.IsComplex()) {
        AppendCell(out, t.re, k);
    } else if (k < t.re.size() && k < t.im.size()) {
        AppendFull(out, Magnitude(t.re[k], t.im[k]));
        out += ',';
        AppendFull(out, PhaseDegrees(t.re[k], t.im[k]));
    } else {
        out += ',';
    }
}

// Whether one shared x column would make a table of mostly empty cells: traces of many runs
// (a Monte Carlo analysis's) each with time points of their own share almost none.
bool SharedXIsWasteful(const Page& page) {
    std::vector<double> grid = page.x;
    size_t points = page.x.size();
    bool ownX = false;
    for (const Trace& t : page.traces) {
        ownX = ownX || !t.x.empty();
        grid.insert(grid.end(), t.x.begin(), t.x.end());
        points += t.re.size();
    }
    if (!ownX)
        return false;
    std::sort(grid.begin(), grid.end());
    const size_t rows = static_cast<size_t>(std::unique(grid.begin(), grid.end()) - grid.begin());
    const size_t cells = rows * page.traces.size();
    return cells > 8 * points && cells > 1000000;
}

// Each trace with an x column of its own: "time (Run #1)", "Run #1", "time (Run #2)", ...
std::string ToCsvPaired(const Page& page) {
    const std::string xName = page.xName.empty() ? std::string("x") : page.xName;
    std::string out;
    size_t rows = 0;
    for (size_t n = 0; n < page.traces.size(); ++n) {
        const Trace& t = page.traces[n];
        if (n > 0)
            out += ',';
        out += CsvField(xName + " (" + t.name + ")");
        out += ',';
        AppendTraceHeader(out, t);
        rows = std::max(rows, t.re.size());
    }
    out += '\n';
    for (size_t i = 0; i < rows; ++i) {
        for (size_t n = 0; n < page.traces.size(); ++n) {
            const Trace& t = page.traces[n];
            if (n > 0)
                out += ',';
            AppendCell(out, XOf(page, t), i);
            out += ',';
            AppendTraceCells(out, t, i);
        }
        out += '\n';
    }
    return out;
}

} // namespace

std::string ToCsv(const Page& page) {
    if (!HasX(page))
        return ToCsvWithoutX(page);
    if (SharedXIsWasteful(page))
        return ToCsvPaired(page);
    const Alignment aligned = Align(page);

    std::string out = CsvField(page.xName.empty() ? std::string("x") : page.xName);
    size_t rows = page.x.size();
    for (const Trace& t : page.traces) {
        out += ',';
        AppendTraceHeader(out, t);
        rows = std::max(rows, t.re.size());
    }
    out += '\n';
    if (aligned.grid.size() != page.x.size() || aligned.grid != page.x)
        rows = aligned.grid.size();

    for (size_t i = 0; i < rows; ++i) {
        AppendCell(out, aligned.grid, i);
        for (size_t n = 0; n < page.traces.size(); ++n) {
            const Trace& t = page.traces[n];
            const size_t k = i < aligned.grid.size() ? aligned.at[n][i] : i;
            out += ',';
            AppendTraceCells(out, t, k);
        }
        out += '\n';
    }
    return out;
}

std::string ChartToCsv(const Chart& chart) {
    std::string out;
    const auto line = [&](const std::vector<std::string>& cells) {
        for (size_t c = 0; c < cells.size(); ++c) {
            if (c > 0)
                out += ',';
            out += CsvField(cells[c]);
        }
        out += '\n';
    };
    if (!chart.columns.empty())
        line(chart.columns);
    for (const std::vector<std::string>& row : chart.rows)
        line(row);
    return out;
}

} // namespace report
