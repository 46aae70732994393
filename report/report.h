// A report: the analyses that ran, their settings text, pages and logs, and
// the files it becomes in an output folder.
#pragma once

#include "canal/export.h"
#include "report/page.h"

#include <string>
#include <vector>

namespace report {

/// One analysis run: what was asked, what ran and what came back.
struct CANAL_EXPORT Section {
    std::string nickname;     ///< "AC", "TRAN", ...; prefixes file names when several sections
    std::string title;        ///< readable name of the analysis
    std::string settingsText; ///< the analysis' readable text, one item per line
    std::string script;       ///< the Nutmeg script that ran
    std::vector<Page> pages;
    std::vector<std::string> log;   ///< everything the simulator printed
    std::vector<std::string> notes; ///< what the host did differently
    bool ok = true;
    std::string error; ///< the first failure, with the simulator's message
};

struct CANAL_EXPORT Report {
    std::string title;
    std::string circuit; ///< path of the circuit file, as given
    std::vector<Section> sections;
};

/// File name stem of a page: an optional section prefix ("ac-"), the 1-based
/// page number in two digits and a slug of the page title: "ac-01-ac-analysis".
CANAL_EXPORT std::string PageStem(const Report& report, size_t section, size_t page);
/// Prefix of a section's files: "" for a single section, else "nickname-".
CANAL_EXPORT std::string SectionPrefix(const Report& report, size_t section);
/// Lower-case letters and digits joined by single '-'; "page" when nothing is left.
CANAL_EXPORT std::string Slug(const std::string& text);

/// What WriteReport did. Files written before a failure stay.
struct CANAL_EXPORT WriteResult {
    std::vector<std::string> files;  ///< paths written, in order
    std::vector<std::string> errors; ///< "path: reason" of each file that failed
    bool ok() const { return errors.empty(); }
};

/// Writes into `dir` (created when missing): per page a CSV and, when it has a
/// graph, an SVG; per section "analysis.txt" and "log.txt" (prefixed when there
/// are several sections); then "report.html". Every file is attempted even
/// when an earlier one failed.
CANAL_EXPORT WriteResult WriteReport(const Report& report, const std::string& dir);

} // namespace report
