// By-name references to circuit elements: a device instance or model
// (CSPICEdevMember), one of its parameters (CSPICEparam), the enumeration of the
// sweepable ones (CSPICEdevMemberList), and user output nodes in at-sign
// notation (CParamNode, CParamNodeList).
#pragma once

#include "canal/export.h"
#include "platform/lists.h"
#include "platform/property.h"
#include "platform/spice.h"
#include "platform/spice_circuit.h"

#include <cstdint>
#include <iterator>
#include <optional>

class CASimulationEngine;

/// One parameter of a circuit element: name, value (of whatever type the
/// simulator reports), description and mode, with the record it was read from.
class CANAL_EXPORT CSPICEparam {
public:
    CSPICEparam() = default;

    const CString& GetName() const { return name_; }
    /// The value item; empty when the record held no value (the owner then
    /// takes the circuit's present value).
    const CPropertyItem& GetValue() const { return value_; }
    const CString& GetDescription() const { return description_; }
    const CString& GetMode() const { return mode_; }
    /// Mode "Input" or "InputOutput", ignoring case: the parameter can be set.
    int IsInputMode() const;
    /// Mode "Output" or "InputOutput", ignoring case: the parameter can be read.
    int IsOutputMode() const;
    /// Neither a name nor a value: a placeholder that copies of lists skip.
    bool IsEmpty() const { return name_.IsEmpty() && value_.IsEmpty(); }

    /// The record the parameter was read from.
    const CPropertyList& toPropertyList() const { return record_; }
    /// Reads name, value, description and mode; 1 when every key was known.
    /// The record is kept as given.
    int fromPropertyList(const CPropertyList& record);
    void clearPropList() { record_.RemoveAll(); }

private:
    CString name_;
    CPropertyItem value_;
    CString description_;
    CString mode_;
    CPropertyList record_;
};

/// A reference to one instance (isinst 1) or model (isinst 0) of the circuit by
/// its names, with its live position while the circuit it was resolved in
/// stands. Every member reaches the circuit through the one engine set with
/// SetASimEng.
///
/// Look-up rule: an empty stored device or model name matches any, so a record
/// naming just an instance, or just a model, resolves.
class CANAL_EXPORT CSPICEdevMember {
public:
    /// An empty instance reference, bound to the engine's current circuit.
    CSPICEdevMember();
    /// The element at `position` (which may be invalid); isinst from the position.
    explicit CSPICEdevMember(const CSpiceDevice_generic_iterator_wrapper& position);
    /// Names are taken (live when the source is resolved) only from an instance
    /// with a name or a model with a model name; otherwise the copy keeps its
    /// own. Position, parameters, record, isinst and dirty flags are copied.
    CSPICEdevMember(const CSPICEdevMember& other);
    CSPICEdevMember& operator=(const CSPICEdevMember& other);
    ~CSPICEdevMember() = default;

    /// The engine every member uses (borrowed). An engine clears it when it is
    /// destroyed while still set.
    static void SetASimEng(CASimulationEngine& engine);
    static CASimulationEngine* GetSimEngine();
    /// Forgets `engine` if it is the one set; engines call it as they die.
    static void ForgetASimEng(const CASimulationEngine* engine);

    /// Instance name (model name on a model position), read live while the
    /// position is valid, else the stored one.
    CString GetName() const;
    CString GetModelName() const;
    CString GetDeviceName() const;
    /// The stored names, whatever the position.
    const CString& GetStringName() const { return name_; }
    const CString& GetStringModelName() const { return modelName_; }
    const CString& GetStringDeviceName() const { return deviceName_; }
    void SetName(const CString& name);
    void SetModelName(const CString& name);
    void SetDeviceName(const CString& name);
    /// Copies the three stored names of `other` and marks record and parameters dirty.
    void CopyNames(const CSPICEdevMember& other);
    void SetUpdateFlag();

    /// 1 for an instance reference, 0 for a model reference.
    int IsInstance() const { return isinst_; }
    void SetIsInstance(int isinst);
    int IsCurrentSource() const;
    int IsVoltageSource() const;

