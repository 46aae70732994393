// Events between the host and running analyses: sources, sinks and the
// variant that carries plot-callback arguments.
#pragma once

#include "platform/cstring.h"

#include <variant>

class CSpiceArgs;

/// A small tagged value.
class IITVariant {
public:
    IITVariant() = default;
    IITVariant(long v) : v_(v) {}
    IITVariant(int v) : v_(static_cast<long>(v)) {}
    IITVariant(double v) : v_(v) {}
    IITVariant(const CString& v) : v_(v) {}
    IITVariant(const CSpiceArgs* args) : v_(args) {}

    bool IsEmpty() const { return v_.index() == 0; }
    /// Null unless the variant holds plot-callback arguments.
    const CSpiceArgs* GetSpiceArgsPtr() const {
        auto p = std::get_if<const CSpiceArgs*>(&v_);
        return p ? *p : nullptr;
    }
    long GetLong() const;
    double GetDouble() const;
    CString GetString() const;

private:
    std::variant<std::monostate, long, double, CString, const CSpiceArgs*> v_;
};

struct EventData {
    long id = 0;
    IITVariant value;
};

class CEventSource {
public:
    explicit CEventSource(const CString& name = CString()) : name_(name) {}
    virtual ~CEventSource() = default;
    const CString& GetName() const { return name_; }

private:
    CString name_;
};

/// Receives events; derived classes override HandleEventIndirect and pass
/// what they do not handle on to this base, which ignores it (returns 0).
class CEventSink {
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
