// Result pages of a script run: the page being filled and pages made from ngspice's plots.
#pragma once

#include "report/page.h"

#include <functional>
#include <string>
#include <vector>

namespace host {

class NgSpiceSession;

/// What the scope asked to see of an analysis's plot.
struct PlotSelection {
    std::vector<std::string> iplot; ///< the traces to draw (the "iplot" list); empty: all
    std::vector<std::string> saves; ///< the scope's save list, to check against the plot
    bool check = false; ///< an analysis of the script: an empty plot or a missing save fails it
};

/// Keeps the page a scope is filling. Borrows the run's page list, which must outlive it;
/// pages are only ever appended, so a failure never loses a page filled before it.
class PageBuilder {
public:
    explicit PageBuilder(std::vector<report::Page>& pages) : pages_(pages) {}

    /// The page being filled; opens one (with the scope's axis settings) when none is open.
    report::Page& Current();
    /// Ends the scope: the next page starts afresh.
    void CloseScope();
    /// Opens a page beside the current one, under the same title (a second analysis in one
    /// scope, a Fourier spectrum).
    report::Page& Sibling();
    /// Changes the horizontal or vertical axis of the current page and of the scope's later
    /// pages.
    void UpdateAxis(bool horizontal, const std::function<void(report::Axis&)>& change);
    /// Marks the current page failed (the first message is its error) and logs the message.
    void MarkFailed(const std::string& message);

    /// Puts the plots one command created on pages: the first as traces over its scale, every
    /// further one (noise's integrated totals) as a table of values on the same page. Returns
    /// why the analysis counts as failed, or "" when it does not.
    std::string AddPlots(NgSpiceSession& session, const std::vector<std::string>& plots,
                         const PlotSelection& selection);

private:
    void AddTable(NgSpiceSession& session, const std::string& plot);

    std::vector<report::Page>& pages_;
    bool open_ = false;
    std::size_t current_ = 0;
    report::Axis pendingX_, pendingY_; ///< "-param" settings for pages the scope opens later
};

} // namespace host
