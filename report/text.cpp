// Plain-text renderers.
#include "report/text.h"

#include "platform/resources.h"
#include "platform/treelog.h"

#include <algorithm>
#include <charconv>

namespace report {

namespace {

bool LooksNumeric(const std::string& cell) {
    if (cell.empty())
        return false;
    double value = 0.0;
    const char* last = cell.data() + cell.size();
    auto res = std::from_chars(cell.data(), last, value);
    return res.ec == std::errc() && res.ptr == last;
}

std::string Pad(const std::string& text, size_t width, bool right) {
    if (text.size() >= width)
        return text;
    std::string fill(width - text.size(), ' ');
    return right ? fill + text : text + fill;
}

void AppendHeading(std::string& out, const std::string& text, char rule) {
    out += text;
    out += '\n';
    out += std::string(std::max<size_t>(text.size(), 3), rule);
    out += '\n';
}

} // namespace

std::string AnalysisToText(const CTreeCtrl& ctrl) {
    return ctrl.ToText();
}

std::string ChartToText(const Chart& chart) {
    size_t ncols = chart.columns.size();
    for (const auto& row : chart.rows)
        ncols = std::max(ncols, row.size());
    std::vector<size_t> width(ncols, 0);
    std::vector<bool> numeric(ncols, true);
    for (size_t c = 0; c < chart.columns.size(); ++c)
        width[c] = chart.columns[c].size();
    for (const auto& row : chart.rows)
        for (size_t c = 0; c < row.size(); ++c) {
            width[c] = std::max(width[c], row[c].size());
            if (!row[c].empty() && !LooksNumeric(row[c]))
                numeric[c] = false;
        }

    std::string out;
    if (!chart.title.empty())
        out += chart.title + "\n";
    auto line = [&](const std::vector<std::string>& cells) {
        std::string text;
        for (size_t c = 0; c < ncols; ++c) {
            if (c > 0)
                text += "  ";
            text += Pad(c < cells.size() ? cells[c] : std::string(), width[c], numeric[c]);
        }
        while (!text.empty() && text.back() == ' ')
            text.pop_back();
        out += text + "\n";
    };
    if (!chart.columns.empty()) {
        line(chart.columns);
        size_t total = 0;
        for (size_t c = 0; c < ncols; ++c)
            total += width[c] + (c > 0 ? 2 : 0);
        out += std::string(total, '-') + "\n";
    }
    for (const auto& row : chart.rows)
        line(row);
    return out;
}

std::string PageLogToText(const Page& page) {
    std::string out;
    std::string heading = page.title.empty() ? page.plotType : page.title;
    if (!page.plotName.empty())
        heading += " (" + page.plotName + ")";
    AppendHeading(out, heading, '=');
    if (page.failed || !page.error.empty()) {
        out += GetResourceText(IDS_REPORT_FAILED);
        out += page.error;
        out += '\n';
    }
    for (const std::string& line : page.log)
        out += line + "\n";
    for (const Chart& chart : page.charts) {
        out += '\n';
        out += ChartToText(chart);
    }
    return out;
}

std::string SectionLogToText(const Section& section) {
    std::string out;
    if (!section.ok) {
        out += GetResourceText(IDS_REPORT_FAILED);
        out += section.error + "\n\n";
    }
    for (const Page& page : section.pages) {
        out += PageLogToText(page);
        out += '\n';
    }
    if (!section.notes.empty()) {
        AppendHeading(out, GetResourceText(IDS_REPORT_NOTES), '=');
        for (const std::string& note : section.notes)
            out += note + "\n";
        out += '\n';
    }
    if (!section.log.empty()) {
        AppendHeading(out, GetResourceText(IDS_REPORT_SIMULATOR_LOG), '=');
        for (const std::string& line : section.log)
            out += line + "\n";
    }
    return out;
}

} // namespace report
