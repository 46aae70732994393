// SVG plot of a result page.
#include "report/svg.h"

#include "platform/resources.h"
#include "report/numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>

namespace report {

namespace {

const char* const kColors[] = {"#1f77b4", "#d62728", "#2ca02c", "#ff7f0e", "#9467bd",
                               "#8c564b", "#e377c2", "#17becf", "#7f7f7f", "#bcbd22"};

/// Pixel coordinates with two decimals; far-off values are clamped so that a
/// huge number cannot produce an unreadable document.
std::string Px(double v) {
    v = std::clamp(v, -1e6, 1e6);
    char buf[32];
    auto res = std::to_chars(buf, buf + sizeof buf, v, std::chars_format::fixed, 2);
    std::string s(buf, res.ptr);
    while (s.size() > 1 && s.back() == '0')
        s.pop_back();
    if (s.back() == '.')
        s.pop_back();
    return s == "-0" ? "0" : s;
}

bool IsLogScale(const std::string& scale) {
    return scale == "log" || scale == "dec" || scale == "oct";
}

/// The largest 1-2-5 step no larger than about span / target.
double NiceStep(double span, int target) {
    double raw = span / std::max(target, 1);
    double mag = std::pow(10.0, std::floor(std::log10(raw)));
    double f = raw / mag;
    double nice = f < 1.5 ? 1.0 : f < 3.5 ? 2.0 : f < 7.5 ? 5.0 : 10.0;
    return nice * mag;
}

/// Steps for an angle axis: whole fractions of a half turn read best.
double DegreeStep(double span, int target) {
    double raw = span / std::max(target, 1);
    for (double step : {1.0, 5.0, 15.0, 30.0, 45.0, 90.0, 180.0})
        if (step >= raw * 0.75)
            return step;
    return 360.0 * std::ceil(raw / 360.0);
}

struct Scale {
    bool log = false;
    bool degrees = false; ///< angle axis: ticks at multiples of 15, 45, 90 degrees
    double Step(double span, int target) const {
        return degrees && span >= 10.0 ? DegreeStep(span, target) : NiceStep(span, target);
    }
    double lo = 0.0;
    double hi = 1.0;
    double T(double v) const { return log ? std::log10(v) : v; }
    bool Usable(double v) const { return std::isfinite(v) && (!log || v > 0.0); }
    /// 0 at lo, 1 at hi.
    double Frac(double v) const { return (T(v) - T(lo)) / (T(hi) - T(lo)); }
};

/// Fills lo/hi from the data, an explicit range, or a fallback; never leaves
/// a zero or inverted range. `roundOut` widens to whole ticks (y axes).
void FitScale(Scale& s, const std::vector<const std::vector<double>*>& data, const Axis* axis,
              bool roundOut, int target) {
    if (axis && axis->hasRange && s.Usable(axis->min) && s.Usable(axis->max) &&
        axis->min < axis->max) {
        s.lo = axis->min;
        s.hi = axis->max;
        return;
    }
    double lo = INFINITY, hi = -INFINITY;
    for (const auto* values : data)
        for (double v : *values)
            if (s.Usable(v)) {
                lo = std::min(lo, v);
                hi = std::max(hi, v);
            }
    if (lo > hi) {
        s.lo = s.log ? 1.0 : 0.0;
        s.hi = s.log ? 10.0 : 1.0;
        return;
    }
    if (lo == hi || (s.log ? std::log10(hi) - std::log10(lo) < 1e-9
                           : (hi - lo) <= 1e-12 * std::max(std::fabs(lo), std::fabs(hi)))) {
        if (s.log) {
            lo /= std::sqrt(10.0);
            hi *= std::sqrt(10.0);
        } else if (lo == 0.0) {
            lo = -1.0;
            hi = 1.0;
        } else {
            double d = std::fabs(lo) * 0.1;
            lo -= d;
            hi += d;
        }
    }
    if (roundOut) {
        if (s.log) {
            lo = std::pow(10.0, std::floor(std::log10(lo) + 1e-9));
            hi = std::pow(10.0, std::ceil(std::log10(hi) - 1e-9));
        } else {
            double step = s.Step(hi - lo, target);
            lo = std::floor(lo / step + 1e-9) * step;
            hi = std::ceil(hi / step - 1e-9) * step;
        }
    }
    s.lo = lo;
    s.hi = hi;
}

std::vector<Tick> TicksWithStep(double lo, double hi, double step) {
    std::vector<Tick> ticks;
    if (!std::isfinite(lo) || !std::isfinite(hi) || !(hi > lo) || !(step > 0.0) ||
        !std::isfinite(step))
        return ticks;
    double first = std::ceil(lo / step - 1e-9);
    double last = std::floor(hi / step + 1e-9);
    for (double k = first; k <= last && ticks.size() < 100; k += 1.0) {
        double v = k * step;
        if (std::fabs(v) < step * 1e-9)
            v = 0.0;
        ticks.push_back({v, FormatEngineering(v, 4), true});
    }
    return ticks;
}

std::vector<Tick> TicksFor(const Scale& s, int target) {
    if (s.log)
        return LogTicks(s.lo, s.hi);
    return TicksWithStep(s.lo, s.hi, s.Step(s.hi - s.lo, target));
}

struct Series {
    std::string name;
    const char* color;
    const std::vector<double>* x;
    std::vector<double> y;
};

struct Panel {
    std::vector<Series> series;
    Scale y;
    std::string yTitle;
};

class Writer {
public:
    explicit Writer(std::string& out) : out_(out) {}
    void Line(double x1, double y1, double x2, double y2, const char* attrs) {
        out_ += "<line x1=\"" + Px(x1) + "\" y1=\"" + Px(y1) + "\" x2=\"" + Px(x2) + "\" y2=\"" +
                Px(y2) + "\" " + attrs + "/>\n";
    }
    void Text(double x, double y, std::string_view text, const char* attrs) {
        out_ += "<text x=\"" + Px(x) + "\" y=\"" + Px(y) + "\" " + attrs + ">" + XmlEscape(text) +
                "</text>\n";
    }
    std::string& out_;
};

std::string XTitle(const Page& page) {
    if (!page.xAxis.label.empty())
        return page.xAxis.label;
    if (page.xName == "frequency")
        return GetResourceText(IDS_REPORT_FREQUENCY_HZ);
    if (page.xName == "time")
        return GetResourceText(IDS_REPORT_TIME_S);
    return page.xName;
}

/// A frequency sweep over several decades reads best on a log axis even when
/// the page does not say so.
bool XIsLog(const Page& page) {
    if (IsLogScale(page.xAxis.scale))
        return true;
    if (page.xName != "frequency" || page.xAxis.hasRange || page.x.empty())
        return false;
    double lo = INFINITY, hi = 0.0;
    for (double v : page.x) {
        if (!std::isfinite(v) || v <= 0.0)
            return false;
        lo = std::min(lo, v);
        hi = std::max(hi, v);
    }
    return hi / lo >= 100.0;
}

/// "voltage (V)" when every plotted trace is a node voltage, "current (A)" when
/// every one is a branch current; nothing for a mix.
std::string QuantityTitle(const std::vector<const Trace*>& traces) {
    auto all = [&](auto pred) {
        return !traces.empty() && std::all_of(traces.begin(), traces.end(), pred);
    };
    auto starts = [](const std::string& name, char kind) {
        return name.size() > 2 && (name[0] == kind || name[0] == kind - 'a' + 'A') &&
               name[1] == '(';
    };
    if (all([&](const Trace* t) { return starts(t->name, 'v'); }))
        return GetResourceText(IDS_REPORT_VOLTAGE);
    if (all([&](const Trace* t) {
            return starts(t->name, 'i') || (t->name.size() > 7 && t->name.ends_with("#branch"));
        }))
        return GetResourceText(IDS_REPORT_CURRENT);
    return std::string();
}

double DecibelOf(double re, double im) {
    double mag = std::hypot(re, im);
    return mag > 0.0 ? 20.0 * std::log10(mag) : -INFINITY;
}

} // namespace

std::string XmlEscape(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\'':
            out += "&#39;";
            break;
        default:
            // Control characters other than tab and line ends are not allowed in XML.
            if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r')
                out += ' ';
            else
                out += c;
        }
    }
    return out;
}

