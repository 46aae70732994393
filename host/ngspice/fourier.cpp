// Fourier: the command sent to ngspice and its printed table turned into charts and a spectrum.
#include "host/ngspice/fourier.h"

#include "host/ngspice/dialect.h"
#include "platform/resources.h"

namespace host {

FourierStatement ParseFourierStatement(const std::vector<std::string>& tokens) {
    FourierStatement f;
    f.command = "fourier";
    for (std::size_t i = 1; i < tokens.size(); ++i) {
        const std::string t = Lower(tokens[i]);
        if (t.front() != '/') {
            f.command += " " + GroundToZero(t);
            continue;
        }
        if (t == "/nochart")
            f.chart = false;
        else if (t == "/plot")
            f.graph = true;
        else if (t == "/norm")
            f.normalised = true;
        else if (t == "/+phase")
            f.phase = true;
        else if (t == "/bar")
            f.bar = true;
    }
    return f;
}

// ngspice prints, per vector: "Fourier analysis for NAME:", a summary line with the THD, two
// header lines and one row per harmonic: harmonic, frequency, magnitude, phase, normalised
// magnitude, normalised phase.
std::vector<FourierSeries> ReadFourierPrintout(const std::vector<std::string>& lines) {
    static constexpr std::string_view kHead = "Fourier analysis for ";
    std::vector<FourierSeries> series;
    for (const auto& line : lines) {
        const std::string t = Trim(line);
        if (t.rfind(kHead, 0) == 0) {
            FourierSeries s;
            s.name = t.substr(kHead.size());
            if (!s.name.empty() && s.name.back() == ':')
                s.name.pop_back();
            series.push_back(std::move(s));
            continue;
        }
        if (series.empty())
            continue;
        const auto thd = t.find("THD:");
        if (thd != std::string::npos) {
            const auto end = t.find('%', thd);
            series.back().thd = Trim(std::string_view(t).substr(thd + 4, end - thd - 4));
            continue;
        }
        const std::vector<std::string> cells = Tokens(t);
        double harmonic = 0;
        if (cells.size() == 6 && ParseNumber(cells[0], harmonic))
            series.back().rows.push_back(
                {cells[0], cells[1], cells[2], cells[4], cells[3], cells[5]});
    }
    return series;
}

report::Chart FourierChart(const FourierSeries& series) {
    report::Chart c;
    c.title = std::string(GetResourceText(IDS_HOST_FOURIER_CHART)) + series.name;
    c.columns = {
        GetResourceText(IDS_HOST_COL_HARMONIC),  GetResourceText(IDS_HOST_COL_FREQUENCY),
        GetResourceText(IDS_HOST_COL_MAGNITUDE), GetResourceText(IDS_HOST_COL_NORM_MAGNITUDE),
        GetResourceText(IDS_HOST_COL_PHASE),     GetResourceText(IDS_HOST_COL_NORM_PHASE)};
    for (const auto& row : series.rows)
        c.rows.emplace_back(row.begin(), row.end());
    if (!series.thd.empty())
        c.rows.push_back({GetResourceText(IDS_HOST_FOURIER_THD), series.thd, "", "", "", ""});
    return c;
}

void FillSpectrumPage(const std::vector<FourierSeries>& series, const FourierStatement& displays,
                      report::Page& page) {
    page.plotName = "fourier";
    page.plotType = GetResourceText(IDS_HOST_FOURIER_PLOT_TYPE);
    page.xName = "frequency";
    page.xAxis.label = "frequency (Hz)";
    page.xAxis.scale = "lin";
    if (displays.bar)
        page.log.push_back(GetResourceText(IDS_HOST_BAR_GRAPH));
    const bool norm = displays.normalised;
    for (const auto& s : series) {
        report::Trace mag, ph;
        mag.name = (norm ? "norm mag(" : "mag(") + s.name + ")";
        ph.name = (norm ? "norm phase(" : "phase(") + s.name + ")";
        std::vector<double> x;
        for (const auto& row : s.rows) {
            double f = 0, m = 0, a = 0;
            // A cell ngspice printed as something else than a number counts as 0.
            (void)ParseNumber(row[1], f);
            (void)ParseNumber(norm ? row[3] : row[2], m);
            (void)ParseNumber(norm ? row[5] : row[4], a);
            x.push_back(f);
            mag.re.push_back(m);
            ph.re.push_back(a);
        }
        if (page.x.empty())
            page.x = std::move(x);
        page.traces.push_back(std::move(mag));
        if (displays.phase)
            page.traces.push_back(std::move(ph));
    }
}

} // namespace host
