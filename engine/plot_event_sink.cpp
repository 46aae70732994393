// The plot-event protocol: argument checks, answers and the stop poll.
#include "engine/plot_event_sink.h"

#include "engine/simulation_engine.h"

int CPlotEventSink::HandleEventIndirect(CEventSource* source, const EventData* data) {
    if (!source || !data || data->value.IsEmpty() || data->id < EVENT_BEGIN_PLOT ||
        data->id > EVENT_STOP_POLL)
        return CEventSink::HandleEventIndirect(source, data);

    const CSpiceArgs* args = data->value.GetSpiceArgsPtr();
    const auto call = [&](CSpiceArgs::Kind kind,
                          int (CPlotEventSink::*callback)(const CSpiceArgs&)) {
        if (!args || args->GetKind() != kind || !args->HasPayload())
            return 0;
        // The host reads a non-zero answer as "abort the run".
        return (this->*callback)(*args) > 0 ? 0 : 1;
    };
    switch (data->id) {
    case EVENT_BEGIN_PLOT:
        return call(CSpiceArgs::BeginPlot, &CPlotEventSink::OUTpBeginPlot);
    case EVENT_PLOT_DATA:
        return call(CSpiceArgs::Data, &CPlotEventSink::OUTpData);
    case EVENT_END_PLOT:
        return call(CSpiceArgs::EndPlot, &CPlotEventSink::OUTendPlot);
    default:
        break;
    }
    if (args && args->GetKind() == CSpiceArgs::StopPoll && owner_) {
        CASimulationEngine* engine = owner_->GetAsimEng();
        if (engine && engine->WantStopNow()) {
            engine->StopSimulation(args->GetSession());
            stopRequested_ = true;
        }
    }
    return CEventSink::HandleEventIndirect(source, data);
}

int CPlotEventSink::OUTpBeginPlot(const CSpiceArgs& /*args*/) {
    return 1;
}

int CPlotEventSink::OUTpData(const CSpiceArgs& /*args*/) {
    return 1;
}

int CPlotEventSink::OUTendPlot(const CSpiceArgs& /*args*/) {
    return 1;
}