std::vector<Tick> LinearTicks(double lo, double hi, int target) {
    if (!std::isfinite(lo) || !std::isfinite(hi) || !(hi > lo))
        return {};
    return TicksWithStep(lo, hi, NiceStep(hi - lo, target));
}

std::vector<Tick> LogTicks(double lo, double hi) {
    std::vector<Tick> ticks;
    if (!(lo > 0.0) || !(hi > lo) || !std::isfinite(hi))
        return ticks;
    const double eps = 1e-9;
    int d0 = static_cast<int>(std::ceil(std::log10(lo) - eps));
    int d1 = static_cast<int>(std::floor(std::log10(hi) + eps));
    int decades = d1 - d0 + 1;
    if (decades >= 2) {
        int stride = std::max(1, (decades + 9) / 10);
        bool minors = decades <= 6;
        for (int d = static_cast<int>(std::floor(std::log10(lo) + eps)); d <= d1; ++d) {
            double base = std::pow(10.0, d);
            if (d >= d0 && (d - d0) % stride == 0)
                ticks.push_back({base, FormatEngineering(base, 3), true});
            if (!minors)
                continue;
            for (int m = 2; m <= 9; ++m) {
                double v = m * base;
                if (v >= lo * (1 - eps) && v <= hi * (1 + eps))
                    ticks.push_back({v, std::string(), false});
            }
        }
        std::sort(ticks.begin(), ticks.end(),
                  [](const Tick& a, const Tick& b) { return a.value < b.value; });
        return ticks;
    }
    // Less than two decades in view: label 1, 2 and 5 of each decade.
    for (int d = static_cast<int>(std::floor(std::log10(lo))) - 1; d <= d1 + 1; ++d) {
        double base = std::pow(10.0, d);
        for (int m : {1, 2, 5}) {
            double v = m * base;
            if (v >= lo * (1 - eps) && v <= hi * (1 + eps))
                ticks.push_back({v, FormatEngineering(v, 3), true});
        }
    }
    if (ticks.size() < 2)
        return LinearTicks(lo, hi, 4);
    return ticks;
}

