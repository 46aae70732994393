// Grapher pages: traces that may turn complex, and look-ups by name.
#include "platform/grapher.h"

void CGrapherTrace::AddPoint(double xValue, double y) {
    x.push_back(xValue);
    re.push_back(y);
    if (IsComplex())
        im.push_back(0.0);
}

void CGrapherTrace::AddPoint(double xValue, CComplex y) {
    if (!IsComplex())
        im.assign(re.size(), 0.0);
    x.push_back(xValue);
    re.push_back(y.real());
    im.push_back(y.imag());
}

void CGrapherPage::SetXAxis(const CString& name, const CString& unit) {
    xName_ = name;
    xUnit_ = unit;
}

CGrapherTrace& CGrapherPage::AddTrace(const CString& name) {
    traces_.push_back(CGrapherTrace{name, {}, {}, {}});
    return traces_.back();
}

CGrapherTrace* CGrapherPage::FindTrace(const CString& name) {
    for (CGrapherTrace& t : traces_)
        if (t.name == name)
            return &t;
    return nullptr;
}

ChartLog& CGrapherPage::AddChartLog(const CString& title) {
    chartLogs_.emplace_back(title);
    return chartLogs_.back();
}

CGrapherChart& CGrapherPage::AddChart(const CString& title) {
    charts_.push_back(CGrapherChart{title, {}, {}});
    return charts_.back();
}
