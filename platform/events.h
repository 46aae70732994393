// Events between the host and running analyses: sources, sinks, the event
// identifiers of the plot protocol and the variant that carries arguments.
#pragma once

#include "canal/export.h"
#include "platform/cstring.h"
#include "platform/property.h"

#include <variant>

class CSpiceArgs;

/// Event identifiers of the plot protocol between the host and a running
/// compound analysis; each carries a CSpiceArgs of the matching kind.
enum SpiceEventId : long {
    EVENT_BEGIN_PLOT = 4004, ///< CSpiceArgs::BeginPlot
    EVENT_PLOT_DATA = 4005,  ///< CSpiceArgs::Data
    EVENT_END_PLOT = 4006,   ///< CSpiceArgs::EndPlot
    EVENT_STOP_POLL = 4007,  ///< CSpiceArgs::StopPoll
};

/// A small tagged value: a number, a text, a list of texts (the names of a
/// circuit element), a property item (a parameter value) or borrowed
/// plot-callback arguments.
class CANAL_EXPORT IITVariant {
public:
    IITVariant() = default;
    IITVariant(long v) : v_(v) {}
    IITVariant(int v) : v_(static_cast<long>(v)) {}
    IITVariant(double v) : v_(v) {}
    IITVariant(const CString& v) : v_(v) {}
    IITVariant(const char* v) : v_(CString(v)) {}
    IITVariant(const CStringArray& v) : v_(v) {}
    IITVariant(const CPropertyItem& v) : v_(v) {}
    /// The arguments are borrowed: they must outlive every use of the variant.
    IITVariant(const CSpiceArgs* args) : v_(args) {}

    bool IsEmpty() const { return v_.index() == 0; }
    /// Null unless the variant holds plot-callback arguments.
    const CSpiceArgs* GetSpiceArgsPtr() const {
        auto p = std::get_if<const CSpiceArgs*>(&v_);
        return p ? *p : nullptr;
    }
    /// Null unless the variant holds a list of texts; valid while the variant lives.
    const CStringArray* GetStringArray() const { return std::get_if<CStringArray>(&v_); }
    /// Null unless the variant holds a property item; valid while the variant lives.
    const CPropertyItem* GetPropertyItem() const { return std::get_if<CPropertyItem>(&v_); }

    /// Numbers and texts convert into each other; a property item converts
    /// through its own getters (its value text for GetString); a list of
    /// texts and plot arguments give 0 and "".
    long GetLong() const;
    double GetDouble() const;
    CString GetString() const;

private:
    std::variant<std::monostate, long, double, CString, const CSpiceArgs*, CStringArray,
                 CPropertyItem>
        v_;
};

struct CANAL_EXPORT EventData {
    long id = 0;
    IITVariant value;
};

class CANAL_EXPORT CEventSource {
public:
    explicit CEventSource(const CString& name = CString()) : name_(name) {}
    virtual ~CEventSource() = default;
    const CString& GetName() const { return name_; }

private:
    CString name_;
};

/// Receives events; derived classes override HandleEventIndirect and pass
/// what they do not handle on to this base, which ignores it (returns 0).
class CANAL_EXPORT CEventSink {
public:
    CEventSink(const CString& name = CString(), const CString& description = CString())
        : name_(name), description_(description) {}
    CEventSink(const CEventSink&) = default;
    CEventSink& operator=(const CEventSink&) = default;
    virtual ~CEventSink() = default;

    virtual int HandleEventIndirect(CEventSource* source, const EventData* data);

    const CString& GetSinkName() const { return name_; }
    const CString& GetSinkDescription() const { return description_; }

private:
    CString name_;
    CString description_;
};