    const CSpiceCircuit& GetCircuit() const { return circuit_; }
    const CSpiceDevice_generic_iterator_wrapper& GetPosition() const { return position_; }
    bool IsResolved() const { return position_.IsValid(); }

    /// The record: "device", "model", then "isinst" 0 (model) or "name" and
    /// "isinst" 1 (instance), then the engine's "param" items. Rebuilt from the
    /// circuit when dirty. The argument is not used: the record always carries
    /// the parameter items. The reference lives as long as the member.
    const CPropertyList& toPropertyList(int withValues = 0);
    /// Reads the names, isinst and parameters, then finds the element: walking
    /// forward from `position` when it is valid, else over the whole circuit.
    /// 1 when every key was known (the element may still be unresolved).
    int fromPropertyList(const CPropertyList& record,
                         const CSpiceDevice_generic_iterator_wrapper& position);
    /// The parameters, rebuilt from the record when dirty.
    CopiableSList<CSPICEparam>& GetParmList();
    const CopiableSList<CSPICEparam>& GetParmList() const { return params_; }
    /// The first parameter called `name` (ignoring case), or nothing.
    std::optional<CSPICEparam> FindParameter(const CString& name);
    const CPropertyList& GetOriginalPropList() const { return record_; }
    void clearParamList() { params_.RemoveAll(); }
    void clearPropList() { record_.RemoveAll(); }

    /// Finds the element again in the member's circuit by the stored names;
    /// non-zero when found. Marks record and parameters dirty.
    int ReconstructIter();
    /// Binds the member to the engine's current circuit (after a rebuild) and
    /// finds the element there by the stored names; non-zero when found.
    int MoveToCurrentName();
    /// The same reference resolved in `circuit`, its record rebuilt through
    /// `engine` (both borrowed for the call).
    CSPICEdevMember memberWithNewCirc(CSpiceCircuit& circuit, CASimulationEngine& engine) const;

private:
    void Bind(); ///< circuit := the engine's current circuit
    int FindIn(const CSpiceCircuit& circuit);
    bool MatchesAt(const CSpiceDevice::generic_iterator& it) const;
    CPropertyList BuildRecord(CASimulationEngine* engine) const;

    CString name_;
    CString modelName_;
    CString deviceName_;
    int32_t isinst_ = 1;
    CSpiceCircuit circuit_;
    CSpiceDevice_generic_iterator_wrapper position_;
    int32_t paramsDirty_ = 1;
    int32_t recordDirty_ = 1;
    CopiableSList<CSPICEparam> params_;
    CPropertyList record_;

    static CASimulationEngine* s_engine;
};

/// The sweepable instances (flag 1) or models (flag 0) of the current circuit
/// of an engine's main session. Holds no elements: its iterators walk the
/// circuit, skipping the device kinds that may not be swept.
class CANAL_EXPORT CSPICEdevMemberList {
public:
    class iterator;
    class const_iterator;

    CSPICEdevMemberList() = default;
    /// `engine` is borrowed and must outlive the list and its iterators.
    CSPICEdevMemberList(CASimulationEngine& engine, int isinst)
        : engine_(&engine), isinst_(isinst) {}

    CASimulationEngine* GetEngine() const { return engine_; }
    int IsInstanceList() const { return isinst_; }

    iterator begin();
    const_iterator begin() const;
    std::default_sentinel_t end() const { return {}; }

    /// Whether the device kind at `deviceIndex` of the simulator's table may be
    /// swept or toleranced. The excluded kinds are a fixed table.
    static bool IsParamSweep(int deviceIndex);

private:
    CASimulationEngine* engine_ = nullptr;
    int32_t isinst_ = 1;
};

namespace devmember_detail {

/// The walk shared by both iterators of CSPICEdevMemberList.
class CANAL_EXPORT MemberWalk {
public:
    MemberWalk(CASimulationEngine* engine, int isinst);

    bool IsValid() const { return position_.IsValid(); }
    void Next();
    int IsInstance() const { return isinst_; }
    static bool IsParamSweep(int deviceIndex) {
        return CSPICEdevMemberList::IsParamSweep(deviceIndex);
    }

protected:
    CSPICEdevMember& Current() const;

private:
    void SeekFrom(int deviceIndex);

