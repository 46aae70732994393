// The compound request table and the keyword dispatch through it.
#include "engine/compound_commands.h"

#include "analyses/compound/noise_figure.h"
#include "analyses/compound/psweep.h"
#include "analyses/compound/trace_width.h"
#include "analyses/compound/wcmc_analysis.h"
#include "engine/simulation_engine.h"

#include <vector>

namespace {

// Worst case and Monte Carlo: the analysis is built on the collection, runs on
// this engine and receives the plot events through its WcMcAnalysis part.
template <class A>
int ExecuteWcMc(CASimulationEngine& engine, Analyses* analyses, const CPropertyList& record) {
    A analysis(analyses);
    WcMcAnalysis& settings = analysis;
    settings.SetEngine(&engine);
    const AnalysisSinkScope sink(engine, &settings);
    // A record that reads only in part is run as far as it goes.
    settings.fromPropertyList(record);
    return settings.ExecuteAnalysis(nullptr);
}

} // namespace

std::span<const CompoundCommand> CompoundCommands() {
    // One line per compound analysis, in this order: "psweep", "tsweep",
    // "MONTE", "WORST", "TRACEWIDTH", "NOISE_FIGURE".
    static const std::vector<CompoundCommand> table = {
        {"psweep", &Analyses::Psweep::s_ExecuteCommand},
        {"tsweep", &Analyses::Tsweep::s_ExecuteCommand},
        {"MONTE", &ExecuteWcMc<Analyses::Monte>},
        {"WORST", &ExecuteWcMc<Analyses::Worst>},
        {"TRACEWIDTH", &ExecuteTraceWidthCommand},
        {"NOISE_FIGURE", &ExecuteNoiseFigureCommand},
    };
    return table;
}

int DispatchCompoundCommand(std::span<const CompoundCommand> table, CASimulationEngine& engine,
                            Analyses* analyses, const CString& command) {
    CString text = command;
    text.TrimLeft();
    CString keyword;
    CString rest;
    if (!text.IsEmpty()) {
        const int blank = text.Find(' ');
        keyword = blank < 0 ? text : text.Left(blank);
        rest = blank < 0 ? CString() : text.Mid(blank);
    }
    const CPropertyList record(rest + "\n");

    int result = 0;
    for (const CompoundCommand& entry : table)
        if (!keyword.IsEmpty() && keyword == entry.keyword) {
            result = entry.execute(engine, analyses, record);
            break;
        }
    // Whatever the entry did, no sink may point at an analysis that is gone.
    engine.SetAnalysisEventSink(nullptr);
    return result;
}
