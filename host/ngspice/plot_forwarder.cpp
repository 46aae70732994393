// Plot callbacks to plot events: naming once per plot, one reused row buffer.
#include "host/ngspice/plot_forwarder.h"

#include "engine/simulation_engine.h"
#include "host/ngspice/dialect.h"
#include "host/ngspice/pin_probes.h"

#include <utility>

namespace host {

namespace {

bool IsNoisePlotName(std::string_view plot) {
    return plot.substr(0, 5) == "noise";
}

} // namespace

ANALYSIS_TYPE PlotAnalysisType(std::string_view plot, std::string_view title) {
    if (title == "Integrated Noise")
        return AT_NONE;
    static const std::pair<std::string_view, ANALYSIS_TYPE> kTypes[] = {
        {"tran", AT_TRAN}, {"noise", AT_NOISE}, {"disto", AT_DISTO},
        {"sens", AT_SENS}, {"op", AT_OP},       {"ac", AT_AC},
        {"dc", AT_DC},     {"pz", AT_PZ},       {"tf", AT_TF},
    };
    for (const auto& [prefix, type] : kTypes)
        if (plot.substr(0, prefix.size()) == prefix && plot.size() > prefix.size() &&
            plot[prefix.size()] >= '0' && plot[prefix.size()] <= '9')
            return type;
    return AT_NONE;
}

std::string AnalysisVectorName(const std::string& vector, bool isScale) {
    constexpr std::string_view kBranch = "#branch";
    if (isScale || vector.empty() || vector.front() == '@' || vector.find('(') != std::string::npos)
        return vector;
    if (vector.size() > kBranch.size() &&
        std::string_view(vector).substr(vector.size() - kBranch.size()) == kBranch)
        return "i(" + vector.substr(0, vector.size() - kBranch.size()) + ")";
    return "v(" + vector + ")";
}

int PlotEventForwarder::Send(long id, const CSpiceArgs& args) {
    const EventData data{id, IITVariant(&args)};
    return engine_.SendAnalysisEvent(&source_, data);
}

void PlotEventForwarder::Begin() {
    open_ = true;
    aborted_ = Send(EVENT_BEGIN_PLOT, CSpiceArgs(CSpiceArgs::BeginPlot, &plot_)) != 0;
}

void PlotEventForwarder::OnBeginPlot(const PlotInfo& plot) {
    Finish();
    plot_.name = CString(plot.name);
    plot_.title = CString(plot.type);
    plot_.type = PlotAnalysisType(plot.name, plot.type);
    const bool nodePlot = IsNodePlot(plot.name);
    // Every run of a compound analysis makes the same plot: name its vectors once.
    bool same = lastRaw_.size() == plot.vectors.size();
    for (std::size_t i = 0; same && i < plot.vectors.size(); ++i)
        same = lastRaw_[i] == plot.vectors[i].name;
    if (!same) {
        lastRaw_.clear();
        kept_.clear();
        plot_.vectorNames.clear();
        for (std::size_t i = 0; i < plot.vectors.size(); ++i) {
            const PlotVectorInfo& v = plot.vectors[i];
            lastRaw_.push_back(v.name);
            // ngspice marks the first node of an operating point as its scale; it has no x.
            const bool scale = v.isScale && plot_.type != AT_OP;
            std::string name = nodePlot ? AnalysisVectorName(v.name, scale) : v.name;
            if (renames_) {
                if (const auto it = renames_->find(v.name); it != renames_->end())
                    name = it->second;
                else if (IsProbeName(v.name))
                    continue;
            }
            kept_.push_back(i);
            plot_.vectorNames.emplace_back(std::move(name));
        }
        filtered_ = kept_.size() != plot.vectors.size();
    }
    plot_.vectorIsComplex.resize(kept_.size());
    plot_.scaleIndex = -1;
    for (std::size_t k = 0; k < kept_.size(); ++k) {
        const PlotVectorInfo& v = plot.vectors[kept_[k]];
        plot_.vectorIsComplex[k] = !v.isReal;
        if (v.isScale && plot_.scaleIndex < 0)
            plot_.scaleIndex = static_cast<int>(k);
    }
    // An operating point and the integrated noise are one row each, without an x.
    if (plot_.type == AT_OP || (plot_.type == AT_NONE && IsNoisePlotName(plot.name)))
        plot_.scaleIndex = -1;
    Begin();
}

void PlotEventForwarder::OnData(const DataRow& row) {
    if (!open_ || aborted_)
        return;
    if (filtered_) {
        row_.real.resize(kept_.size());
        row_.imag.resize(kept_.size());
        for (std::size_t k = 0; k < kept_.size(); ++k) {
            const std::size_t i = kept_[k] < row.count ? kept_[k] : 0;
            row_.real[k] = row.re[i];
            row_.imag[k] = row.im[i];
        }
    } else {
        row_.real.assign(row.re, row.re + row.count);
        row_.imag.assign(row.im, row.im + row.count);
    }
    if (Send(EVENT_PLOT_DATA, CSpiceArgs(CSpiceArgs::Data, &row_)) != 0)
        aborted_ = true;
}

void PlotEventForwarder::OnEndPlot() {
    Finish();
}

void PlotEventForwarder::Finish() {
    if (!open_)
        return;
    open_ = false;
    Send(EVENT_END_PLOT, CSpiceArgs(CSpiceArgs::EndPlot, &plot_));
}

bool PlotEventForwarder::OnStopPoll() {
    Send(EVENT_STOP_POLL, CSpiceArgs(CSpiceArgs::StopPoll, session_));
    return engine_.WantStopNow() != 0;
}

void PlotEventForwarder::DeliverPlot(const CSpicePlotInfo& plot,
                                     const std::vector<std::vector<double>>& real,
                                     const std::vector<std::vector<double>>& imag) {
    Finish();
    plot_ = plot;
    lastRaw_.clear();
    filtered_ = false;
    Begin();
    for (std::size_t r = 0; r < real.size() && !aborted_; ++r) {
        row_.real = real[r];
        if (r < imag.size())
            row_.imag = imag[r];
        else
            row_.imag.assign(row_.real.size(), 0.0);
        if (Send(EVENT_PLOT_DATA, CSpiceArgs(CSpiceArgs::Data, &row_)) != 0)
            aborted_ = true;
    }
    Finish();
}

} // namespace host
