// ngspice's plot callbacks as the engine's plot events 4004-4007, for the running analysis.
#pragma once

#include "host/ngspice/session.h"
#include "platform/events.h"
#include "platform/spice.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

class CASimulationEngine;

namespace host {

/// The analysis type of an ngspice plot by its name ("tran3" is AT_TRAN) and title; AT_NONE when
/// unknown. A noise analysis makes two plots, the spectral densities and then the integrated
/// noise ("Integrated Noise", one row): only the first is a noise plot, since the analyses that
/// read noise start over at every noise plot.
ANALYSIS_TYPE PlotAnalysisType(std::string_view plot, std::string_view title = {});

/// The name an analysis reads for a vector of a node plot (operating point, AC, DC, transient):
/// "out" is "v(out)", "v1#branch" is "i(v1)", the scale ("time", "frequency") and device
/// quantities ("@r1[i]") keep their names.
std::string AnalysisVectorName(const std::string& vector, bool isScale);

/// Sends the plot data of the session's commands to the engine's analysis event sink: 4004 when
/// a plot begins (its vectors named as the analyses read them), 4005 per data row, 4006 when the
/// plot ends, and 4007 stop polls between rows (as often as the session asks) and between runs.
/// Rows reuse one buffer; nothing is allocated per row. Without a sink the data is dropped.
class PlotEventForwarder : public PlotListener {
public:
    /// `engine` and `session` are borrowed; `session` is the payload of the stop polls.
    PlotEventForwarder(CASimulationEngine& engine, CSpiceSession* session)
        : engine_(engine), session_(session), source_("ngspice") {}

    /// Vector names to forward under another name (ngspice name -> name the analysis reads),
    /// checked before the usual naming; borrowed, may be null. With renames, the other vectors
    /// of the pin probes (their inner nodes) are left out of the plots.
    void SetRenames(const std::map<std::string, std::string>* renames) {
        renames_ = renames;
        lastRaw_.clear();
    }

    void OnBeginPlot(const PlotInfo& plot) override;
    void OnData(const DataRow& row) override;
    void OnEndPlot() override;
    /// Sends 4007; true when the engine wants the run to stop.
    bool OnStopPoll() override;

    /// Delivers a whole plot computed elsewhere (the sensitivity child's): 4004, a 4005 per row
    /// of `real`/`imag` (one value per vector each), 4006.
    void DeliverPlot(const CSpicePlotInfo& plot, const std::vector<std::vector<double>>& real,
                     const std::vector<std::vector<double>>& imag);
    /// Ends a plot left open (a failed command) with its 4006.
    void Finish();

private:
    int Send(long id, const CSpiceArgs& args);
    void Begin();

    CASimulationEngine& engine_;
    CSpiceSession* session_;
    CEventSource source_;
    const std::map<std::string, std::string>* renames_ = nullptr;
    CSpicePlotInfo plot_;
    CSpiceDataRow row_;
    std::vector<std::string> lastRaw_; ///< ngspice's names of the last plot, to reuse plot_'s
    std::vector<std::size_t> kept_;    ///< ngspice's vectors forwarded, when some are left out
    bool filtered_ = false;
    bool open_ = false;
    bool aborted_ = false; ///< the analysis answered a row with "abort": the rest is dropped
};

} // namespace host
