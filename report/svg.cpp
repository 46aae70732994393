// SVG plot of a result page: the page's traces prepared as panels of series,
// fitted axes, then panels and legend drawn.
#include "report/svg.h"

#include "platform/resources.h"
#include "report/axis.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>

namespace report {

namespace {

const char* const kColors[] = {"#1f77b4", "#d62728", "#2ca02c", "#ff7f0e", "#9467bd",
                               "#8c564b", "#e377c2", "#17becf", "#7f7f7f", "#bcbd22"};

std::string Px(double v) {
    return SvgNumber(v);
}

// ---- Data: the page's plotted traces as series of panels ----

struct Series {
    std::string name;
    const char* color;
    const std::vector<double>* x; ///< the page's x values, borrowed
    std::vector<double> y;
    TraceRole role = TraceRole::Normal;
};

// The runs of a statistical analysis behind the two that matter.
const char* const kBackgroundColor = "#aab4c0";
const char* const kNominalColor = "#222222";
const char* const kWorstColor = "#d62728";

const char* RoleColor(TraceRole role, size_t index) {
    switch (role) {
    case TraceRole::Background:
        return kBackgroundColor;
    case TraceRole::Nominal:
        return kNominalColor;
    case TraceRole::Worst:
        return kWorstColor;
    default:
        return kColors[index % std::size(kColors)];
    }
}

/// At most this many background runs are drawn; the legend still counts them all.
constexpr size_t kMaxBackground = 100;

size_t BackgroundCount(const std::vector<Series>& series) {
    return static_cast<size_t>(std::count_if(series.begin(), series.end(), [](const Series& s) {
        return s.role == TraceRole::Background;
    }));
}

/// Whether background run `i` of `count` is one of the evenly spread ones drawn.
bool Sampled(size_t i, size_t count) {
    if (count <= kMaxBackground)
        return true;
    return i * kMaxBackground / count != (i + 1) * kMaxBackground / count;
}

/// Background runs first, so that the others are drawn over them; otherwise page order.
int DrawOrder(TraceRole role) {
    return role == TraceRole::Background ? 0 : role == TraceRole::Normal ? 1 : 2;
}

struct Panel {
    std::vector<Series> series;
    Scale y;
    std::string yTitle;
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
    if (page.xName != "frequency" || page.xAxis.hasRange || !HasX(page))
        return false;
    double lo = INFINITY, hi = 0.0;
    auto extend = [&](const std::vector<double>& xs) {
        for (double v : xs) {
            if (!std::isfinite(v) || v <= 0.0)
                return false;
            lo = std::min(lo, v);
            hi = std::max(hi, v);
        }
        return true;
    };
    if (!extend(page.x))
        return false;
    for (const Trace& t : page.traces)
        if (!extend(t.x))
            return false;
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

/// Follows a phase in degrees through +-180 instead of jumping across the panel.
void UnwrapPhase(std::vector<double>& phase) {
    double previous = NAN, offset = 0.0;
    for (double& v : phase) {
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
}

/// One panel of the plotted traces as they are; or, when any is complex, a
/// magnitude panel in dB over a phase panel in degrees. Axis ranges are left
/// for FitScales.
std::vector<Panel> PreparePanels(const Page& page, const std::vector<const Trace*>& plotted,
                                 bool complexPage) {
    std::vector<Panel> panels(complexPage ? 2 : 1);
    size_t normal = 0; // colours go round the normal traces only
    for (size_t i = 0; i < plotted.size(); ++i) {
        const Trace& t = *plotted[i];
        const char* color = RoleColor(t.role, normal);
        if (t.role == TraceRole::Normal)
            ++normal;
        if (!complexPage) {
            panels[0].series.push_back({t.name, color, &XOf(page, t), t.re, t.role});
            continue;
        }
        Series mag{t.name, color, &XOf(page, t), {}, t.role};
        Series phase{t.name, color, &XOf(page, t), {}, t.role};
        for (size_t k = 0; k < t.re.size(); ++k) {
            double im = k < t.im.size() ? t.im[k] : 0.0;
            mag.y.push_back(DecibelOf(t.re[k], im));
            phase.y.push_back(std::atan2(im, t.re[k]) * (180.0 / std::numbers::pi));
        }
        UnwrapPhase(phase.y);
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
    return panels;
}

// ---- Layout: where the panels sit and how many ticks they get ----

/// Pixel geometry of the document: margins, the plot width shared by the
/// panels, and their heights (60 % for the first of two).
struct Layout {
    static constexpr double left = 78, right = 190, top = 48, bottom = 58, gap = 34;
    double width, height, plotW, totalH, firstH;

    Layout(const SvgOptions& options, size_t panels)
        : width(std::max(options.width, 320)), height(std::max(options.height, 240)),
          plotW(width - left - right),
          totalH(height - top - bottom - gap * static_cast<double>(panels - 1)),
          firstH(panels == 2 ? totalH * 0.6 : totalH) {}

    double PanelHeight(size_t p) const { return p == 0 ? firstH : totalH - firstH; }
    /// About one labelled tick per 45 pixels of panel height.
    int YTarget(size_t p) const { return std::clamp(static_cast<int>(PanelHeight(p) / 45), 3, 8); }
    int XTarget() const { return std::clamp(static_cast<int>(plotW / 90), 3, 10); }
};

void FitScales(const Page& page, const Layout& layout, bool complexPage, Scale& xs,
               std::vector<Panel>& panels) {
    xs.log = XIsLog(page);
    std::vector<const std::vector<double>*> xValues = {&page.x};
    for (const Trace& t : page.traces)
        if (t.plotted && !t.x.empty())
            xValues.push_back(&t.x);
    FitScale(xs, xValues, &page.xAxis, false, layout.XTarget());
    for (size_t p = 0; p < panels.size(); ++p) {
        std::vector<const std::vector<double>*> ys;
        for (const Series& s : panels[p].series)
            ys.push_back(&s.y);
        // The page's y range is in the trace's own unit, not in dB or degrees.
        FitScale(panels[p].y, ys, complexPage ? nullptr : &page.yAxis, true, layout.YTarget(p));
    }
}

// ---- Drawing ----

class Writer {
public:
    explicit Writer(std::string& out) : out_(out) {}
    void Raw(std::string_view text) { out_ += text; }
    void Line(double x1, double y1, double x2, double y2, const char* attrs) {
        out_ += "<line x1=\"" + Px(x1) + "\" y1=\"" + Px(y1) + "\" x2=\"" + Px(x2) + "\" y2=\"" +
                Px(y2) + "\" " + attrs + "/>\n";
    }
    void Text(double x, double y, std::string_view text, const char* attrs) {
        out_ += "<text x=\"" + Px(x) + "\" y=\"" + Px(y) + "\" " + attrs + ">" + XmlEscape(text) +
                "</text>\n";
    }
    /// A rectangle on a line of its own; `attrs` follows the geometry.
    void Rect(double x, double y, double w, double h, std::string_view attrs) {
        out_ += RectTag(x, y, w, h, attrs) + "\n";
    }
    static std::string RectTag(double x, double y, double w, double h, std::string_view attrs) {
        return "<rect x=\"" + Px(x) + "\" y=\"" + Px(y) + "\" width=\"" + Px(w) + "\" height=\"" +
               Px(h) + "\"" + std::string(attrs) + "/>";
    }

private:
    std::string& out_;
};

/// Where one panel sits and how values map into it.
struct Frame {
    double x0, y0, w, h;
    const Scale& xs;
    const Scale& ys;
    double x1() const { return x0 + w; }
    double y1() const { return y0 + h; }
    double X(double v) const { return x0 + xs.Frac(v) * w; }
    double Y(double v) const { return y1() - ys.Frac(v) * h; }
    bool Usable(double x, double y) const { return xs.Usable(x) && ys.Usable(y); }
    /// False for coordinates more than half a pixel outside the frame.
    bool InsideX(double x) const { return !(x < x0 - 0.5 || x > x1() + 0.5); }
    bool InsideY(double y) const { return !(y < y0 - 0.5 || y > y1() + 0.5); }
};

const char* GridStroke(const Tick& t) {
    return t.major ? "stroke=\"#d0d0d0\" stroke-width=\"1\""
                   : "stroke=\"#ececec\" stroke-width=\"1\"";
}

void DrawHeader(Writer& w, const Page& page, const Layout& layout) {
    const std::string width = Px(layout.width), height = Px(layout.height);
    w.Raw("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    w.Raw("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + width + "\" height=\"" + height +
          "\" viewBox=\"0 0 " + width + " " + height +
          "\" font-family=\"Helvetica, Arial, sans-serif\" font-size=\"12\">\n");
    w.Rect(0, 0, layout.width, layout.height, " fill=\"#ffffff\"");
    std::string title = page.title.empty() ? page.plotType : page.title;
    w.Text(layout.width / 2, 24, title,
           "text-anchor=\"middle\" font-size=\"16\" font-weight=\"bold\"");
    if (!page.plotType.empty() && page.plotType != title)
        w.Text(layout.width / 2, 40, page.plotType, "text-anchor=\"middle\" fill=\"#555555\"");
}

void DrawGrid(Writer& w, const Frame& f, const std::vector<Tick>& xticks,
              const std::vector<Tick>& yticks) {
    w.Raw("<g class=\"grid\">\n");
    for (const Tick& t : xticks)
        if (const double x = f.X(t.value); f.InsideX(x))
            w.Line(x, f.y0, x, f.y1(), GridStroke(t));
    for (const Tick& t : yticks)
        if (const double y = f.Y(t.value); f.InsideY(y))
            w.Line(f.x0, y, f.x1(), y, GridStroke(t));
    w.Raw("</g>\n");
}

/// One polyline per run of usable points; a run of one point also gets a
/// dot, since a lone point would be invisible as a line. Points that fall into
/// one pixel column are drawn as the first, lowest, highest and last of them, which
/// keeps the curve's envelope and the document small.
void DrawSeries(Writer& w, const Frame& f, const Series& s) {
    std::string attrs = "stroke=\"" + std::string(s.color) + "\"";
    if (s.role == TraceRole::Background)
        attrs += " stroke-width=\"0.8\" stroke-opacity=\"0.7\"";
    else if (s.role != TraceRole::Normal)
        attrs += " stroke-width=\"2.4\"";
    w.Raw("<g " + attrs + ">\n");
    std::string points;
    size_t count = 0;
    std::string lone; // the one point of a run so far, for its dot
    auto add = [&](double px, double py) {
        if (count > 0)
            points += ' ';
        const std::string point = Px(px) + "," + Px(py);
        if (count == 0)
            lone = point;
        points += point;
        ++count;
    };
    auto flush = [&]() {
        if (count == 1)
            w.Raw("<circle cx=\"" + lone.substr(0, lone.find(',')) + "\" cy=\"" +
                  lone.substr(lone.find(',') + 1) + "\" r=\"2.5\" fill=\"" + s.color +
                  "\" stroke=\"none\"/>\n");
        if (count > 0)
            w.Raw("<polyline points=\"" + points + "\"/>\n");
        points.clear();
        count = 0;
    };
    // The points of the current pixel column: first, lowest, highest, last (pixel y grows down).
    struct Column {
        bool open = false;
        double column = 0, x0 = 0, y0 = 0, xLow = 0, yLow = 0, xHigh = 0, yHigh = 0, x1 = 0, y1 = 0;
    } c;
    auto close = [&]() {
        if (!c.open)
            return;
        add(c.x0, c.y0);
        // The extremes in the order they came, each once.
        const bool lowFirst = c.xLow <= c.xHigh;
        const double ax = lowFirst ? c.xLow : c.xHigh, ay = lowFirst ? c.yLow : c.yHigh;
        const double bx = lowFirst ? c.xHigh : c.xLow, by = lowFirst ? c.yHigh : c.yLow;
        if (ay != c.y0 || ax != c.x0)
            add(ax, ay);
        if ((by != ay || bx != ax) && (by != c.y1 || bx != c.x1))
            add(bx, by);
        if (c.y1 != c.y0 || c.x1 != c.x0)
            add(c.x1, c.y1);
        c.open = false;
    };
    const size_t n = std::min(s.x->size(), s.y.size());
    for (size_t k = 0; k < n; ++k) {
        const double xv = (*s.x)[k], yv = s.y[k];
        if (!f.Usable(xv, yv)) {
            close();
            flush();
            continue;
        }
        const double px = f.X(xv), py = f.Y(yv), column = std::floor(px);
        if (c.open && column == c.column) {
            if (py > c.yLow)
                c.xLow = px, c.yLow = py;
            if (py < c.yHigh)
                c.xHigh = px, c.yHigh = py;
            c.x1 = px, c.y1 = py;
            continue;
        }
        close();
        c = {true, column, px, py, px, py, px, py, px, py};
    }
    close();
    flush();
    w.Raw("</g>\n");
}

/// Frame, tick marks and labels. Only the lowest panel labels the shared x axis.
void DrawAxes(Writer& w, const Frame& f, const std::vector<Tick>& xticks,
              const std::vector<Tick>& yticks, const std::string& yTitle,
              const std::string* xTitle) {
    w.Rect(f.x0, f.y0, f.w, f.h, " fill=\"none\" stroke=\"#333333\"");
    for (const Tick& t : yticks) {
        const double y = f.Y(t.value);
        if (!t.major || !f.InsideY(y))
            continue;
        w.Line(f.x0 - 4, y, f.x0, y, "stroke=\"#333333\"");
        w.Text(f.x0 - 7, y + 4, t.label, "text-anchor=\"end\"");
    }
    for (const Tick& t : xticks) {
        const double x = f.X(t.value);
        if (!t.major || !f.InsideX(x))
            continue;
        w.Line(x, f.y1(), x, f.y1() + 4, "stroke=\"#333333\"");
        if (xTitle)
            w.Text(x, f.y1() + 18, t.label, "text-anchor=\"middle\"");
    }
    if (!yTitle.empty()) {
        const std::string cy = Px((f.y0 + f.y1()) / 2);
        w.Raw("<text x=\"18\" y=\"" + cy + "\" transform=\"rotate(-90 18 " + cy +
              ")\" text-anchor=\"middle\">" + XmlEscape(yTitle) + "</text>\n");
    }
    if (xTitle)
        w.Text((f.x0 + f.x1()) / 2, f.y1() + 40, *xTitle, "text-anchor=\"middle\"");
}

/// Panel `p`: background, grid, the series clipped to the frame, axes, and
/// "no data" when no series has a point to show. `xTitle` is null but for the
/// lowest panel.
void DrawPanel(Writer& w, const Panel& panel, size_t p, const Frame& f,
               const std::vector<Tick>& xticks, int yTarget, const std::string* xTitle) {
    const std::string clipId = "plot" + std::to_string(p);
    w.Raw("<defs><clipPath id=\"" + clipId + "\">" + Writer::RectTag(f.x0, f.y0, f.w, f.h, "") +
          "</clipPath></defs>\n");
    w.Rect(f.x0, f.y0, f.w, f.h, " fill=\"#fbfbfb\" stroke=\"none\"");

    const std::vector<Tick> yticks = TicksFor(panel.y, yTarget);
    DrawGrid(w, f, xticks, yticks);
    w.Raw("<g class=\"traces\" clip-path=\"url(#" + clipId +
          ")\" fill=\"none\" stroke-width=\"1.6\" stroke-linejoin=\"round\">\n");
    // Hundreds of background runs draw as a grey band whether all are drawn or a sample:
    // an even sample keeps the document small.
    const size_t background = BackgroundCount(panel.series);
    size_t seen = 0;
    for (int order = 0; order <= 2; ++order)
        for (const Series& s : panel.series) {
            if (DrawOrder(s.role) != order)
                continue;
            if (s.role == TraceRole::Background && !Sampled(seen++, background))
                continue;
            DrawSeries(w, f, s);
        }
    w.Raw("</g>\n");
    DrawAxes(w, f, xticks, yticks, panel.yTitle, xTitle);

    const bool empty = std::none_of(panel.series.begin(), panel.series.end(), [&](const Series& s) {
        for (size_t k = 0; k < std::min(s.x->size(), s.y.size()); ++k)
            if (f.Usable((*s.x)[k], s.y[k]))
                return true;
        return false;
    });
    if (empty)
        w.Text((f.x0 + f.x1()) / 2, (f.y0 + f.y1()) / 2, GetResourceText(IDS_REPORT_NO_DATA),
               "text-anchor=\"middle\" fill=\"#888888\" font-size=\"14\"");
}

/// One line of the legend: a stroke sample and a text.
struct LegendEntry {
    std::string text;
    const char* color;
    bool faint = false;
};

/// What the legend lists: every series, or, when some are background runs, the others and one
/// line counting the background runs.
std::vector<LegendEntry> LegendEntries(const std::vector<Series>& series) {
    std::vector<LegendEntry> entries;
    size_t background = 0;
    for (const Series& s : series) {
        if (s.role == TraceRole::Background)
            ++background;
        else
            entries.push_back({s.name, s.color});
    }
    if (background > 0) {
        CString text;
        if (background > kMaxBackground)
            text.Format(GetResourceText(IDS_REPORT_OTHER_RUNS_SAMPLED),
                        static_cast<unsigned>(background), static_cast<unsigned>(kMaxBackground));
        else
            text.Format(GetResourceText(IDS_REPORT_OTHER_RUNS), static_cast<unsigned>(background));
        entries.push_back({text.str(), kBackgroundColor, true});
    }
    return entries;
}

/// The longest start that every entry shares and that ends in ", " ("v(out), " of the traces
/// "v(out), Temperature=300"): the legend shows it once as a heading, and each entry by what
/// sets it apart. Empty when there is no such start or a single entry.
std::string SharedStart(const std::vector<LegendEntry>& entries) {
    if (entries.size() < 2)
        return std::string();
    std::string_view common = entries.front().text;
    for (const LegendEntry& e : entries) {
        size_t n = 0;
        while (n < common.size() && n < e.text.size() && common[n] == e.text[n])
            ++n;
        common = common.substr(0, n);
    }
    const size_t cut = common.rfind(", ");
    return cut == std::string_view::npos ? std::string() : std::string(common.substr(0, cut + 2));
}

/// Shortened to 22 bytes, never splitting a UTF-8 sequence.
std::string LegendText(std::string name) {
    if (name.size() > 22) {
        size_t cut = 21;
        while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80)
            --cut;
        name = name.substr(0, cut) + "~";
    }
    return name;
}

/// The legend right of the plot, one line per entry; a start all entries share is written once
/// above them. When they do not fit, the last line says how many more there are.
void DrawLegend(Writer& w, const std::vector<Series>& series, const Layout& layout) {
    w.Raw("<g class=\"legend\">\n");
    std::vector<LegendEntry> entries = LegendEntries(series);
    const double lx = Layout::left + layout.plotW + 16;
    double top = Layout::top + 10;
    if (const std::string shared = SharedStart(entries); !shared.empty()) {
        w.Text(lx, top + 4, LegendText(shared.substr(0, shared.size() - 2)),
               "font-weight=\"bold\"");
        top += 18;
        for (LegendEntry& e : entries)
            if (!e.faint)
                e.text = e.text.substr(shared.size());
    }
    const size_t room =
        static_cast<size_t>(std::max(1.0, (layout.height - top - Layout::bottom + 10) / 18.0));
    for (size_t i = 0; i < entries.size(); ++i) {
        double ly = top + 18.0 * static_cast<double>(i);
        if (i + 1 == room && entries.size() > room) {
            CString more;
            more.Format(GetResourceText(IDS_REPORT_MORE_TRACES),
                        static_cast<unsigned>(entries.size() - i));
            w.Text(lx, ly + 4, more.str(), "fill=\"#555555\"");
            break;
        }
        const LegendEntry& e = entries[i];
        w.Raw("<line x1=\"" + Px(lx) + "\" y1=\"" + Px(ly) + "\" x2=\"" + Px(lx + 22) + "\" y2=\"" +
              Px(ly) + "\" stroke=\"" + e.color + "\" stroke-width=\"" + (e.faint ? "1" : "2.5") +
              "\"/>\n");
        w.Text(lx + 28, ly + 4, LegendText(e.text), "");
    }
    w.Raw("</g>\n");
}

} // namespace

std::string SvgNumber(double v) {
    // Far-off values are clamped so that a huge number cannot produce an unreadable document.
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

bool HasGraph(const Page& page) {
    if (!HasX(page))
        return false;
    return std::any_of(page.traces.begin(), page.traces.end(),
                       [](const Trace& t) { return t.plotted && !t.re.empty(); });
}

std::string ToSvg(const Page& page, const SvgOptions& options) {
    std::vector<const Trace*> plotted;
    for (const Trace& t : page.traces)
        if (t.plotted)
            plotted.push_back(&t);
    const bool complexPage =
        std::any_of(plotted.begin(), plotted.end(), [](const Trace* t) { return t->IsComplex(); });
    std::vector<Panel> panels = PreparePanels(page, plotted, complexPage);
    const Layout layout(options, panels.size());
    Scale xs;
    FitScales(page, layout, complexPage, xs, panels);

    std::string out;
    Writer w(out);
    DrawHeader(w, page, layout);
    const std::vector<Tick> xticks = TicksFor(xs, layout.XTarget());
    const std::string xTitle = XTitle(page);
    double panelTop = Layout::top;
    for (size_t p = 0; p < panels.size(); ++p) {
        const Frame frame{Layout::left,          panelTop, layout.plotW,
                          layout.PanelHeight(p), xs,       panels[p].y};
        const bool lowest = p + 1 == panels.size();
        DrawPanel(w, panels[p], p, frame, xticks, layout.YTarget(p), lowest ? &xTitle : nullptr);
        panelTop = frame.y1() + Layout::gap;
    }
    DrawLegend(w, panels[0].series, layout);
    w.Raw("</svg>\n");
    return out;
}

} // namespace report
