// The in-memory circuit: storage that only grows, and index handles into it.
#include "platform/spice_circuit.h"

struct SpiceInstanceData {
    CString name;
    CSpiceParameterList params;
};

struct SpiceModelData {
    CString name;
    CSpiceParameterList params;
    std::vector<SpiceInstanceData> instances;
};

struct SpiceDeviceData {
    CString name;
    std::vector<SpiceModelData> models;
};

struct CSpiceCircuitData {
    std::vector<SpiceDeviceData> devices;
};

namespace {

// Every parameter value is labelled "value", as in the records engines hand out.
CPropertyItem AsValueItem(const CPropertyItem& item) {
    if (item.IsEmpty() || item.GetLabel() == "value")
        return item;
    return CPropertyItem("value", item.GetType(), item.GetValue());
}

bool SameName(const CString& a, const CString& b) {
    return a.CompareNoCase(b) == 0;
}

int SetValueIn(CSpiceParameterList& params, const CString& name, const CPropertyItem& value) {
    for (CSpiceParameter& p : params)
        if (SameName(p.name, name)) {
            p.value = AsValueItem(value);
            return 1;
        }
    params.emplace_back(name, value);
    return 1;
}

template <typename T> bool InRange(int index, const std::vector<T>& v) {
    return index >= 0 && static_cast<size_t>(index) < v.size();
}

} // namespace

CSpiceParameter::CSpiceParameter(const CString& paramName, const CPropertyItem& paramValue,
                                 const CString& paramDescription, const CString& paramMode)
    : name(paramName), value(AsValueItem(paramValue)), description(paramDescription),
      mode(paramMode) {
}

CSpiceParameter::CSpiceParameter(const CString& paramName, double paramValue,
                                 const CString& paramDescription, const CString& paramMode)
    : CSpiceParameter(paramName, CPropertyItem("value", paramValue), paramDescription, paramMode) {
}

CPropertyList CSpiceParameter::toPropertyList() const {
    CPropertyList record;
    record.AddItem(CPropertyItem("name", name));
    record.AddItem(value);
    record.AddItem(CPropertyItem("description", description));
    record.AddItem(CPropertyItem("mode", mode));
    return record;
}

CPropertyList SpiceParameterRecords(const CSpiceParameterList& params) {
    CPropertyList records;
    for (const CSpiceParameter& p : params)
        records.AddItem(CPropertyItem("param", p.toPropertyList()));
    return records;
}

// Circuit

CSpiceCircuit::CSpiceCircuit(const CSpiceInstanceHandle& handle) : data_(handle.data_) {
}

int CSpiceCircuit::GetDeviceCount() const {
    return data_ ? static_cast<int>(data_->devices.size()) : 0;
}

CSpiceDevice CSpiceCircuit::FindDevice(const CString& name) const {
    for (int i = 0; i < GetDeviceCount(); ++i)
        if (SameName(data_->devices[static_cast<size_t>(i)].name, name))
            return CSpiceDevice(data_, i);
    return CSpiceDevice();
}

CSpiceDevice CSpiceCircuit::GetDevice(int index) const {
    return CSpiceDevice(data_, index);
}

CSpiceDevice CSpiceCircuit::AddDevice(const CString& name) {
    if (!data_)
        data_ = std::make_shared<CSpiceCircuitData>();
    if (CSpiceDevice found = FindDevice(name); found.IsValid())
        return found;
    data_->devices.push_back(SpiceDeviceData{name, {}});
    return CSpiceDevice(data_, GetDeviceCount() - 1);
}

// Device

CSpiceDevice::CSpiceDevice(std::shared_ptr<CSpiceCircuitData> data, int index)
    : data_(std::move(data)), index_(index) {
    if (!data_ || !InRange(index_, data_->devices))
        *this = CSpiceDevice();
}

CSpiceDevice::CSpiceDevice(int deviceIndex, const CSpiceSession& session)
    : CSpiceDevice(deviceIndex, session.GetCurrentCircuit()) {
}

CSpiceDevice::CSpiceDevice(int deviceIndex, const CSpiceCircuit& circuit)
    : CSpiceDevice(circuit.data_, deviceIndex) {
}

SpiceDeviceData* CSpiceDevice::Data() const {
    return data_ && InRange(index_, data_->devices) ? &data_->devices[static_cast<size_t>(index_)]
                                                    : nullptr;
}

bool CSpiceDevice::IsValid() const {
    return Data() != nullptr;
}

CString CSpiceDevice::GetName() const {
    const SpiceDeviceData* d = Data();
    return d ? d->name : CString();
}

int CSpiceDevice::GetModelCount() const {
    const SpiceDeviceData* d = Data();
    return d ? static_cast<int>(d->models.size()) : 0;
}

CSpiceModel CSpiceDevice::GetModel(int index) const {
    const SpiceDeviceData* d = Data();
    return d && InRange(index, d->models) ? CSpiceModel(*this, index) : CSpiceModel();
}

CSpiceModel CSpiceDevice::FindModel(const CSpiceCircuit& circuit, const CString& name) const {
    const CSpiceDevice inCircuit(index_, circuit);
    for (int i = 0; i < inCircuit.GetModelCount(); ++i)
        if (SameName(inCircuit.GetModel(i).GetName(), name))
            return inCircuit.GetModel(i);
    return CSpiceModel();
}

CSpiceModel CSpiceDevice::AddModel(const CString& name, const CSpiceParameterList& params) {
    SpiceDeviceData* d = Data();
    if (!d)
        return CSpiceModel();
    d->models.push_back(SpiceModelData{name, params, {}});
    return CSpiceModel(*this, GetModelCount() - 1);
}

