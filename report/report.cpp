// Report file names and the writer of the output folder.
#include "report/report.h"

#include "report/csv.h"
#include "report/histogram.h"
#include "report/html.h"
#include "report/svg.h"
#include "report/text.h"

#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace report {

namespace {

bool WriteFile(const std::filesystem::path& path, const std::string& text, WriteResult& result) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (file)
        file.write(text.data(), static_cast<std::streamsize>(text.size()));
    if (file)
        file.close();
    if (!file) {
        std::error_code ec(errno, std::generic_category());
        result.errors.push_back(path.string() + ": " + ec.message());
        return false;
    }
    result.files.push_back(path.string());
    return true;
}

} // namespace

std::string Slug(const std::string& text) {
    std::string out;
    for (char c : text) {
        unsigned char u = static_cast<unsigned char>(c);
        if (std::isalnum(u) && u < 0x80) {
            out += static_cast<char>(std::tolower(u));
        } else if (!out.empty() && out.back() != '-') {
            out += '-';
        }
        if (out.size() >= 40)
            break;
    }
    while (!out.empty() && out.back() == '-')
        out.pop_back();
    return out.empty() ? "page" : out;
}

std::string SectionPrefix(const Report& report, size_t section) {
    if (report.sections.size() < 2 || section >= report.sections.size())
        return "";
    const auto stem = [&](size_t n) {
        const Section& s = report.sections[n];
        return Slug(s.nickname.empty() ? "section" + std::to_string(n + 1) : s.nickname);
    };
    // A run list may hold one kind twice: the second "tran" section writes "tran-2-...".
    const std::string own = stem(section);
    size_t before = 0;
    for (size_t n = 0; n < section; ++n)
        before += stem(n) == own ? 1 : 0;
    return before == 0 ? own + "-" : own + "-" + std::to_string(before + 1) + "-";
}

std::string PageStem(const Report& report, size_t section, size_t page) {
    std::string title;
    if (section < report.sections.size() && page < report.sections[section].pages.size()) {
        const Page& p = report.sections[section].pages[page];
        title = !p.title.empty() ? p.title : !p.plotType.empty() ? p.plotType : p.plotName;
    }
    char number[16];
    std::snprintf(number, sizeof number, "%02u", static_cast<unsigned>(page + 1));
    return SectionPrefix(report, section) + number + "-" + Slug(title);
}

std::string HistogramStem(const Report& report, size_t section, size_t page, size_t n) {
    std::string stem = PageStem(report, section, page) + "-histogram";
    if (n > 0)
        stem += "-" + std::to_string(n + 1);
    return stem;
}

namespace {

// Every file of a section with the text it holds, in writing order; texts are made on demand.
template <class Visit> void VisitSectionFiles(const Report& report, size_t s, Visit&& visit) {
    const Section& section = report.sections[s];
    const std::string prefix = SectionPrefix(report, s);
    for (size_t p = 0; p < section.pages.size(); ++p) {
        const Page& page = section.pages[p];
        const std::string stem = PageStem(report, s, p);
        visit(stem + ".csv", [&] { return ToCsv(page); });
        if (HasGraph(page))
            visit(stem + ".svg", [&] { return ToSvg(page); });
        for (size_t h = 0; h < page.histograms.size(); ++h)
            visit(HistogramStem(report, s, p, h) + ".svg",
                  [&] { return HistogramToSvg(page.histograms[h]); });
    }
    for (const ResultFile& file : section.files)
        visit(prefix + file.name, [&] { return file.text; });
    visit(prefix + "analysis.txt", [&] { return section.settingsText; });
    visit(prefix + "log.txt", [&] { return SectionLogToText(section); });
}

} // namespace

std::vector<std::string> SectionFileNames(const Report& report, size_t section) {
    std::vector<std::string> names;
    if (section < report.sections.size())
        VisitSectionFiles(report, section,
                          [&](const std::string& name, auto&&) { names.push_back(name); });
    return names;
}

WriteResult WriteReport(const Report& report, const std::string& dir) {
    WriteResult result;
    namespace fs = std::filesystem;
    std::error_code ec;
    fs::create_directories(dir, ec);
    if (ec) {
        result.errors.push_back(dir + ": " + ec.message());
        return result;
    }
    const fs::path base(dir);
    for (size_t s = 0; s < report.sections.size(); ++s)
        VisitSectionFiles(report, s, [&](const std::string& name, auto&& text) {
            WriteFile(base / name, text(), result);
        });
    WriteFile(base / "report.html", ToHtml(report), result);
    return result;
}

} // namespace report