bool HasGraph(const Page& page) {
    if (page.x.empty())
        return false;
    return std::any_of(page.traces.begin(), page.traces.end(),
                       [](const Trace& t) { return t.plotted && !t.re.empty(); });
}

std::string ToSvg(const Page& page, const SvgOptions& options) {
    const double width = std::max(options.width, 320);
    const double height = std::max(options.height, 240);
    const double left = 78, right = 190, top = 48, bottom = 58, gap = 34;
    const double plotW = width - left - right;

    std::vector<const Trace*> plotted;
    for (const Trace& t : page.traces)
        if (t.plotted)
            plotted.push_back(&t);
    bool complexPage =
        std::any_of(plotted.begin(), plotted.end(), [](const Trace* t) { return t->IsComplex(); });

    std::vector<Panel> panels(complexPage ? 2 : 1);
    for (size_t i = 0; i < plotted.size(); ++i) {
        const Trace& t = *plotted[i];
        const char* color = kColors[i % std::size(kColors)];
        if (!complexPage) {
            panels[0].series.push_back({t.name, color, &page.x, t.re});
            continue;
        }
        Series mag{t.name, color, &page.x, {}};
        Series phase{t.name, color, &page.x, {}};
        for (size_t k = 0; k < t.re.size(); ++k) {
            double im = k < t.im.size() ? t.im[k] : 0.0;
            mag.y.push_back(DecibelOf(t.re[k], im));
            phase.y.push_back(std::atan2(im, t.re[k]) * (180.0 / std::numbers::pi));
        }
        // Follow the phase through +-180 degrees instead of jumping across the panel.
        double previous = NAN, offset = 0.0;
        for (double& v : phase.y) {
            if (!std::isfinite(v))
                continue;
            if (std::isfinite(previous)) {
                while (v + offset - previous > 180.0)
                    offset -= 360.0;
                while (v + offset - previous < -180.0)
                    offset += 360.0;
            }
            v += offset;
            previous = v;
        }
        panels[0].series.push_back(std::move(mag));
        panels[1].series.push_back(std::move(phase));
    }
    if (complexPage) {
        panels[0].yTitle = GetResourceText(IDS_REPORT_MAGNITUDE_DB);
        panels[1].yTitle = GetResourceText(IDS_REPORT_PHASE_DEG);
        panels[1].y.degrees = true;
    } else {
        panels[0].yTitle = page.yAxis.label.empty() ? QuantityTitle(plotted) : page.yAxis.label;
        panels[0].y.log = IsLogScale(page.yAxis.scale);
    }

    const double totalH = height - top - bottom - gap * static_cast<double>(panels.size() - 1);
    const double firstH = panels.size() == 2 ? totalH * 0.6 : totalH;
    // About one labelled tick per 45 pixels of panel height.
    auto YTarget = [&](size_t p) {
        return std::clamp(static_cast<int>((p == 0 ? firstH : totalH - firstH) / 45), 3, 8);
    };
    Scale xs;
    xs.log = XIsLog(page);
    const int xTarget = std::clamp(static_cast<int>(plotW / 90), 3, 10);
    FitScale(xs, {&page.x}, &page.xAxis, false, xTarget);
    for (size_t p = 0; p < panels.size(); ++p) {
        std::vector<const std::vector<double>*> ys;
        for (const Series& s : panels[p].series)
            ys.push_back(&s.y);
        // The page's y range is in the trace's own unit, not in dB or degrees.
        FitScale(panels[p].y, ys, complexPage ? nullptr : &page.yAxis, true, YTarget(p));
    }

    std::string out;
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    out += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + Px(width) + "\" height=\"" +
           Px(height) + "\" viewBox=\"0 0 " + Px(width) + " " + Px(height) +
           "\" font-family=\"Helvetica, Arial, sans-serif\" font-size=\"12\">\n";
    out += "<rect x=\"0\" y=\"0\" width=\"" + Px(width) + "\" height=\"" + Px(height) +
           "\" fill=\"#ffffff\"/>\n";
    Writer w(out);
    std::string title = page.title.empty() ? page.plotType : page.title;
    w.Text(width / 2, 24, title, "text-anchor=\"middle\" font-size=\"16\" font-weight=\"bold\"");
    if (!page.plotType.empty() && page.plotType != title)
        w.Text(width / 2, 40, page.plotType, "text-anchor=\"middle\" fill=\"#555555\"");

    std::vector<Tick> xticks = TicksFor(xs, xTarget);
    double panelTop = top;
    for (size_t p = 0; p < panels.size(); ++p) {
        const Panel& panel = panels[p];
        const double ph = p == 0 ? firstH : totalH - firstH;
        const double x0 = left, y0 = panelTop, x1 = left + plotW, y1 = panelTop + ph;
        auto mapX = [&](double v) { return x0 + xs.Frac(v) * plotW; };
        auto mapY = [&](double v) { return y1 - panel.y.Frac(v) * ph; };
        const std::string clipId = "plot" + std::to_string(p);

        out += "<defs><clipPath id=\"" + clipId + "\"><rect x=\"" + Px(x0) + "\" y=\"" + Px(y0) +
               "\" width=\"" + Px(plotW) + "\" height=\"" + Px(ph) + "\"/></clipPath></defs>\n";
        out += "<rect x=\"" + Px(x0) + "\" y=\"" + Px(y0) + "\" width=\"" + Px(plotW) +
               "\" height=\"" + Px(ph) + "\" fill=\"#fbfbfb\" stroke=\"none\"/>\n";

        out += "<g class=\"grid\">\n";
        for (const Tick& t : xticks) {
            double x = mapX(t.value);
            if (x < x0 - 0.5 || x > x1 + 0.5)
                continue;
            w.Line(x, y0, x, y1,
                   t.major ? "stroke=\"#d0d0d0\" stroke-width=\"1\""
                           : "stroke=\"#ececec\" stroke-width=\"1\"");
        }
        std::vector<Tick> yticks = TicksFor(panel.y, YTarget(p));
        for (const Tick& t : yticks) {
            double y = mapY(t.value);
            if (y < y0 - 0.5 || y > y1 + 0.5)
                continue;
            w.Line(x0, y, x1, y,
                   t.major ? "stroke=\"#d0d0d0\" stroke-width=\"1\""
                           : "stroke=\"#ececec\" stroke-width=\"1\"");
        }
        out += "</g>\n";

        out += "<g class=\"traces\" clip-path=\"url(#" + clipId +
               ")\" fill=\"none\" "
               "stroke-width=\"1.6\" stroke-linejoin=\"round\">\n";
        for (const Series& s : panel.series) {
            out += "<g stroke=\"" + std::string(s.color) + "\">\n";
            size_t n = std::min(s.x->size(), s.y.size());
            std::string points;
            size_t count = 0;
            auto flush = [&]() {
                if (count == 1) // a lone point would be invisible as a line
                    out += "<circle cx=\"" + points.substr(0, points.find(',')) + "\" cy=\"" +
                           points.substr(points.find(',') + 1) + "\" r=\"2.5\" fill=\"" + s.color +
                           "\" stroke=\"none\"/>\n";
                if (count > 0)
                    out += "<polyline points=\"" + points + "\"/>\n";
                points.clear();
                count = 0;
            };
            for (size_t k = 0; k < n; ++k) {
                double xv = (*s.x)[k], yv = s.y[k];
                if (!xs.Usable(xv) || !panel.y.Usable(yv)) {
                    flush();
                    continue;
                }
                if (count > 0)
                    points += ' ';
                points += Px(mapX(xv)) + "," + Px(mapY(yv));
                ++count;
            }
            flush();
            out += "</g>\n";
        }
        out += "</g>\n";

        out += "<rect x=\"" + Px(x0) + "\" y=\"" + Px(y0) + "\" width=\"" + Px(plotW) +
               "\" height=\"" + Px(ph) + "\" fill=\"none\" stroke=\"#333333\"/>\n";
        for (const Tick& t : yticks) {
            double y = mapY(t.value);
            if (!t.major || y < y0 - 0.5 || y > y1 + 0.5)
                continue;
            w.Line(x0 - 4, y, x0, y, "stroke=\"#333333\"");
            w.Text(x0 - 7, y + 4, t.label, "text-anchor=\"end\"");
        }
        // Only the lowest panel labels the shared x axis.
        bool lowest = p + 1 == panels.size();
        for (const Tick& t : xticks) {
            double x = mapX(t.value);
            if (!t.major || x < x0 - 0.5 || x > x1 + 0.5)
                continue;
            w.Line(x, y1, x, y1 + 4, "stroke=\"#333333\"");
            if (lowest)
                w.Text(x, y1 + 18, t.label, "text-anchor=\"middle\"");
        }
        if (!panel.yTitle.empty()) {
            double cy = (y0 + y1) / 2;
            out += "<text x=\"18\" y=\"" + Px(cy) + "\" transform=\"rotate(-90 18 " + Px(cy) +
                   ")\" text-anchor=\"middle\">" + XmlEscape(panel.yTitle) + "</text>\n";
        }
        if (lowest)
            w.Text((x0 + x1) / 2, y1 + 40, XTitle(page), "text-anchor=\"middle\"");

        bool empty = std::none_of(panel.series.begin(), panel.series.end(), [&](const Series& s) {
            for (size_t k = 0; k < std::min(s.x->size(), s.y.size()); ++k)
                if (xs.Usable((*s.x)[k]) && panel.y.Usable(s.y[k]))
                    return true;
            return false;
        });
        if (empty)
            w.Text((x0 + x1) / 2, (y0 + y1) / 2, GetResourceText(IDS_REPORT_NO_DATA),
                   "text-anchor=\"middle\" fill=\"#888888\" font-size=\"14\"");
        panelTop = y1 + gap;
    }

    // Legend to the right of the plot; names too long for it are shortened.
    out += "<g class=\"legend\">\n";
    const double lx = left + plotW + 16;
    const size_t room = static_cast<size_t>(std::max(1.0, (height - top - bottom) / 18.0));
    for (size_t i = 0; i < panels[0].series.size(); ++i) {
        double ly = top + 10 + 18.0 * static_cast<double>(i);
        if (i + 1 == room && panels[0].series.size() > room) {
            CString more;
            more.Format(GetResourceText(IDS_REPORT_MORE_TRACES),
                        static_cast<unsigned>(panels[0].series.size() - i));
            w.Text(lx, ly + 4, more.str(), "fill=\"#555555\"");
            break;
        }
        const Series& s = panels[0].series[i];
        out += "<line x1=\"" + Px(lx) + "\" y1=\"" + Px(ly) + "\" x2=\"" + Px(lx + 22) +
               "\" y2=\"" + Px(ly) + "\" stroke=\"" + s.color + "\" stroke-width=\"2.5\"/>\n";
        std::string name = s.name;
        if (name.size() > 22) {
            size_t cut = 21;
            while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80)
                --cut; // never split a UTF-8 sequence
            name = name.substr(0, cut) + "~";
        }
        w.Text(lx + 28, ly + 4, name, "");
    }
    out += "</g>\n</svg>\n";
    return out;
}

} // namespace report
