// The histogram of a statistical analysis's measured values, drawn like the trace plots.
#include "report/histogram.h"

#include "platform/cstring.h"
#include "platform/resources.h"
#include "report/axis.h"
#include "report/numbers.h"

#include <algorithm>
#include <cmath>

namespace report {

namespace {

// Geometry shared with the trace plots, so that both sit alike in the report.
constexpr double kLeft = 78, kRight = 190, kTop = 48, kBottom = 58;

const char* const kBarFill = "#9ebbd9";
const char* const kMeanColor = "#222222";
const char* const kNominalColor = "#1f77b4";
const char* const kWorstColor = "#d62728";

std::string Formatted(unsigned id, const std::string& value) {
    return CString::Formatted(GetResourceText(id), value.c_str()).str();
}

/// A marker line across the plot: where it is, how it is drawn and what the legend says.
struct Marker {
    double value;
    const char* color;
    bool dashed;
    std::string label;
};

} // namespace

Bins MakeBins(const std::vector<double>& values) {
    Bins bins;
    std::vector<double> finite;
    for (double v : values)
        if (std::isfinite(v))
            finite.push_back(v);
    if (finite.empty())
        return bins;
    const auto [lo, hi] = std::minmax_element(finite.begin(), finite.end());
    const size_t n = std::clamp<size_t>(
        static_cast<size_t>(std::lround(std::sqrt(static_cast<double>(finite.size())))), 5, 40);
    if (!(*hi > *lo)) {
        // All alike: one bar, as wide as a tenth of the value (or 1 around zero).
        bins.width = *lo == 0.0 ? 1.0 : std::fabs(*lo) * 0.1;
        bins.lo = *lo - bins.width / 2;
        bins.counts.assign(1, finite.size());
        return bins;
    }
    bins.lo = *lo;
    bins.width = (*hi - *lo) / static_cast<double>(n);
    bins.counts.assign(n, 0);
    for (double v : finite) {
        // The largest value closes the last bin rather than opening one of its own.
        const auto k = std::min(static_cast<size_t>((v - bins.lo) / bins.width), n - 1);
        ++bins.counts[k];
    }
    return bins;
}

std::string HistogramToSvg(const Histogram& h, const SvgOptions& options) {
    const double width = std::max(options.width, 320);
    const double height = std::max(options.height, 240);
    const double plotW = width - kLeft - kRight, plotH = height - kTop - kBottom;
    const Bins bins = MakeBins(h.values);

    std::vector<Marker> markers;
    if (std::isfinite(h.mean) && !bins.counts.empty()) {
        markers.push_back({h.mean, kMeanColor, false,
                           Formatted(IDS_REPORT_MEAN, FormatQuantity(h.mean, h.unit))});
        if (std::isfinite(h.sigma) && h.sigma > 0.0) {
            const std::string label = Formatted(IDS_REPORT_SIGMA, FormatQuantity(h.sigma, h.unit));
            markers.push_back({h.mean - h.sigma, kMeanColor, true, label});
            markers.push_back({h.mean + h.sigma, kMeanColor, true, std::string()});
        }
    }
    if (h.hasNominal)
        markers.push_back({h.nominal, kNominalColor, false,
                           Formatted(IDS_REPORT_NOMINAL, FormatQuantity(h.nominal, h.unit))});
    if (h.hasWorst)
        markers.push_back({h.worst, kWorstColor, false,
                           Formatted(IDS_REPORT_WORST, FormatQuantity(h.worst, h.unit))});

    // The x axis covers the bars and every marker.
    std::vector<double> extent;
    if (!bins.counts.empty()) {
        extent.push_back(bins.lo);
        extent.push_back(bins.lo + bins.width * static_cast<double>(bins.counts.size()));
    }
    for (const Marker& m : markers)
        if (std::isfinite(m.value))
            extent.push_back(m.value);
    Scale xs;
    const int xTarget = std::clamp(static_cast<int>(plotW / 90), 3, 10);
    FitScale(xs, {&extent}, nullptr, true, xTarget);
    const size_t highest =
        bins.counts.empty() ? 1 : *std::max_element(bins.counts.begin(), bins.counts.end());
    Scale ys;
    // Room above the highest bar, so that it does not touch the frame.
    const std::vector<double> counts = {0.0, static_cast<double>(highest) * 1.08};
    const int yTarget = std::clamp(static_cast<int>(plotH / 45), 3, 8);
    FitScale(ys, {&counts}, nullptr, true, yTarget);
    ys.lo = 0.0;

    const auto X = [&](double v) { return kLeft + xs.Frac(v) * plotW; };
    const auto Y = [&](double v) { return kTop + plotH - ys.Frac(v) * plotH; };
    const auto px = [](double v) { return SvgNumber(v); };

    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    out += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + px(width) + "\" height=\"" +
           px(height) + "\" viewBox=\"0 0 " + px(width) + " " + px(height) +
           "\" font-family=\"Helvetica, Arial, sans-serif\" font-size=\"12\">\n";
    out += "<rect x=\"0\" y=\"0\" width=\"" + px(width) + "\" height=\"" + px(height) +
           "\" fill=\"#ffffff\"/>\n";
    const auto text = [&](double x, double y, const std::string& t, const char* attrs) {
        out += "<text x=\"" + px(x) + "\" y=\"" + px(y) + "\" " + attrs + ">" + XmlEscape(t) +
               "</text>\n";
    };
    text(width / 2, 24, Formatted(IDS_REPORT_HISTOGRAM_TITLE, h.quantity),
         "text-anchor=\"middle\" font-size=\"16\" font-weight=\"bold\"");
    const CString summary = CString::Formatted(GetResourceText(IDS_REPORT_HISTOGRAM_SUMMARY),
                                               static_cast<unsigned>(h.values.size()));
    text(width / 2, 40, summary.str(), "text-anchor=\"middle\" fill=\"#555555\"");
    out += "<rect x=\"" + px(kLeft) + "\" y=\"" + px(kTop) + "\" width=\"" + px(plotW) +
           "\" height=\"" + px(plotH) + "\" fill=\"#fbfbfb\" stroke=\"none\"/>\n";

    // Grid and tick labels; counts are whole numbers.
    out += "<g class=\"grid\">\n";
    const std::vector<Tick> xticks = TicksFor(xs, xTarget);
    std::vector<Tick> yticks;
    for (const Tick& t : TicksFor(ys, yTarget))
        if (t.value == std::floor(t.value))
            yticks.push_back(t);
    for (const Tick& t : xticks)
        out += "<line x1=\"" + px(X(t.value)) + "\" y1=\"" + px(kTop) + "\" x2=\"" +
               px(X(t.value)) + "\" y2=\"" + px(kTop + plotH) +
               "\" stroke=\"#ececec\" stroke-width=\"1\"/>\n";
    for (const Tick& t : yticks)
        out += "<line x1=\"" + px(kLeft) + "\" y1=\"" + px(Y(t.value)) + "\" x2=\"" +
               px(kLeft + plotW) + "\" y2=\"" + px(Y(t.value)) +
               "\" stroke=\"#d0d0d0\" stroke-width=\"1\"/>\n";
    out += "</g>\n<g class=\"bars\" fill=\"" + std::string(kBarFill) +
           "\" stroke=\"#5b7fa6\" stroke-width=\"0.8\">\n";
    for (size_t k = 0; k < bins.counts.size(); ++k) {
        if (bins.counts[k] == 0)
            continue;
        const double x0 = X(bins.lo + bins.width * static_cast<double>(k));
        const double x1 = X(bins.lo + bins.width * static_cast<double>(k + 1));
        const double y = Y(static_cast<double>(bins.counts[k]));
        out += "<rect x=\"" + px(x0) + "\" y=\"" + px(y) + "\" width=\"" + px(x1 - x0) +
               "\" height=\"" + px(kTop + plotH - y) + "\"/>\n";
    }
    out += "</g>\n<g class=\"markers\" stroke-width=\"2\">\n";
    for (const Marker& m : markers)
        out += "<line x1=\"" + px(X(m.value)) + "\" y1=\"" + px(kTop) + "\" x2=\"" +
               px(X(m.value)) + "\" y2=\"" + px(kTop + plotH) + "\" stroke=\"" + m.color + "\"" +
               (m.dashed ? " stroke-dasharray=\"6 4\"" : "") + "/>\n";
    out += "</g>\n";

    out += "<rect x=\"" + px(kLeft) + "\" y=\"" + px(kTop) + "\" width=\"" + px(plotW) +
           "\" height=\"" + px(plotH) + "\" fill=\"none\" stroke=\"#333333\"/>\n";
    for (const Tick& t : xticks) {
        if (!t.major)
            continue;
        const double x = X(t.value);
        out += "<line x1=\"" + px(x) + "\" y1=\"" + px(kTop + plotH) + "\" x2=\"" + px(x) +
               "\" y2=\"" + px(kTop + plotH + 4) + "\" stroke=\"#333333\"/>\n";
        text(x, kTop + plotH + 18, t.label, "text-anchor=\"middle\"");
    }
    for (const Tick& t : yticks) {
        const double y = Y(t.value);
        out += "<line x1=\"" + px(kLeft - 4) + "\" y1=\"" + px(y) + "\" x2=\"" + px(kLeft) +
               "\" y2=\"" + px(y) + "\" stroke=\"#333333\"/>\n";
        text(kLeft - 7, y + 4, t.label, "text-anchor=\"end\"");
    }
    std::string xTitle = h.quantity;
    if (!h.unit.empty())
        xTitle += " (" + h.unit + ")";
    text(kLeft + plotW / 2, kTop + plotH + 40, xTitle, "text-anchor=\"middle\"");
    const std::string cy = px(kTop + plotH / 2);
    out += "<text x=\"18\" y=\"" + cy + "\" transform=\"rotate(-90 18 " + cy +
           ")\" text-anchor=\"middle\">" + XmlEscape(GetResourceText(IDS_REPORT_HISTOGRAM_RUNS)) +
           "</text>\n";

    out += "<g class=\"legend\">\n";
    double ly = kTop + 10;
    const double lx = kLeft + plotW + 16;
    for (const Marker& m : markers) {
        if (m.label.empty())
            continue;
        out += "<line x1=\"" + px(lx) + "\" y1=\"" + px(ly) + "\" x2=\"" + px(lx + 22) +
               "\" y2=\"" + px(ly) + "\" stroke=\"" + m.color + "\" stroke-width=\"2.5\"" +
               (m.dashed ? " stroke-dasharray=\"6 4\"" : "") + "/>\n";
        text(lx + 28, ly + 4, m.label, "");
        ly += 18;
    }
    out += "</g>\n</svg>\n";
    return out;
}

} // namespace report
