// The circuit as the simulator sees it: sessions, circuits, device kinds, models,
// instances, their parameters, and the positions and iterators that walk them.
#pragma once

#include "canal/export.h"
#include "platform/cstring.h"
#include "platform/property.h"

#include <memory>
#include <optional>
#include <vector>

// Ownership: a session owns its current circuit's storage through a shared
// handle; every CSpiceCircuit, CSpiceDevice, CSpiceModel, CSpiceInstance and
// position is a small handle that shares that storage and names its element
// by indices. The storage only ever grows, so a handle or position stays valid
// for as long as anyone holds it. Rebuilding a circuit (CSpiceSession::
// NewCircuit) gives the session new storage: handles into the old circuit go on
// reading the old one, and members find their element again by name.
//
// Names of device kinds, models and instances are looked up ignoring case,
// as the simulator's own netlist names are.

struct CSpiceCircuitData;
struct SpiceDeviceData;
struct SpiceModelData;
struct SpiceInstanceData;
class CSpiceCircuit;
class CSpiceDevice;
class CSpiceModel;
class CSpiceInstance;
class CSpiceSession;

/// One parameter of a model or instance as the simulator reports it.
struct CANAL_EXPORT CSpiceParameter {
    CSpiceParameter(const CString& name, const CPropertyItem& value,
                    const CString& description = CString(),
                    const CString& mode = CString("InputOutput"));
    CSpiceParameter(const CString& name, double value, const CString& description = CString(),
                    const CString& mode = CString("InputOutput"));

    CString name;
    CPropertyItem value; ///< always labelled "value"; an empty item when unknown
    CString description;
    CString mode; ///< "Input", "Output" or "InputOutput"

    /// name, value (left out when empty), description, mode: the record an
    /// engine hands out for this parameter under the key "param".
    CPropertyList toPropertyList() const;
};
using CSpiceParameterList = std::vector<CSpiceParameter>;

/// One "param" item per parameter, in order: what an engine's
/// GetInstanceValues / GetModelValues return for an element.
CANAL_EXPORT CPropertyList SpiceParameterRecords(const CSpiceParameterList& params);

/// What a session hands out so that a CSpiceCircuit can be built on it.
class CANAL_EXPORT CSpiceInstanceHandle {
public:
    CSpiceInstanceHandle() = default;

private:
    explicit CSpiceInstanceHandle(std::shared_ptr<CSpiceCircuitData> data)
        : data_(std::move(data)) {}
    std::shared_ptr<CSpiceCircuitData> data_;
    friend class CSpiceSession;
    friend class CSpiceCircuit;
};

/// A circuit: the simulator's table of device kinds, and per kind its models
/// and their instances. A default-constructed circuit is empty and belongs to
/// no session; the first AddDevice gives it storage of its own.
class CANAL_EXPORT CSpiceCircuit {
public:
    CSpiceCircuit() = default;
    explicit CSpiceCircuit(const CSpiceInstanceHandle& handle);

    /// Number of device kinds in the table (kinds without models included).
    int GetDeviceCount() const;
    /// The device kind called `name`, or an invalid device.
    CSpiceDevice FindDevice(const CString& name) const;
    /// The device kind at `index` of the table, or an invalid device.
    CSpiceDevice GetDevice(int index) const;
    /// Builder: the kind called `name`, appended to the table when it is new.
    CSpiceDevice AddDevice(const CString& name);

    /// True when both handles share the same storage.
    bool IsSameCircuit(const CSpiceCircuit& other) const { return data_ == other.data_; }

private:
    explicit CSpiceCircuit(std::shared_ptr<CSpiceCircuitData> data) : data_(std::move(data)) {}
    std::shared_ptr<CSpiceCircuitData> data_;
    friend class CSpiceSession;
    friend class CSpiceDevice;
};

/// One device kind of a circuit ("Resistor", "Vsource", ...) at its index in
/// the simulator's table.
class CANAL_EXPORT CSpiceDevice {
public:
    class model_iterator;
    class instance_iterator;
    class generic_iterator;

