// Circuit members by name: resolving, record building and reading, the
// enumeration of sweepable elements, and at-sign node names.
#include "engine/device_member.h"

#include "engine/simulation_engine.h"

#include <algorithm>
#include <iterator>

CASimulationEngine* CSPICEdevMember::s_engine = nullptr;

namespace {

using GenericIterator = CSpiceDevice::generic_iterator;

// The current circuit of the engine's main session; an empty circuit when the
// engine has no simulator behind it.
CSpiceCircuit CurrentCircuitOf(CASimulationEngine* engine) {
    CSpiceSessionAgency* agency = engine ? engine->GetSessionDistributor() : nullptr;
    CSpiceSession* session = agency ? agency->GetMainSession() : nullptr;
    return session ? CSpiceCircuit(session->GetInstanceHandle()) : CSpiceCircuit();
}

bool SameName(const CString& a, const CString& b) {
    return a.CompareNoCase(b) == 0;
}

// A stored name matches a live one when it is empty (any) or equal ignoring case.
bool NameMatches(const CString& stored, const CString& live) {
    return stored.IsEmpty() || SameName(stored, live);
}

// Device kinds that may never be swept or toleranced, by their index in the
// simulator's table; inclusive ranges.
constexpr int kNotSweepable[][2] = {
    {8, 8},   {21, 21}, {27, 28}, {30, 30}, {33, 47}, {50, 59},
    {71, 71}, {73, 73}, {74, 77}, {85, 87}, {92, 96},
};

} // namespace

// Parameter

int CSPICEparam::IsInputMode() const {
    return SameName(mode_, "InputOutput") || SameName(mode_, "Input") ? 1 : 0;
}

int CSPICEparam::IsOutputMode() const {
    return SameName(mode_, "InputOutput") || SameName(mode_, "Output") ? 1 : 0;
}

int CSPICEparam::fromPropertyList(const CPropertyList& record) {
    *this = CSPICEparam();
    int result = 1;
    for (const CPropertyItem& item : record) {
        const CString& label = item.GetLabel();
        const bool isString = item.GetTypeOfValue() == CPropertyItem::String;
        if (label == "name") {
            if (isString)
                name_ = item.GetString();
        } else if (label == "description") {
            if (isString)
                description_ = item.GetString();
        } else if (label == "mode") {
            if (isString)
                mode_ = item.GetString();
        } else if (label == "value") {
            value_ = item;
        } else {
            result = 0;
        }
    }
    record_ = record;
    return result;
}

// Member

void CSPICEdevMember::SetASimEng(CASimulationEngine& engine) {
    s_engine = &engine;
}

CASimulationEngine* CSPICEdevMember::GetSimEngine() {
    return s_engine;
}

void CSPICEdevMember::ForgetASimEng(const CASimulationEngine* engine) {
    if (s_engine == engine)
        s_engine = nullptr;
}

CSPICEdevMember::CSPICEdevMember() {
    Bind();
}

CSPICEdevMember::CSPICEdevMember(const CSpiceDevice_generic_iterator_wrapper& position)
    : isinst_(position.IsInstance()), position_(position) {
    Bind();
}

CSPICEdevMember::CSPICEdevMember(const CSPICEdevMember& other) {
    *this = other;
}

CSPICEdevMember& CSPICEdevMember::operator=(const CSPICEdevMember& other) {
    if (this == &other)
        return *this;
    const bool named = other.isinst_ ? !other.GetName().IsEmpty() : !other.GetModelName().IsEmpty();
    if (named) {
        name_ = other.GetName();
        modelName_ = other.GetModelName();
        deviceName_ = other.GetDeviceName();
    }
    position_ = other.position_;
    params_.RemoveAll();
    other.params_.ForEach([&](const CSPICEparam& p) {
        if (!p.IsEmpty())
            params_.Add(p);
    });
    record_ = other.record_;
    isinst_ = other.isinst_;
    paramsDirty_ = other.paramsDirty_;
    recordDirty_ = other.recordDirty_;
    Bind();
    return *this;
}

void CSPICEdevMember::Bind() {
    circuit_ = CurrentCircuitOf(s_engine);
}

CString CSPICEdevMember::GetName() const {
    if (!position_.IsValid())
        return name_;
    return position_->IsInstance() ? position_->GetInternalInstance().GetName()
                                   : position_->GetInternalModel().GetName();
}

CString CSPICEdevMember::GetModelName() const {
    return position_.IsValid() ? position_->GetModel().GetName() : modelName_;
}

CString CSPICEdevMember::GetDeviceName() const {
    return position_.IsValid() ? position_->GetDevice().GetName() : deviceName_;
}

void CSPICEdevMember::SetName(const CString& name) {
    name_ = name;
    SetUpdateFlag();
}

void CSPICEdevMember::SetModelName(const CString& name) {
    modelName_ = name;
    SetUpdateFlag();
}

void CSPICEdevMember::SetDeviceName(const CString& name) {
    deviceName_ = name;
    SetUpdateFlag();
}