// Model

SpiceModelData* CSpiceModel::Data() const {
    SpiceDeviceData* d = device_.Data();
    return d && InRange(index_, d->models) ? &d->models[static_cast<size_t>(index_)] : nullptr;
}

bool CSpiceModel::IsValid() const {
    return Data() != nullptr;
}

CString CSpiceModel::GetName() const {
    const SpiceModelData* m = Data();
    return m ? m->name : CString();
}

int CSpiceModel::GetInstanceCount() const {
    const SpiceModelData* m = Data();
    return m ? static_cast<int>(m->instances.size()) : 0;
}

CSpiceInstance CSpiceModel::GetInstance(int index) const {
    const SpiceModelData* m = Data();
    return m && InRange(index, m->instances) ? CSpiceInstance(*this, index) : CSpiceInstance();
}

CSpiceInstance CSpiceModel::FindInstance(const CString& name) const {
    for (int i = 0; i < GetInstanceCount(); ++i)
        if (SameName(GetInstance(i).GetName(), name))
            return GetInstance(i);
    return CSpiceInstance();
}

CSpiceParameterList CSpiceModel::GetParameters() const {
    const SpiceModelData* m = Data();
    return m ? m->params : CSpiceParameterList();
}

int CSpiceModel::SetParameterValue(const CString& name, const CPropertyItem& value) {
    SpiceModelData* m = Data();
    return m ? SetValueIn(m->params, name, value) : 0;
}

CSpiceModel CSpiceModel::AddInstance(const CString& name, const CSpiceParameterList& params) {
    if (SpiceModelData* m = Data())
        m->instances.push_back(SpiceInstanceData{name, params});
    return *this;
}

// Instance

SpiceInstanceData* CSpiceInstance::Data() const {
    SpiceModelData* m = model_.Data();
    return m && InRange(index_, m->instances) ? &m->instances[static_cast<size_t>(index_)]
                                              : nullptr;
}

bool CSpiceInstance::IsValid() const {
    return Data() != nullptr;
}

CString CSpiceInstance::GetName() const {
    const SpiceInstanceData* i = Data();
    return i ? i->name : CString();
}

CSpiceParameterList CSpiceInstance::GetParameters() const {
    const SpiceInstanceData* i = Data();
    return i ? i->params : CSpiceParameterList();
}

int CSpiceInstance::SetParameterValue(const CString& name, const CPropertyItem& value) {
    SpiceInstanceData* i = Data();
    return i ? SetValueIn(i->params, name, value) : 0;
}

// Iterators

CSpiceDevice::model_iterator::model_iterator(const CSpiceDevice& device) : device_(device) {
}

CSpiceDevice::model_iterator& CSpiceDevice::model_iterator::operator++() {
    if (IsValid())
        ++model_;
    return *this;
}

CSpiceDevice::instance_iterator::instance_iterator(const CSpiceDevice& device) : device_(device) {
    SkipEmptyModels();
}

void CSpiceDevice::instance_iterator::SkipEmptyModels() {
    while (IsValid() && instance_ >= device_.GetModel(model_).GetInstanceCount()) {
        ++model_;
        instance_ = 0;
    }
}

CSpiceDevice::instance_iterator& CSpiceDevice::instance_iterator::operator++() {
    if (IsValid()) {
        ++instance_;
        SkipEmptyModels();
    }
    return *this;
}

CSpiceDevice::generic_iterator::generic_iterator(const model_iterator& models,
                                                 const instance_iterator& instances, int isinst)
    : models_(models), instances_(instances), isinst_(isinst ? 1 : 0) {
}

void CSpiceDevice::generic_iterator::Advance() {
    if (isinst_)
        ++instances_;
    else
        ++models_;
}

CSpiceModel CSpiceDevice::generic_iterator::GetModel() const {
    if (!IsValid())
        return CSpiceModel();
    return isinst_ ? instances_.GetModel() : *models_;
}

CSpiceInstance CSpiceDevice::generic_iterator::GetInternalInstance() const {
    return isinst_ && IsValid() ? *instances_ : CSpiceInstance();
}

bool operator==(const CSpiceDevice::generic_iterator& a, const CSpiceDevice::generic_iterator& b) {
    if (a.isinst_ != b.isinst_ || a.IsValid() != b.IsValid())
        return false;
    if (!a.IsValid())
        return true;
    return a.isinst_ ? a.GetInternalInstance() == b.GetInternalInstance()
                     : a.GetModel() == b.GetModel();
}

void CSpiceDevice_generic_iterator_wrapper::Advance() {
    if (it_)
        it_->Advance();
}

bool CSpiceDevice_generic_iterator_wrapper::IsSamePosition(
    const CSpiceDevice_generic_iterator_wrapper& other) const {
    if (!IsValid() || !other.IsValid())
        return IsValid() == other.IsValid();
    return *it_ == *other.it_;
}

// Session

CSpiceSession::CSpiceSession() : current_(std::make_shared<CSpiceCircuitData>()) {
}

CSpiceCircuit CSpiceSession::NewCircuit() {
    auto fresh = std::make_shared<CSpiceCircuitData>();
    if (current_.data_)
        for (const SpiceDeviceData& d : current_.data_->devices)
            fresh->devices.push_back(SpiceDeviceData{d.name, {}});
    current_ = CSpiceCircuit(std::move(fresh));
    return current_;
}
