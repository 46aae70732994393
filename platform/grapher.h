// Grapher pages: the in-memory result pages compound analyses report into,
// with traces over x values and chart logs.
#pragma once

#include "canal/export.h"
#include "platform/chartlog.h"
#include "platform/complex.h"
#include "platform/cstring.h"

#include <deque>
#include <vector>

/// One named curve: y values (real, or complex when any point was complex)
/// over its own x values.
struct CANAL_EXPORT CGrapherTrace {
    CString name;
    std::vector<double> x;
    std::vector<double> re;
    std::vector<double> im; ///< empty for a real trace, else as long as re

    bool IsComplex() const { return !im.empty(); }
    void AddPoint(double xValue, double y);
    /// Makes the trace complex; earlier real points get an imaginary part 0.
    void AddPoint(double xValue, CComplex y);
};

/// A table of results (one row per run, per pin, ...): column names and
/// rows of texts. Numbers are written by the analysis that fills it, so the
/// table reads the same wherever it is shown.
struct CANAL_EXPORT CGrapherChart {
    CString title;
    std::vector<CString> columns;
    std::vector<std::vector<CString>> rows;
};

/// A result page. Traces and chart logs live in deques, so a reference taken
/// from AddTrace or AddChartLog stays valid while more are added.
class CANAL_EXPORT CGrapherPage {
public:
    explicit CGrapherPage(const CString& title = CString()) : title_(title) {}

    const CString& GetTitle() const { return title_; }
    void SetTitle(const CString& title) { title_ = title; }
    const CString& GetFontName() const { return fontName_; }
    void SetFontName(const CString& font) { fontName_ = font; }
    /// The x axis: the quantity's name ("time", "Temperature") and unit ("s", "" for none).
    void SetXAxis(const CString& name, const CString& unit);
    const CString& GetXAxisName() const { return xName_; }
    const CString& GetXAxisUnit() const { return xUnit_; }
    /// Non-zero: later runs add their traces to this page instead of a new one.
    int GetKeepPageOpen() const { return keepPageOpen_; }
    void SetKeepPageOpen(int keep) { keepPageOpen_ = keep; }

    /// A new empty trace, owned by the page.
    CGrapherTrace& AddTrace(const CString& name);
    /// The first trace called `name` (exact), or null.
    CGrapherTrace* FindTrace(const CString& name);
    const std::deque<CGrapherTrace>& GetTraces() const { return traces_; }

    /// A new chart log, owned by the page.
    ChartLog& AddChartLog(const CString& title);
    const std::deque<ChartLog>& GetChartLogs() const { return chartLogs_; }

    /// A new empty table, owned by the page.
    CGrapherChart& AddChart(const CString& title);
    const std::deque<CGrapherChart>& GetCharts() const { return charts_; }

private:
    CString title_;
    CString fontName_;
    CString xName_;
    CString xUnit_;
    int keepPageOpen_ = 0;
    std::deque<CGrapherTrace> traces_;
    std::deque<ChartLog> chartLogs_;
    std::deque<CGrapherChart> charts_;
};
