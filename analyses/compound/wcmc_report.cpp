// Shared pieces of the worst-case and Monte Carlo reports.
#include "analyses/compound/wcmc_report.h"

#include <charconv>
#include <cmath>

CString WcMcShortestNumber(double value) {
    char buffer[32];
    const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    return error == std::errc() ? CString(std::string(buffer, end).c_str()) : CString();
}

void AddWcMcRunTrace(CGrapherPage& page, const WcMcRunResult& run, const CString& name) {
    if (run.curve.x.empty())
        return;
    CGrapherTrace& trace = page.AddTrace(name);
    trace.x = run.curve.x;
    trace.re = run.curve.re;
    trace.im = run.curve.im;
}

WcMcCurve WcMcNominalCurve(const CGrapherTrace& curve) {
    WcMcCurve nominal;
    for (size_t i = 0; i < curve.x.size(); ++i)
        nominal.AddPoint(curve.x[i],
                         curve.IsComplex() ? std::hypot(curve.re[i], curve.im[i]) : curve.re[i]);
    return nominal;
}

void PrepareWcMcPage(CGrapherPage& page, unsigned title, const WcMcAnalysis& analysis) {
    page.SetTitle(GetResourceString(title));
    switch (analysis.GetWcMcAnalysisType()) {
    case WcMcAnalysis::WcMcAc:
        page.SetXAxis("frequency", analysis.GetXAxisUnitString());
        break;
    case WcMcAnalysis::WcMcTran:
        page.SetXAxis("time", analysis.GetXAxisUnitString());
        break;
    default:
        break;
    }
}
