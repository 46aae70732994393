// Grapher pages to report pages: traces keep their own x unless all share one.
#include "report/grapher_pages.h"

#include <sstream>

namespace report {
namespace {

Page Convert(const CGrapherPage& source) {
    Page page;
    page.title = source.GetTitle().str();
    page.xName = source.GetXAxisName().str();
    page.xAxis.label = page.xName;
    if (!source.GetXAxisUnit().IsEmpty())
        page.xAxis.label += " (" + source.GetXAxisUnit().str() + ")";

    const std::deque<CGrapherTrace>& traces = source.GetTraces();
    bool shared = !traces.empty();
    for (const CGrapherTrace& t : traces)
        shared = shared && t.x == traces.front().x;
    if (shared)
        page.x = traces.front().x;
    for (const CGrapherTrace& t : traces) {
        Trace trace;
        trace.name = t.name.str();
        trace.re = t.re;
        trace.im = t.im;
        if (!shared)
            trace.x = t.x;
        page.traces.push_back(std::move(trace));
    }

    for (const ChartLog& log : source.GetChartLogs()) {
        std::istringstream lines(log.ToText());
        for (std::string line; std::getline(lines, line);)
            page.log.push_back(line);
    }
    for (const CGrapherChart& c : source.GetCharts()) {
        Chart chart;
        chart.title = c.title.str();
        for (const CString& column : c.columns)
            chart.columns.push_back(column.str());
        for (const std::vector<CString>& row : c.rows) {
            std::vector<std::string>& out = chart.rows.emplace_back();
            for (const CString& cell : row)
                out.push_back(cell.str());
        }
        page.charts.push_back(std::move(chart));
    }
    return page;
}

} // namespace

std::vector<Page> PagesFromGrapher(const std::vector<CGrapherPage>& pages) {
    std::vector<Page> out;
    out.reserve(pages.size());
    for (const CGrapherPage& p : pages)
        out.push_back(Convert(p));
    return out;
}

} // namespace report