void CSPICEdevMember::CopyNames(const CSPICEdevMember& other) {
    name_ = other.name_;
    modelName_ = other.modelName_;
    deviceName_ = other.deviceName_;
    SetUpdateFlag();
}

void CSPICEdevMember::SetUpdateFlag() {
    paramsDirty_ = 1;
    recordDirty_ = 1;
}

void CSPICEdevMember::SetIsInstance(int isinst) {
    isinst_ = isinst ? 1 : 0;
    SetUpdateFlag();
}

int CSPICEdevMember::IsCurrentSource() const {
    return SameName(GetDeviceName(), "ISource") ? 1 : 0;
}

int CSPICEdevMember::IsVoltageSource() const {
    return SameName(GetDeviceName(), "VSource") ? 1 : 0;
}

CPropertyList CSPICEdevMember::BuildRecord(CASimulationEngine* engine) const {
    const CString name = GetName();
    const CString model = GetModelName();
    const CString device = GetDeviceName();

    // The element: from the live position, else looked up by the names.
    CSpiceDevice dev;
    CSpiceModel mod;
    CSpiceInstance inst;
    if (position_.IsValid()) {
        dev = position_->GetDevice();
        mod = position_->GetModel();
        inst = position_->GetInternalInstance();
    } else if (engine) {
        const CSpiceCircuit circuit = CurrentCircuitOf(engine);
        if (!device.IsEmpty())
            dev = circuit.FindDevice(device);
        if (!model.IsEmpty())
            mod = dev.FindModel(circuit, model);
        if (isinst_ && !name.IsEmpty())
            inst = mod.FindInstance(name);
    }

    CPropertyList record;
    if (!device.IsEmpty())
        record.AddItem(CPropertyItem("device", device));
    if (!model.IsEmpty())
        record.AddItem(CPropertyItem("model", model));
    // Engines are asked only about elements that exist.
    if (!isinst_) {
        record.AddItem(CPropertyItem("isinst", 0));
        if (engine && mod.IsValid())
            record.AppendItems(engine->GetModelValues(mod, dev));
    } else {
        if (!name.IsEmpty())
            record.AddItem(CPropertyItem("name", name));
        record.AddItem(CPropertyItem("isinst", 1));
        if (engine && inst.IsValid())
            record.AppendItems(engine->GetInstanceValues(inst, mod, dev));
    }
    return record;
}

const CPropertyList& CSPICEdevMember::toPropertyList(int /*withValues*/) {
    if (recordDirty_) {
        recordDirty_ = 0;
        record_ = BuildRecord(s_engine);
    }
    return record_;
}

int CSPICEdevMember::fromPropertyList(const CPropertyList& record,
                                      const CSpiceDevice_generic_iterator_wrapper& position) {
    int result = 1;
    for (const CPropertyItem& item : record) {
        const CString& label = item.GetLabel();
        const auto type = item.GetTypeOfValue();
        if (label == "name" || label == "model" || label == "device") {
            if (type != CPropertyItem::String)
                continue;
            CString& field = label == "name" ? name_ : label == "model" ? modelName_ : deviceName_;
            field = item.GetString();
        } else if (label == "isinst") {
            if (type == CPropertyItem::Int)
                isinst_ = item.GetInt() ? 1 : 0;
        } else if (label == "param") {
            CSPICEparam param;
            if (type == CPropertyItem::List && param.fromPropertyList(item.GetPropertyList()))
                params_.Add(param);
        } else if (label == "instance") {
            // Written by older versions; carries nothing the names do not.
        } else {
            result = 0;
        }
    }

    position_ = position;
    if (position_.IsValid()) {
        while (position_.IsValid() && !MatchesAt(*position_))
            position_.Advance();
    } else {
        ReconstructIter();
    }
    recordDirty_ = 1;
    toPropertyList(0);
    return result;
}

CopiableSList<CSPICEparam>& CSPICEdevMember::GetParmList() {
    if (paramsDirty_) {
        paramsDirty_ = 0;
        const CPropertyList& record = toPropertyList(1);
        params_.RemoveAll();
        for (const CPropertyItem& item : record) {
            if (!(item.GetLabel() == "param") || item.GetTypeOfValue() != CPropertyItem::List)
                continue;
            CSPICEparam param;
            if (param.fromPropertyList(item.GetPropertyList()))
                params_.Add(param);
        }
    }
    return params_;
}

std::optional<CSPICEparam> CSPICEdevMember::FindParameter(const CString& name) {
    std::optional<CSPICEparam> found;
    GetParmList().ForEach([&](const CSPICEparam& p) {
        if (!found && SameName(p.GetName(), name))
            found = p;
    });
    return found;
}

bool CSPICEdevMember::MatchesAt(const GenericIterator& it) const {
    if (!it.IsValid())
        return false;
    if (isinst_) {
        if (name_.IsEmpty() || !SameName(name_, it.GetInternalInstance().GetName()))
            return false;
    } else if (modelName_.IsEmpty()) {
        return false; // a model reference needs at least its model's name
    }
    return NameMatches(modelName_, it.GetModel().GetName()) &&
           NameMatches(deviceName_, it.GetDevice().GetName());
}

