// Result pages: what a run produces for a person to look at. One page per
// scope of a script; each holds traces over a common x axis, axis settings,
// optional charts (tables such as Fourier results) and a text log.
#pragma once

#include "canal/export.h"
#include "platform/chartlog.h"
#include "platform/cstring.h"

#include <string>
#include <vector>

namespace report {

/// How a trace is drawn among many: the runs of a statistical analysis are drawn faintly behind
/// the nominal and the worst run, which the legend names.
enum class TraceRole { Normal, Background, Nominal, Worst };

/// One named series of y values over the page's x values, or over its own (the runs of a
/// compound analysis each have their time points). Complex traces carry an imaginary part of
/// the same length; real traces leave it empty.
struct CANAL_EXPORT Trace {
    std::string name;
    std::vector<double> re;
    std::vector<double> im;
    bool plotted = true;   ///< shown on the graph (the "iplot" set); saved traces may be CSV-only
    std::vector<double> x; ///< the trace's own x values; empty: the page's
    TraceRole role = TraceRole::Normal;
    bool IsComplex() const { return !im.empty(); }
};

struct CANAL_EXPORT Axis {
    std::string label;         ///< e.g. "frequency (Hz)", "time (s)"
    std::string scale = "lin"; ///< "lin" or "log" (the page's "-param" scales; dec/oct plot as log)
    bool hasRange = false;
    double min = 0.0;
    double max = 0.0;
};

/// A table of rows, e.g. Fourier components per harmonic.
struct CANAL_EXPORT Chart {
    std::string title;
    std::vector<std::string> columns;
    std::vector<std::vector<std::string>> rows;
};

/// The spread of one measured quantity over the runs of a statistical analysis, with the
/// statistics the analysis reported (in the quantity's unit).
struct CANAL_EXPORT Histogram {
    std::string quantity;       ///< what was measured, "MAX of v(out)"
    std::string unit;           ///< "V", "A" or ""
    std::vector<double> values; ///< one per valid run
    double mean = 0.0;
    double sigma = 0.0;
    bool hasNominal = false;
    double nominal = 0.0;
    bool hasWorst = false;
    double worst = 0.0;
};

struct CANAL_EXPORT Page {
    std::string title;    ///< from "begin-scope page TITLE"
    std::string plotName; ///< the simulator's plot name ("ac1", "tran2", ...)
    std::string plotType; ///< the simulator's plot title ("AC Analysis", ...)
    std::string xName; ///< name of the x vector ("frequency", "time", ...); empty for op-like pages
    std::vector<double> x;
    Axis xAxis;
    Axis yAxis;
    std::vector<Trace> traces;
    std::vector<Chart> charts;
    std::vector<std::string> log; ///< ngspice output, show/showmod text, messages
    std::vector<Histogram> histograms;
    bool failed = false;
    std::string error; ///< the simulator's own message when a statement failed
};

/// The x values of `trace` on `page`: its own, else the page's. The reference lives as long
/// as both.
inline const std::vector<double>& XOf(const Page& page, const Trace& trace) {
    return trace.x.empty() ? page.x : trace.x;
}

/// Whether the page or one of its traces has x values (a graph, an x column).
inline bool HasX(const Page& page) {
    if (!page.x.empty())
        return true;
    for (const Trace& t : page.traces)
        if (!t.x.empty())
            return true;
    return false;
}

} // namespace report