    CSpiceDevice() = default;
    /// The kind at `deviceIndex` in the session's current circuit.
    CSpiceDevice(int deviceIndex, const CSpiceSession& session);
    CSpiceDevice(int deviceIndex, const CSpiceCircuit& circuit);

    bool IsValid() const;
    int GetIndex() const { return index_; }
    CString GetName() const;
    int GetModelCount() const;
    CSpiceModel GetModel(int index) const;
    /// The model called `name` of this kind in `circuit`, or an invalid model.
    CSpiceModel FindModel(const CSpiceCircuit& circuit, const CString& name) const;
    /// Builder: appends a model with its parameters; invalid on an invalid device.
    CSpiceModel AddModel(const CString& name, const CSpiceParameterList& params = {});

    friend bool operator==(const CSpiceDevice&, const CSpiceDevice&) = default;

private:
    CSpiceDevice(std::shared_ptr<CSpiceCircuitData> data, int index);
    SpiceDeviceData* Data() const; ///< null when invalid
    std::shared_ptr<CSpiceCircuitData> data_;
    int index_ = -1;
    friend class CSpiceCircuit;
    friend class CSpiceModel;
    friend class CSpiceInstance;
};

/// One model of a device kind.
class CANAL_EXPORT CSpiceModel {
public:
    CSpiceModel() = default;

    bool IsValid() const;
    CString GetName() const;
    CSpiceDevice GetDevice() const { return device_; }
    int GetInstanceCount() const;
    CSpiceInstance GetInstance(int index) const;
    /// The instance called `name` of this model, or an invalid instance.
    CSpiceInstance FindInstance(const CString& name) const;
    /// A copy of the parameters; empty for an invalid model.
    CSpiceParameterList GetParameters() const;
    /// Replaces the value of parameter `name`, or appends the parameter; 0 on
    /// an invalid model.
    int SetParameterValue(const CString& name, const CPropertyItem& value);
    /// Builder: appends an instance and returns this model, so that several
    /// instances chain.
    CSpiceModel AddInstance(const CString& name, const CSpiceParameterList& params = {});

    friend bool operator==(const CSpiceModel&, const CSpiceModel&) = default;

private:
    CSpiceModel(const CSpiceDevice& device, int index) : device_(device), index_(index) {}
    SpiceModelData* Data() const; ///< null when invalid
    CSpiceDevice device_;
    int index_ = -1;
    friend class CSpiceDevice;
    friend class CSpiceInstance;
};

/// One instance ("r1") of a model.
class CANAL_EXPORT CSpiceInstance {
public:
    CSpiceInstance() = default;

    bool IsValid() const;
    CString GetName() const;
    CSpiceModel GetModel() const { return model_; }
    CSpiceDevice GetDevice() const { return model_.GetDevice(); }
    /// A copy of the parameters; empty for an invalid instance.
    CSpiceParameterList GetParameters() const;
    /// Replaces the value of parameter `name`, or appends the parameter; 0 on
    /// an invalid instance.
    int SetParameterValue(const CString& name, const CPropertyItem& value);

    friend bool operator==(const CSpiceInstance&, const CSpiceInstance&) = default;

private:
    CSpiceInstance(const CSpiceModel& model, int index) : model_(model), index_(index) {}
    SpiceInstanceData* Data() const; ///< null when invalid
    CSpiceModel model_;
    int index_ = -1;
    friend class CSpiceModel;
};

/// Walks the models of one device kind in order.
class CANAL_EXPORT CSpiceDevice::model_iterator {
public:
    model_iterator() = default;
    explicit model_iterator(const CSpiceDevice& device);

    bool IsValid() const { return model_ < device_.GetModelCount(); }
    model_iterator& operator++();
    CSpiceModel operator*() const { return device_.GetModel(model_); }

private:
    CSpiceDevice device_;
    int model_ = 0;
    friend class CSpiceDevice::generic_iterator;
};

/// Walks every instance of one device kind, model by model.
class CANAL_EXPORT CSpiceDevice::instance_iterator {
public:
    instance_iterator() = default;
    explicit instance_iterator(const CSpiceDevice& device);

