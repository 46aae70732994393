// The plot-event protocol once, for every compound analysis: the checks on
// events 4004-4007, the answers to the host and the stop poll.
#pragma once

#include "analyses/core/analyses.h"
#include "canal/export.h"
#include "platform/events.h"
#include "platform/spice.h"

/// Base of every analysis that drives the simulator itself. The host hands it
/// the simulator's plot events through HandleEventIndirect; it calls the
/// analysis's OUTpBeginPlot / OUTpData / OUTendPlot and answers the stop poll
/// through the owning collection's engine.
class CANAL_EXPORT CPlotEventSink : public CEventSink {
public:
    /// `owner` (borrowed, may be null) gives the engine for the stop poll.
    CPlotEventSink(const CString& name, const CString& description, const Analyses* owner)
        : CEventSink(name, description), owner_(owner) {}

    /// Events 4004-4006 with arguments of the matching kind and a payload reach
    /// the callbacks and answer 0 when the callback returned above 0 (go on),
    /// else 1 (abort the run); with missing or mismatched arguments they answer
    /// 0 without a call. Event 4007 asks the engine whether to stop (then stops
    /// the session and sets the stop-requested flag) and is passed on like
    /// every other event to CEventSink.
    int HandleEventIndirect(CEventSource* source, const EventData* data) override;

    const Analyses* GetEventOwner() const { return owner_; }
    void SetEventOwner(const Analyses* owner) { owner_ = owner; }
    /// Set by a stop poll the engine answered with "stop"; cleared by the analysis.
    bool IsStopRequested() const { return stopRequested_; }
    void SetStopRequested(bool stop) { stopRequested_ = stop; }

private:
    // Each returns above 0 to go on, 0 or less to abort the run; the payloads
    // are borrowed for the call. The defaults go on.
    virtual int OUTpBeginPlot(const CSpiceArgs& args);
    virtual int OUTpData(const CSpiceArgs& args);
    virtual int OUTendPlot(const CSpiceArgs& args);

    const Analyses* owner_ = nullptr;
    bool stopRequested_ = false;
};
