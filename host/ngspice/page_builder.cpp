// Pages from plots: the scale as x axis, vectors as traces under the names a user writes.
#include "host/ngspice/page_builder.h"

#include "host/ngspice/dialect.h"
#include "host/ngspice/session.h"
#include "platform/resources.h"

#include <algorithm>
#include <set>

namespace host {

report::Page& PageBuilder::Current() {
    if (!open_) {
        report::Page p;
        p.xAxis = pendingX_;
        p.yAxis = pendingY_;
        pages_.push_back(std::move(p));
        current_ = pages_.size() - 1;
        open_ = true;
    }
    return pages_[current_];
}

void PageBuilder::CloseScope() {
    open_ = false;
    pendingX_ = {};
    pendingY_ = {};
}

report::Page& PageBuilder::Sibling() {
    const std::string title = Current().title;
    open_ = false;
    report::Page& p = Current();
    p.title = title;
    return p;
}

void PageBuilder::UpdateAxis(bool horizontal, const std::function<void(report::Axis&)>& change) {
    report::Page& p = Current();
    change(horizontal ? p.xAxis : p.yAxis);
    change(horizontal ? pendingX_ : pendingY_);
}

void PageBuilder::MarkFailed(const std::string& message) {
    report::Page& p = Current();
    if (!p.failed) {
        p.failed = true;
        p.error = message;
    }
    p.log.push_back(message);
}

void PageBuilder::AddTable(NgSpiceSession& session, const std::string& plot) {
    report::Chart chart;
    chart.title = session.PlotType(plot);
    chart.columns = {GetResourceText(IDS_HOST_COL_NAME), GetResourceText(IDS_HOST_COL_VALUE)};
    VectorData v;
    for (const auto& n : session.PlotVectors(plot)) {
        if (!session.ReadVector(plot + "." + n, v) || v.re.empty())
            continue;
        chart.rows.push_back({n, FormatNumber(v.re.front())});
    }
    Current().charts.push_back(std::move(chart));
}

std::string PageBuilder::AddPlots(NgSpiceSession& session, const std::vector<std::string>& plots,
                                  const PlotSelection& selection) {
    if (plots.empty())
        return {};
    const std::string& plot = plots.front();
    // One page holds one analysis; a second analysis in the same scope opens a sibling page.
    report::Page& p = Current().plotName.empty() ? Current() : Sibling();
    std::string scale;
    const std::vector<std::string> names = session.PlotVectors(plot, &scale);
    p.plotName = plot;
    p.plotType = session.PlotType(plot);
    const bool nodePlot = IsNodePlot(plot);

    VectorData sv;
    bool hasX = false;
    if (!scale.empty() && session.ReadVector(plot + "." + scale, sv)) {
        // ngspice names some vector the scale even of single-point plots (op, tf, pz).
        hasX = sv.type == 1 || sv.type == 2 || scale.find("sweep") != std::string::npos ||
               plot.rfind("dc", 0) == 0;
    }
    if (hasX) {
        p.xName = scale;
        p.x = std::move(sv.re);
        p.xAxis.label = scale;
        if (sv.type == 1)
            p.xAxis.label += " (s)";
        else if (sv.type == 2)
            p.xAxis.label += " (Hz)";
    }

    std::set<std::string> plotted;
    bool plotAll = selection.iplot.empty();
    for (const auto& n : selection.iplot) {
        plotAll = plotAll || Lower(n) == "all";
        plotted.insert(VectorKey(n));
    }
    std::set<std::string> present;
    p.traces.reserve(names.size());
    VectorData v;
    for (const auto& n : names) {
        if ((hasX && n == scale) || !session.ReadVector(plot + "." + n, v))
            continue;
        present.insert(Lower(n));
        report::Trace t;
        t.name = nodePlot ? DisplayName(n, v.type) : n;
        t.re = std::move(v.re);
        t.im = std::move(v.im);
        t.plotted = plotAll || plotted.count(Lower(n)) != 0;
        p.traces.push_back(std::move(t));
    }
    for (std::size_t i = 1; i < plots.size(); ++i)
        AddTable(session, plots[i]);
    if (!selection.check)
        return {};

    // ngspice accepts some incomplete analysis lines ("ac dec 10 100") and runs them over no
    // points at all, without a message.
    const bool empty = hasX ? p.x.empty()
                            : std::all_of(p.traces.begin(), p.traces.end(),
                                          [](const report::Trace& t) { return t.re.empty(); });
    if (empty)
        return GetResourceText(IDS_HOST_NO_DATA);
    if (!nodePlot)
        return {};
    // ngspice drops saved names it does not know without a word; an unknown node would
    // otherwise just be missing from the page.
    for (const auto& s : selection.saves) {
        const std::string k = VectorKey(GroundToZero(s));
        // Device quantities and differences are computed names, not stored vectors.
        if (k == "all" || k.find_first_of("@,") != std::string::npos)
            continue;
        if (!present.count(k))
            return GetResourceText(IDS_HOST_VECTOR_NOT_FOUND) + s;
    }
    return {};
}

} // namespace host
