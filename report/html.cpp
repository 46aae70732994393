// The self-contained HTML report.
#include "report/html.h"

#include "platform/resources.h"
#include "report/histogram.h"
#include "report/numbers.h"
#include "report/svg.h"

#include <algorithm>

namespace report {

namespace {

const char* const kStyle =
    "body{font-family:Helvetica,Arial,sans-serif;margin:24px auto;max-width:1000px;"
    "color:#222;padding:0 16px}"
    "h1{font-size:22px}h2{font-size:19px;border-bottom:2px solid #ccc;padding-bottom:4px;"
    "margin-top:36px}h3{font-size:16px;margin-bottom:4px}"
    "pre{background:#f5f5f5;border:1px solid #ddd;padding:8px;overflow-x:auto;font-size:12px}"
    "table{border-collapse:collapse;margin:8px 0;font-size:13px}"
    "td,th{border:1px solid #ccc;padding:3px 8px;text-align:left}"
    "td.num{text-align:right;font-family:monospace}"
    ".failed{background:#fde8e8;border:1px solid #e0a0a0;padding:8px;color:#8a1010}"
    ".meta{color:#666;font-size:13px}svg{max-width:100%;height:auto}"
    "summary{cursor:pointer;color:#1f4f99}";

std::string StripXmlDeclaration(std::string svg) {
    if (svg.rfind("<?xml", 0) == 0) {
        size_t end = svg.find("?>");
        if (end != std::string::npos)
            svg.erase(0, svg.find_first_not_of("\r\n", end + 2));
    }
    return svg;
}

/// Inline SVGs share one document: clip-path ids must differ between plots.
std::string UniqueIds(std::string svg, const std::string& prefix) {
    for (const char* from : {"id=\"plot", "url(#plot"}) {
        std::string f = from;
        std::string to = f.substr(0, f.size() - 4) + prefix + "plot";
        for (size_t at = svg.find(f); at != std::string::npos; at = svg.find(f, at + to.size())) {
            svg.replace(at, f.size(), to);
        }
    }
    return svg;
}

void AppendPre(std::string& out, const std::vector<std::string>& lines) {
    out += "<pre>";
    for (const std::string& line : lines)
        out += HtmlEscape(line) + "\n";
    out += "</pre>\n";
}

void AppendDetails(std::string& out, unsigned label, const std::string& body) {
    out += "<details><summary>";
    out += HtmlEscape(GetResourceText(label));
    out += "</summary>\n<pre>" + HtmlEscape(body) + "</pre></details>\n";
}

void AppendChart(std::string& out, const Chart& chart) {
    // A table of hundreds of runs is there to look things up in, not to scroll past.
    const bool folded = chart.rows.size() > 40;
    if (folded) {
        CString summary;
        summary.Format(GetResourceText(IDS_REPORT_TABLE_ROWS), chart.title.c_str(),
                       static_cast<unsigned>(chart.rows.size()));
        out += "<details><summary>" + HtmlEscape(summary.str()) + "</summary>\n";
    }
    out += "<table>";
    if (!chart.title.empty())
        out += "<caption>" + HtmlEscape(chart.title) + "</caption>";
    if (!chart.columns.empty()) {
        out += "<tr>";
        for (const std::string& c : chart.columns)
            out += "<th>" + HtmlEscape(c) + "</th>";
        out += "</tr>";
    }
    for (const auto& row : chart.rows) {
        out += "<tr>";
        for (const std::string& c : row)
            out += "<td>" + HtmlEscape(c) + "</td>";
        out += "</tr>";
    }
    out += "</table>\n";
    if (folded)
        out += "</details>\n";
}

/// Pages without x values (operating point and the like) show their values.
void AppendValues(std::string& out, const Page& page) {
    out += "<table><tr><th>" + HtmlEscape(GetResourceText(IDS_REPORT_NAME)) + "</th><th>" +
           HtmlEscape(GetResourceText(IDS_REPORT_VALUE)) + "</th></tr>";
    for (const Trace& t : page.traces) {
        for (size_t i = 0; i < t.re.size(); ++i) {
            std::string name = t.re.size() > 1 ? t.name + "[" + std::to_string(i) + "]" : t.name;
            std::string value = FormatEngineering(t.re[i], 6);
            if (t.IsComplex() && i < t.im.size()) {
                double im = t.im[i];
                value += im < 0 ? " - j" : " + j";
                value += FormatEngineering(im < 0 ? -im : im, 6);
            }
            out += "<tr><td>" + HtmlEscape(name) + "</td><td class=\"num\">" + HtmlEscape(value) +
                   "</td></tr>";
        }
    }
    out += "</table>\n";
}

} // namespace

// HTML text and attribute values need exactly the five escapes of XML.
std::string HtmlEscape(std::string_view text) {
    return XmlEscape(text);
}

std::string ToHtml(const Report& report) {
    std::string title = report.title.empty() ? GetResourceText(IDS_REPORT_TITLE) : report.title;
    std::string out = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                      "<title>" +
                      HtmlEscape(title) + "</title>\n<style>" + kStyle +
                      "</style>\n</head>\n<body>\n<h1>" + HtmlEscape(title) + "</h1>\n";
    if (!report.circuit.empty())
        out += "<p class=\"meta\">" + HtmlEscape(GetResourceText(IDS_REPORT_CIRCUIT)) +
               HtmlEscape(report.circuit) + "</p>\n";

    for (size_t s = 0; s < report.sections.size(); ++s) {
        const Section& section = report.sections[s];
        out += "<section>\n<h2>" + HtmlEscape(section.title) + "</h2>\n";
        if (!section.ok)
            out += "<p class=\"failed\">" + HtmlEscape(GetResourceText(IDS_REPORT_FAILED)) +
                   HtmlEscape(section.error) + "</p>\n";
        if (!section.settingsText.empty())
            AppendDetails(out, IDS_REPORT_SETTINGS, section.settingsText);
        if (!section.script.empty())
            AppendDetails(out, IDS_REPORT_SCRIPT, section.script);
        if (!section.files.empty()) {
            const std::string prefix = SectionPrefix(report, s);
            out += "<p>" + HtmlEscape(GetResourceText(IDS_REPORT_RESULT_FILES));
            for (size_t f = 0; f < section.files.size(); ++f) {
                const std::string name = prefix + section.files[f].name;
                out += (f ? ", " : "") + std::string("<a href=\"") + HtmlEscape(name) + "\">" +
                       HtmlEscape(name) + "</a>";
            }
            out += "</p>\n";
        }
        if (section.pages.empty())
            out +=
                "<p class=\"meta\">" + HtmlEscape(GetResourceText(IDS_REPORT_NO_PAGES)) + "</p>\n";

        for (size_t p = 0; p < section.pages.size(); ++p) {
            const Page& page = section.pages[p];
            std::string stem = PageStem(report, s, p);
            std::string heading = page.title.empty() ? page.plotType : page.title;
            out += "<h3>" + HtmlEscape(heading) + "</h3>\n";
            size_t points = page.x.size();
            for (const Trace& t : page.traces)
                points = std::max(points, t.re.size());
            CString meta;
            meta.Format(GetResourceText(IDS_REPORT_PAGE_SUMMARY), static_cast<unsigned>(points),
                        static_cast<unsigned>(page.traces.size()));
            out += "<p class=\"meta\">";
            if (!page.plotType.empty())
                out += HtmlEscape(page.plotType) + " &middot; ";
            out += HtmlEscape(meta.str()) + " &middot; <a href=\"" + HtmlEscape(stem + ".csv") +
                   "\">" + HtmlEscape(GetResourceText(IDS_REPORT_DATA_CSV)) + "</a></p>\n";
            if (page.failed || !page.error.empty())
                out += "<p class=\"failed\">" + HtmlEscape(GetResourceText(IDS_REPORT_FAILED)) +
                       HtmlEscape(page.error) + "</p>\n";
            if (HasGraph(page))
                out += "<figure>" +
                       UniqueIds(StripXmlDeclaration(ToSvg(page)),
                                 "s" + std::to_string(s) + "p" + std::to_string(p)) +
                       "</figure>\n";
            else if (!HasX(page) && !page.traces.empty())
                AppendValues(out, page);
            for (size_t h = 0; h < page.histograms.size(); ++h)
                out += "<figure>" + StripXmlDeclaration(HistogramToSvg(page.histograms[h])) +
                       "</figure>\n";
            for (const Chart& chart : page.charts)
                AppendChart(out, chart);
            if (!page.log.empty()) {
                out += "<details><summary>" + HtmlEscape(GetResourceText(IDS_REPORT_PAGE_LOG)) +
                       "</summary>\n";
                AppendPre(out, page.log);
                out += "</details>\n";
            }
        }
        if (!section.notes.empty()) {
            out += "<h3>" + HtmlEscape(GetResourceText(IDS_REPORT_NOTES)) + "</h3>\n<ul>";
            for (const std::string& note : section.notes)
                out += "<li>" + HtmlEscape(note) + "</li>";
            out += "</ul>\n";
        }
        if (!section.log.empty()) {
            out += "<details><summary>" + HtmlEscape(GetResourceText(IDS_REPORT_SIMULATOR_LOG)) +
                   "</summary>\n";
            AppendPre(out, section.log);
            out += "</details>\n";
        }
        out += "</section>\n";
    }
    out += "</body>\n</html>\n";
    return out;
}

} // namespace report
