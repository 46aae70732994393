// The ngspice engine's sensitivity runs: made in a forked child, because ngspice 39 can crash
// in them, and read back under the names the analyses use.
#include "host/ngspice/engine.h"

#include "host/ngspice/dialect.h"
#include "host/ngspice/forked.h"
#include "host/ngspice/sensitivity_names.h"
#include "host/ngspice/session.h"
#include "platform/resources.h"

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace host {

namespace {

// A BJT model without an epitaxial-layer resistance crashes ngspice 39's sensitivity analysis
// (its load writes matrix elements that the analysis never allocated). With one so small that
// it changes nothing measurable, the elements exist. Only the throwaway child sees it.
constexpr const char* kBjtSensRepair = " rco = 1e-9";

} // namespace

ForkOutcome NgSpiceEngine::SensitivityChild(const std::string& command,
                                            const std::vector<std::string>& repairs) {
    return RunForked(
        [&](ByteWriter& out) {
            const NgSpiceSession::ListenerScope quiet(session_, nullptr);
            // Saved node lists make ngspice's sensitivity find nothing to save.
            (void)session_.Command("delete all");
            for (const std::string& repair : repairs)
                (void)session_.Command(repair);
            const CommandResult r = session_.Command(command);
            out.U32(r.ok ? 1 : 0);
            out.Text(r.error);
            out.U32(static_cast<uint32_t>(r.plots.size()));
            VectorData v;
            for (const std::string& plot : r.plots) {
                std::string scale;
                const std::vector<std::string> names = session_.PlotVectors(plot, &scale);
                out.Text(plot);
                out.Text(session_.PlotType(plot));
                out.Text(scale);
                out.U32(static_cast<uint32_t>(names.size()));
                for (const std::string& n : names) {
                    const bool read = session_.ReadVector(plot + "." + n, v);
                    out.Text(n);
                    out.Doubles(read ? v.re : std::vector<double>());
                    out.Doubles(read ? v.im : std::vector<double>());
                }
            }
        },
        [this] { return WantStopNow() != 0; });
}

/// One plot the sensitivity child sent back, with ngspice's names.
struct SensitivityPlot {
    std::string name, title, scale;
    std::vector<std::string> names;
    std::vector<std::vector<double>> re, im; ///< per vector
};

std::vector<std::string> NgSpiceEngine::BjtSensitivityRepairs(std::string& repaired) const {
    // BJT models whose "rco" was not given (ngspice then reports its default, 0.01) are what
    // crashes ngspice 39; with a negligible one they do not.
    std::vector<std::string> repairs;
    for (const CircuitContents::Element& m : contents_.models) {
        const auto rco = std::find_if(m.params.begin(), m.params.end(),
                                      [](const CSpiceParameter& p) { return p.name == "rco"; });
        const double value = rco != m.params.end() ? rco->value.GetDouble() : 0.0;
        if (m.kind == "BJT" && m.name.find(':') == std::string::npos &&
            (value == 0.0 || value == 0.01)) {
            repairs.push_back("altermod " + m.name + kBjtSensRepair);
            repaired += (repaired.empty() ? "" : " ") + m.name;
        }
    }
    return repairs;
}

bool NgSpiceEngine::SensitivityPlots(const std::string& command,
                                     const std::vector<std::string>& repairs,
                                     std::vector<SensitivityPlot>& plots, bool* crashed) {
    const ForkOutcome outcome = SensitivityChild(command, repairs);
    if (!outcome.started) {
        Fail(GetResourceText(IDS_HOST_SENS_NO_CHILD) + outcome.error);
        return false;
    }
    if (outcome.stopped) {
        Fail(GetResourceText(IDS_HOST_SENS_STOPPED));
        return false;
    }
    if (outcome.Crashed()) {
        Fail(CString::Formatted(GetResourceText(IDS_HOST_SENS_CRASHED), outcome.Ending().c_str())
                 .str());
        if (crashed)
            *crashed = true;
        return false;
    }
    ByteReader in(outcome.data);
    const bool ok = in.U32() != 0;
    const std::string error = in.Text();
    if (!ok) {
        Fail(error);
        return false;
    }
    plots.clear();
    const uint32_t count = in.U32();
    for (uint32_t p = 0; p < count && in.Ok(); ++p) {
        SensitivityPlot& plot = plots.emplace_back();
        plot.name = in.Text();
        plot.title = in.Text();
        plot.scale = in.Text();
        const uint32_t vectors = in.U32();
        for (uint32_t i = 0; i < vectors && in.Ok(); ++i) {
            plot.names.push_back(in.Text());
            plot.re.push_back(in.Doubles());
            plot.im.push_back(in.Doubles());
        }
    }
    return in.Ok();
}

bool NgSpiceEngine::RunSensitivity(const std::string& statement) {
    EnsureRead(); // the names of the plot and the repairs come from the circuit's members
    const AnalysisCommand a = MapAnalysis(Tokens(statement));
    std::vector<std::string> repairs;
    std::vector<SensitivityPlot> plots;
    bool crashed = false;
    if (!SensitivityPlots(a.command, repairs, plots, &crashed)) {
        std::string repaired;
        if (!repairSensitivity_ || !crashed ||
            (repairs = BjtSensitivityRepairs(repaired)).empty() ||
            !SensitivityPlots(a.command, repairs, plots))
            return false;
        lastError_.clear();
        messages_.push_back(GetResourceText(IDS_HOST_SENS_REPAIRED) + repaired);
    }

    // ngspice 39 gets an AC sensitivity right only at the first frequency that a process
    // computes; every further frequency is worked out in a fresh child of its own.
    const auto ac = std::find(a.args.begin(), a.args.end(), "ac");
    std::string single = "sens";
    for (auto it = a.args.begin(); it != ac; ++it)
        single += " " + *it;
    for (SensitivityPlot& plot : plots) {
        const auto scale = std::find(plot.names.begin(), plot.names.end(), plot.scale);
        if (ac == a.args.end() || scale == plot.names.end())
            continue;
        const std::vector<double> frequencies =
            plot.re[static_cast<std::size_t>(scale - plot.names.begin())];
        for (std::size_t k = 1; k < frequencies.size(); ++k) {
            const std::string f = CString::Formatted("%.17g", frequencies[k]).str();
            std::vector<SensitivityPlot> point;
            if (WantStopNow()) {
                Fail(GetResourceText(IDS_HOST_SENS_STOPPED));
                return false;
            }
            if (!SensitivityPlots(single + " ac lin 1 " + f + " " + f, repairs, point))
                return false;
            if (point.empty())
                continue;
            for (std::size_t v = 0; v < plot.names.size(); ++v) {
                const auto at =
                    std::find(point[0].names.begin(), point[0].names.end(), plot.names[v]);
                if (at == point[0].names.end() || &plot.names[v] == &*scale)
                    continue;
                const std::size_t i = static_cast<std::size_t>(at - point[0].names.begin());
                if (k < plot.re[v].size() && !point[0].re[i].empty())
                    plot.re[v][k] = point[0].re[i].front();
                if (k < plot.im[v].size() && !point[0].im[i].empty())
                    plot.im[v][k] = point[0].im[i].front();
            }
        }
    }

    std::map<std::string, SensitivityElement> elements;
    for (const CircuitContents::Element& i : contents_.instances)
        elements.emplace(Lower(i.name), SensitivityElement{i.model, PrincipalParameter(i.kind)});
    const SensitivityLookup lookup = [&](std::string_view name) -> const SensitivityElement* {
        const auto it = elements.find(std::string(name));
        return it == elements.end() ? nullptr : &it->second;
    };
    for (const SensitivityPlot& plot : plots) {
        CSpicePlotInfo info;
        info.name = CString(plot.name);
        info.title = CString(plot.title);
        info.type = AT_SENS;
        const std::vector<SensitivityColumn> columns =
            CanonicalSensitivityColumns(plot.names, lookup);
        std::size_t rows = 0;
        for (const auto& r : plot.re)
            rows = std::max(rows, r.size());
        std::vector<std::vector<double>> real(rows, std::vector<double>(columns.size())),
            imag(rows, std::vector<double>(columns.size()));
        for (std::size_t c = 0; c < columns.size(); ++c) {
            info.vectorNames.emplace_back(columns[c].name);
            bool complex = false;
            for (std::size_t s : columns[c].sources) {
                complex = complex || !plot.im[s].empty();
                for (std::size_t r = 0; r < rows; ++r) {
                    real[r][c] += r < plot.re[s].size() ? plot.re[s][r] : 0.0;
                    imag[r][c] += r < plot.im[s].size() ? plot.im[s][r] : 0.0;
                }
            }
            info.vectorIsComplex.push_back(complex);
            if (columns[c].name == plot.scale)
                info.scaleIndex = static_cast<int>(c);
        }
        forwarder_.DeliverPlot(info, real, imag);
    }
    return true;
}

} // namespace host