    bool IsValid() const { return model_ < device_.GetModelCount(); }
    instance_iterator& operator++();
    CSpiceInstance operator*() const { return device_.GetModel(model_).GetInstance(instance_); }
    CSpiceModel GetModel() const { return device_.GetModel(model_); }

private:
    void SkipEmptyModels();
    CSpiceDevice device_;
    int model_ = 0;
    int instance_ = 0;
    friend class CSpiceDevice::generic_iterator;
};

/// A position over either the instances (isinst 1) or the models (isinst 0)
/// of one device kind.
class CANAL_EXPORT CSpiceDevice::generic_iterator {
public:
    generic_iterator(const model_iterator& models, const instance_iterator& instances, int isinst);
    /// At the first instance (isinst 1) or model (isinst 0) of `device`.
    generic_iterator(const CSpiceDevice& device, int isinst)
        : generic_iterator(model_iterator(device), instance_iterator(device), isinst) {}

    bool IsValid() const { return isinst_ ? instances_.IsValid() : models_.IsValid(); }
    void Advance();
    int IsInstance() const { return isinst_; }

    CSpiceDevice GetDevice() const { return models_.device_; }
    /// The model at the position, or the model of the instance at it.
    CSpiceModel GetModel() const;
    /// The instance at the position; invalid on a model position.
    CSpiceInstance GetInternalInstance() const;
    /// The model at the position (the instance's model on an instance position).
    CSpiceModel GetInternalModel() const { return GetModel(); }

    friend bool operator==(const generic_iterator& a, const generic_iterator& b);

private:
    model_iterator models_;
    instance_iterator instances_;
    int isinst_ = 1;
};

/// A copyable, possibly empty position: what a device member keeps of where its
/// element is. Invalid when default-constructed or walked past the end.
class CANAL_EXPORT CSpiceDevice_generic_iterator_wrapper {
public:
    CSpiceDevice_generic_iterator_wrapper() = default;
    explicit CSpiceDevice_generic_iterator_wrapper(const CSpiceDevice::generic_iterator& it)
        : it_(it) {}

    bool IsValid() const { return it_ && it_->IsValid(); }
    /// Steps to the next element; nothing on an empty wrapper.
    void Advance();
    CSpiceDevice_generic_iterator_wrapper& operator++() {
        Advance();
        return *this;
    }
    /// 1 for an instance position, 0 for a model position or an empty wrapper.
    int IsInstance() const { return it_ ? it_->IsInstance() : 0; }
    /// The wrapped position; only when IsValid().
    const CSpiceDevice::generic_iterator& operator*() const { return *it_; }
    const CSpiceDevice::generic_iterator* operator->() const { return &*it_; }

    /// Two valid wrappers on the same element, or two invalid ones.
    bool IsSamePosition(const CSpiceDevice_generic_iterator_wrapper& other) const;

private:
    std::optional<CSpiceDevice::generic_iterator> it_;
};

/// A simulator session and its current circuit. Not copyable: plot events
/// name the running session by address.
class CANAL_EXPORT CSpiceSession {
public:
    CSpiceSession();
    CSpiceSession(const CSpiceSession&) = delete;
    CSpiceSession& operator=(const CSpiceSession&) = delete;

    CSpiceCircuit GetCurrentCircuit() const { return current_; }
    CSpiceInstanceHandle GetInstanceHandle() const { return CSpiceInstanceHandle(current_.data_); }
    /// Rebuild: the current circuit becomes a new one with the same table of
    /// device kinds and no models. Returns it for filling.
    CSpiceCircuit NewCircuit();

private:
    CSpiceCircuit current_;
};

/// Hands out the simulator's sessions; this library knows only the main one.
class CANAL_EXPORT CSpiceSessionAgency {
public:
    CSpiceSessionAgency() = default;
    CSpiceSessionAgency(const CSpiceSessionAgency&) = delete;
    CSpiceSessionAgency& operator=(const CSpiceSessionAgency&) = delete;

    /// The main session, owned by the agency.
    CSpiceSession* GetMainSession() { return &main_; }
    const CSpiceSession* GetMainSession() const { return &main_; }

private:
    CSpiceSession main_;
};
