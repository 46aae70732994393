// The host objects the engine talks to: the front end (status bar) and the
// simulator snap-in (parameter changes), with the property ids they answer.
#pragma once

#include "canal/export.h"
#include "platform/events.h"

#include <cstdint>

class CTreeInstance; // the host's schematic instance; this library only passes it on

/// Property ids of the front end that the engine's status-bar texts use.
enum GuiFEProperty : long {
    GUIFE_STATUS_TEXT = 10019,      ///< the status-bar text (set)
    GUIFE_CURRENT_STATUS = 10113,   ///< the text the status bar shows now (get)
    GUIFE_SIMULATION_STATE = 10118, ///< 1 while simulating, 2 when done
    /// Runs of known count (set): the value is the number merged, the index the number in
    /// all; a count of 0 ends the progress display.
    GUIFE_RUN_PROGRESS = 10120
};

/// The host's front end. Borrowed by the engine; the host keeps it alive for as
/// long as the engine may use it.
class CANAL_EXPORT CGuiFE {
public:
    virtual ~CGuiFE() = default;
    /// Millisecond tick count at which the running simulation started.
    virtual uint32_t GetStartTickCount() const = 0;
    /// Reads property `id` into `out`; `index` selects a part when the property has several.
    virtual int GetProperty(long id, IITVariant& out, const IITVariant* index,
                            CTreeInstance* instance) = 0;
    /// Sets property `id`; `index` selects a part when the property has several.
    virtual int SetProperty(long id, const IITVariant& value, const IITVariant* index,
                            CTreeInstance* instance) = 0;
};

/// Property ids of the simulator snap-in for parameter changes.
enum SnapInProperty : long {
    SNAPIN_INSTANCE_PARAMETER = 2018, ///< names: device, model, instance, parameter
    SNAPIN_MODEL_PARAMETER = 2019,    ///< names: device, model, parameter
    /// A result for the schematic: names component, pin; value a double item
    /// "TraceWidth", the minimum trace width at that pin in mils.
    SNAPIN_TRACE_WIDTH = 2020,
};

/// The simulator snap-in: how analyses change circuit parameters between runs.
/// Borrowed by the engine.
class CANAL_EXPORT CInstrumentInterface {
public:
    virtual ~CInstrumentInterface() = default;
    /// Sets property `id` of the element that `names` (a CStringArray) names to
    /// `value` (a CPropertyItem); non-zero on success.
    virtual int SetProperty(long id, const IITVariant& names, const IITVariant& value,
                            CTreeInstance* instance) = 0;
};