int CSPICEdevMember::FindIn(const CSpiceCircuit& circuit) {
    position_ = CSpiceDevice_generic_iterator_wrapper();
    for (int d = 0; d < circuit.GetDeviceCount(); ++d) {
        const CSpiceDevice device(d, circuit);
        if (!NameMatches(deviceName_, device.GetName()))
            continue;
        for (GenericIterator it(device, isinst_); it.IsValid(); it.Advance())
            if (MatchesAt(it)) {
                position_ = CSpiceDevice_generic_iterator_wrapper(it);
                return 1;
            }
    }
    return 0;
}

int CSPICEdevMember::ReconstructIter() {
    SetUpdateFlag();
    return FindIn(circuit_);
}

int CSPICEdevMember::MoveToCurrentName() {
    Bind();
    return ReconstructIter();
}

CSPICEdevMember CSPICEdevMember::memberWithNewCirc(CSpiceCircuit& circuit,
                                                   CASimulationEngine& engine) const {
    CSPICEdevMember moved(*this);
    // Search by the most complete names this member knows: the live ones.
    moved.name_ = GetName();
    moved.modelName_ = GetModelName();
    moved.deviceName_ = GetDeviceName();
    moved.circuit_ = circuit;
    moved.FindIn(circuit);
    moved.record_ = moved.BuildRecord(&engine);
    moved.recordDirty_ = 0;
    moved.paramsDirty_ = 1;
    return moved;
}

// Enumeration

bool CSPICEdevMemberList::IsParamSweep(int deviceIndex) {
    return std::none_of(std::begin(kNotSweepable), std::end(kNotSweepable),
                        [&](const int* r) { return deviceIndex >= r[0] && deviceIndex <= r[1]; });
}

namespace devmember_detail {

MemberWalk::MemberWalk(CASimulationEngine* engine, int isinst)
    : engine_(engine), isinst_(isinst ? 1 : 0) {
    SeekFrom(0);
}

void MemberWalk::SeekFrom(int deviceIndex) {
    position_ = CSpiceDevice_generic_iterator_wrapper();
    scratch_.reset();
    if (!engine_)
        return;
    // The circuit is read again on every device change: a walk may outlast a rebuild.
    circuit_ = CurrentCircuitOf(engine_);
    for (deviceIndex_ = deviceIndex; deviceIndex_ < circuit_.GetDeviceCount(); ++deviceIndex_) {
        if (!IsParamSweep(deviceIndex_))
            continue;
        const GenericIterator first(CSpiceDevice(deviceIndex_, circuit_), isinst_);
        if (first.IsValid()) {
            position_ = CSpiceDevice_generic_iterator_wrapper(first);
            return;
        }
    }
}

void MemberWalk::Next() {
    if (!IsValid())
        return;
    scratch_.reset();
    position_.Advance();
    if (!position_.IsValid())
        SeekFrom(deviceIndex_ + 1);
}

CSPICEdevMember& MemberWalk::Current() const {
    if (!scratch_)
        scratch_.emplace(position_);
    return *scratch_;
}

} // namespace devmember_detail

// At-sign nodes

CString CParamNode::toString() const {
    if (type_ == PlainNode)
        return CString();
    return CString(type_ == ModelParam ? "@@" : "@") + name_ + "[" + param_ + "]";
}

int CParamNode::fromString(const CString& text) {
    CString t = text;
    t.TrimLeft();
    if (t.IsEmpty() || t[0] != '@') {
        type_ = PlainNode;
        return type_;
    }
    const bool twoSigns = t.GetLength() > 1 && t[1] == '@';
    CString rest = t.Mid(twoSigns ? 2 : 1);
    rest.TrimLeft();
    const int open = rest.Find('[');
    if (open < 0) {
        name_ = rest;
        param_.Empty();
    } else {
        name_ = rest.Left(open);
        CString param = rest.Mid(open + 1);
        param.TrimLeft();
        const int close = param.Find(']');
        param_ = close < 0 ? param : param.Left(close);
    }
    type_ = twoSigns ? ModelParam : InstanceParam;
    return type_;
}

int CParamNodeList::addToNodeList(CSpiceNodeNameList& out, int kind, int flags) const {
    int added = 0;
    ForEach([&](const CParamNodeEntry& entry) {
        if (!entry.node || entry.node->GetType() == CParamNode::PlainNode)
            return;
        out.AddName(entry.node->toString(), kind, flags);
        ++added;
    });
    return added;
}

int CParamNodeList::addFromNodeList(const CSpiceNodeNameList& in, int kind, int flags) {
    int added = 0;
    in.ForEach([&](const CSpiceNodeName& name) {
        if (kind >= 0 && name.GetKind() != kind)
            return;
        if (flags != 0 && !name.HasFlags(flags))
            return;
        CParamNode node;
        if (node.fromString(name.GetName()) == CParamNode::PlainNode)
            return;
        AddNode(node);
        ++added;
    });
    return added;
}
