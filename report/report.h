// A report: the analyses that ran, their settings text, pages and logs, and
// the files it becomes in an output folder.
#pragma once

#include "canal/export.h"
#include "report/page.h"

#include <string>
#include <vector>

namespace report {

/// A result file of a compound analysis, written as it is ("results.txt", "runs.csv").
struct CANAL_EXPORT ResultFile {
    std::string name; ///< without the section prefix
    std::string text;
};

/// One analysis run: what was asked, what ran and what came back.
struct CANAL_EXPORT Section {
    std::string nickname;     ///< "AC", "TRAN", ...; prefixes file names when several sections
    std::string title;        ///< readable name of the analysis
    std::string settingsText; ///< the analysis' readable text, one item per line
    std::string script;       ///< the Nutmeg script that ran
    std::vector<Page> pages;
    std::vector<std::string> log;   ///< everything the simulator printed
    std::vector<std::string> notes; ///< what the host did differently
    std::vector<ResultFile> files;
    std::string summary; ///< what the tool says of the run; empty: counts of pages and points
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
/// Prefix of a section's files: "" for a single section, else "nickname-", and for the n-th
/// section of one nickname (n from 2) "nickname-n-".
CANAL_EXPORT std::string SectionPrefix(const Report& report, size_t section);
/// Lower-case letters and digits joined by single '-'; "page" when nothing is left.
CANAL_EXPORT std::string Slug(const std::string& text);

/// File name stem of histogram `n` of a page: the page's stem + "-histogram" (+ n from the second).
CANAL_EXPORT std::string HistogramStem(const Report& report, size_t section, size_t page, size_t n);

/// The names of the files WriteReport writes for a section, in the order it writes them: per
/// page its CSV, its SVG when it has a graph and its histograms' SVGs; the result files; then
/// "analysis.txt" and "log.txt" (all with the section prefix).
CANAL_EXPORT std::vector<std::string> SectionFileNames(const Report& report, size_t section);

/// What WriteReport did. Files written before a failure stay.
struct CANAL_EXPORT WriteResult {
    std::vector<std::string> files;  ///< paths written, in order
    std::vector<std::string> errors; ///< "path: reason" of each file that failed
    bool ok() const { return errors.empty(); }
};

/// Writes into `dir` (created when missing) the files of every section (SectionFileNames),
/// then "report.html". Every file is attempted even when an earlier one failed.
CANAL_EXPORT WriteResult WriteReport(const Report& report, const std::string& dir);

} // namespace report
