// Report file names and the writer of the output folder.
#include "report/report.h"

#include "report/csv.h"
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
    const Section& s = report.sections[section];
    return Slug(s.nickname.empty() ? "section" + std::to_string(section + 1) : s.nickname) + "-";
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
    for (size_t s = 0; s < report.sections.size(); ++s) {
        const Section& section = report.sections[s];
        std::string prefix = SectionPrefix(report, s);
        for (size_t p = 0; p < section.pages.size(); ++p) {
            const Page& page = section.pages[p];
            std::string stem = PageStem(report, s, p);
            WriteFile(base / (stem + ".csv"), ToCsv(page), result);
            if (HasGraph(page))
                WriteFile(base / (stem + ".svg"), ToSvg(page), result);
        }
        WriteFile(base / (prefix + "analysis.txt"), section.settingsText, result);
        WriteFile(base / (prefix + "log.txt"), SectionLogToText(section), result);
    }
    WriteFile(base / "report.html", ToHtml(report), result);
    return result;
}

} // namespace report