    CASimulationEngine* engine_;
    int32_t deviceIndex_ = 0;
    CSpiceDevice_generic_iterator_wrapper position_;
    mutable std::optional<CSPICEdevMember> scratch_;
    CSpiceCircuit circuit_;
    int32_t isinst_;
};

} // namespace devmember_detail

class CANAL_EXPORT CSPICEdevMemberList::iterator : public devmember_detail::MemberWalk {
public:
    explicit iterator(CSPICEdevMemberList& list)
        : MemberWalk(list.GetEngine(), list.IsInstanceList()) {}
    /// Non-zero while positioned on an element.
    operator int() const { return IsValid() ? 1 : 0; }
    /// The member at the position; valid until the iterator moves.
    CSPICEdevMember& operator*() const { return Current(); }
    CSPICEdevMember* operator->() const { return &Current(); }
    iterator& operator++() {
        Next();
        return *this;
    }
    bool operator==(std::default_sentinel_t) const { return !IsValid(); }
};

class CANAL_EXPORT CSPICEdevMemberList::const_iterator : public devmember_detail::MemberWalk {
public:
    explicit const_iterator(const CSPICEdevMemberList& list)
        : MemberWalk(list.GetEngine(), list.IsInstanceList()) {}
    operator int() const { return IsValid() ? 1 : 0; }
    const CSPICEdevMember& operator*() const { return Current(); }
    const CSPICEdevMember* operator->() const { return &Current(); }
    const_iterator& operator++() {
        Next();
        return *this;
    }
    bool operator==(std::default_sentinel_t) const { return !IsValid(); }
};

inline CSPICEdevMemberList::iterator CSPICEdevMemberList::begin() {
    return iterator(*this);
}
inline CSPICEdevMemberList::const_iterator CSPICEdevMemberList::begin() const {
    return const_iterator(*this);
}

/// A user output node in the simulator's at-sign notation: "@@name[param]"
/// (a model parameter), "@name[param]" (an instance parameter), or a plain node.
class CANAL_EXPORT CParamNode {
public:
    enum ParamType : int { PlainNode = 0, ModelParam = 1, InstanceParam = 2 };

    CParamNode() = default;
    CParamNode(const CString& name, const CString& param, ParamType type)
        : name_(name), param_(param), type_(type) {}

    const CString& GetName() const { return name_; }
    const CString& GetParam() const { return param_; }
    ParamType GetType() const { return type_; }

    /// "@name[param]" or "@@name[param]"; "" for a plain node.
    CString toString() const;
    /// Reads the at-sign notation; text without a leading "@" makes the type 0
    /// and leaves name and param alone. Returns the type.
    int fromString(const CString& text);

    friend bool operator==(const CParamNode&, const CParamNode&) = default;

private:
    CString name_;
    CString param_;
    ParamType type_ = PlainNode;
};

/// One entry of the user's node list. An entry may be empty (no node), and a
/// flagged entry is pinned by whoever flagged it: pruning leaves both alone.
struct CANAL_EXPORT CParamNodeEntry {
    std::optional<CParamNode> node;
    int flagged = 0;
};

/// The user's output nodes, a locked copyable list.
class CANAL_EXPORT CParamNodeList : public CopiableSList<CParamNodeEntry> {
public:
    void AddNode(const CParamNode& node, int flagged = 0) { Add(CParamNodeEntry{node, flagged}); }

    /// Appends to `out` one name per parameter node (at-sign text), each with
    /// node kind `kind` and flag bits `flags`. Plain and empty entries are
    /// skipped. Returns the number of names added.
    int addToNodeList(CSpiceNodeNameList& out, int kind, int flags) const;
    /// Appends a parameter node for every name of `in` written in at-sign
    /// notation whose kind is `kind` (any kind when `kind` < 0) and that has a
    /// bit of `flags` (any name when `flags` is 0). Returns the number added.
    int addFromNodeList(const CSpiceNodeNameList& in, int kind, int flags);
};
