// The engine's harmless defaults, lazy caches, synthetic node names, status
// bar and result pages.
#include "engine/simulation_engine.h"

#include "analyses/core/analysis.h"
#include "engine/compound_commands.h"
#include "engine/run_distributor.h"
#include "engine/run_tape.h"
#include "platform/helpers.h"
#include "platform/resources.h"

#include <utility>

namespace {

constexpr int kClassCount = 8;

// Names of the output-variable classes, as the synthetic node names spell them.
constexpr const char* kClassNames[kClassCount] = {"NONE",
                                                  "CKTnames",
                                                  "DCnames",
                                                  "SENS_CKTnames_op",
                                                  "SENS_CKTnames_ac",
                                                  "NOISE_CKTnames_dens",
                                                  "NOISE_CKTnames_int",
                                                  "ALL"};

int ClassIndex(OutputVariableClass c) {
    const int i = static_cast<int>(c);
    return i >= 0 && i < kClassCount ? i : 0;
}

// What a real engine's GetModelValues / GetInstanceValues records look like:
// one list per element with its names and a "param" list per parameter.
constexpr const char* kSampleModels =
    "model:list{  name:string{Rinp_model}  device:string{Resistor}"
    "  param:list{     name:string{R}     value:double{1e10}"
    "     description:string{R factor}     mode:string{InputOutput}  }"
    "  param:list{     name:string{TC1}     value:double{0}"
    "     description:string{First order temperature coefficient}"
    "     mode:string{InputOutput}  }"
    "}\n"
    "model:list{  name:string{R1inp_model}  device:string{Resistor}"
    "  param:list{     name:string{R}     value:double{1}"
    "     description:string{R factor}     mode:string{InputOutput}  }"
    "  param:list{     name:string{TC1}     value:double{0}"
    "     description:string{First order temperature coefficient}"
    "     mode:string{InputOutput}  }"
    "}\n";

constexpr const char* kSampleInstances =
    "instance:list{  name:string{Rinp}  model:string{Rinp_model}  device:string{Resistor}"
    "  param:list{     name:string{resistance}     value:double{1000}"
    "     description:string{Resistance}     mode:string{InputOutput}  }"
    "  param:list{     name:string{i}     value:double{0}"
    "     description:string{Current}     mode:string{Output}  }"
    "}\n"
    "instance:list{  name:string{V1}  model:string{}  device:string{Vsource}"
    "  param:list{     name:string{dc}     value:double{5}"
    "     description:string{D.C. source value}     mode:string{InputOutput}  }"
    "}\n"
    "instance:list{  name:string{V2}  model:string{}  device:string{Vsource}"
    "  param:list{     name:string{dc}     value:double{0}"
    "     description:string{D.C. source value}     mode:string{InputOutput}  }"
    "}\n"
    "instance:list{  name:string{R1inp}  model:string{R1inp_model}  device:string{Resistor}"
    "  param:list{     name:string{resistance}     value:double{10000}"
    "     description:string{Resistance}     mode:string{InputOutput}  }"
    "}\n"
    "instance:list{  name:string{C1}  model:string{}  device:string{Capacitor}"
    "  param:list{     name:string{capacitance}     value:double{1e-09}"
    "     description:string{Device capacitance}     mode:string{InputOutput}  }"
    "}\n";

// Whether `list` holds a member called `name` with an output parameter `param`.
bool HasOutputParameter(CSPICEdevMemberList& list, const CString& name, const CString& param) {
    for (CSPICEdevMember& member : list) {
        if (member.GetName().CompareNoCase(name) != 0)
            continue;
        bool found = false;
        member.GetParmList().ForEach([&](const CSPICEparam& p) {
            found = found || (p.GetName().CompareNoCase(param) == 0 && p.IsOutputMode());
        });
        if (found)
            return true;
    }
    return false;
}

} // namespace

// Puts a tape on the engine for one run: recording (the run's status texts and pages stay out
// of this process's front end and results: the run may well be made in another process) or
// playing back. Everything goes back as it was when the scope ends.
class RunTapeScope {
public:
    RunTapeScope(CASimulationEngine& engine, CRunTape& tape, bool record)
        : engine_(engine), record_(record), tape_(std::exchange(engine.tape_, &tape)),
          recording_(std::exchange(engine.recording_, record)), guiFE_(engine.guiFE_) {
        if (record) {
            engine_.guiFE_ = nullptr;
            openPage_ = std::exchange(engine_.openPage_, std::nullopt);
            finishedPages_ = std::exchange(engine_.finishedPages_, {});
        }
    }
    ~RunTapeScope() {
        if (record_) {
            engine_.guiFE_ = guiFE_;
            engine_.openPage_ = std::move(openPage_);
            engine_.finishedPages_ = std::move(finishedPages_);
        }
        engine_.tape_ = tape_;
        engine_.recording_ = recording_;
    }
    RunTapeScope(const RunTapeScope&) = delete;
    RunTapeScope& operator=(const RunTapeScope&) = delete;

private:
    CASimulationEngine& engine_;
    bool record_;
    CRunTape* tape_; ///< the engine's tape before this one
    bool recording_; ///< and whether it was recording
    CGuiFE* guiFE_;
    std::optional<CGrapherPage> openPage_;
    std::vector<CGrapherPage> finishedPages_;
};

// Rate estimator

CProgressRate::CProgressRate(int slots)
    : xSteps_(static_cast<size_t>(slots > 0 ? slots : 1), 0.0), timeSteps_(xSteps_.size(), 0.0) {
}

void CProgressRate::Reset(double startX, double startTime) {
    lastX_ = startX;
    lastTime_ = startTime;
    sumX_ = 0.0;
    sumTime_ = 0.0;
    index_ = 0;
    std::fill(xSteps_.begin(), xSteps_.end(), 0.0);
    std::fill(timeSteps_.begin(), timeSteps_.end(), 0.0);
}

void CProgressRate::Add(double x, double t) {
    const double dx = x - lastX_;
    const double dt = t - lastTime_;
    lastX_ = x;
    lastTime_ = t;
    const auto slot = static_cast<size_t>(index_);
    sumX_ += dx - xSteps_[slot];
    sumTime_ += dt - timeSteps_[slot];
    xSteps_[slot] = dx;
    timeSteps_[slot] = dt;
    index_ = (index_ + 1) % GetCapacity();
}

double CProgressRate::GetRate() const {
    return sumX_ >= 1e-8 ? sumTime_ / sumX_ : 0.0;
}

// Engine

CASimulationEngine::CASimulationEngine() {
    SetCircuitDataState(false);
}

CASimulationEngine::~CASimulationEngine() {
    CSPICEdevMember::ForgetASimEng(this);
}

int CASimulationEngine::PerformConsistencyCheck(ANALYSIS_TYPE /*type*/) {
    return 1;
}

CString CASimulationEngine::GetAllocFile(int n) {
    return CString::Formatted("____%u.raw", static_cast<unsigned>(n));
}

void CASimulationEngine::OutputString(const CString& /*text*/, OUTPUT_TYPE /*type*/) {
}

void CASimulationEngine::UpdateAnalysisNodeList() {
    if (updateLockCount_ > 0)
        return;
    for (int c = 0; c < kClassCount; ++c) {
        CSpiceNodeNameList& nodes = analysisNodes_[c];
        nodes.RemoveAll();
        if (c == OVC_NONE || c == OVC_ALL)
            continue;
        const CString className = kClassNames[c];
        for (int i = 0; i < 5; ++i)
            nodes.AddName(CString::Formatted("v(%s%d)", className.c_str(), i), VoltageNode);
        for (int i = 0; i < 2; ++i)
            nodes.AddName(CString::Formatted("v%s%d#branch", className.c_str(), i), CurrentNode);
    }
    // The samples are read only to keep them honest: they must stay readable.
    const CPropertyList models{CString(kSampleModels)};
    const CPropertyList instances{CString(kSampleInstances)};
    UpdateSelectedDeviceList();
    AddSelectedDeviceListToUserAndAnalysisNodeList();
}

int CASimulationEngine::WantStopNow() {
    return 0;
}

void CASimulationEngine::StopSimulation(CSpiceSession* /*session*/) {
}

int CASimulationEngine::IsSpecialNode(const CString& /*name*/) const {
    return 0;
}

CComplex CASimulationEngine::GetValueOfNode(const CString& /*name*/) {
    return CComplex(0.0, 0.0);
}

CSpiceSessionAgency* CASimulationEngine::GetSessionDistributor() {
    return nullptr;
}

CPropertyList CASimulationEngine::GetInstanceValues(const CSpiceInstance& /*instance*/,
                                                    const CSpiceModel& /*model*/,
                                                    const CSpiceDevice& /*device*/) {
    return CPropertyList();
}

CPropertyList CASimulationEngine::GetModelValues(const CSpiceModel& /*model*/,
                                                 const CSpiceDevice& /*device*/) {
    return CPropertyList();
}

int CASimulationEngine::SilentExecuteSimulatorCommand(CString /*command*/) {
    return 1;
}

void CASimulationEngine::UpdateSelectedDeviceList() {
    // Entries removed here may still be referenced by an outer walk of the
    // list; the removal lock keeps them alive until every walk has ended.
    std::lock_guard lock(userNodes_);
    userNodes_.lock_remove();
    size_t i = 0;
    while (i < userNodes_.GetCount()) {
        const CParamNodeEntry& entry = userNodes_[i];
        if (!entry.node || entry.flagged) {
            ++i;
            continue;
        }
        const CParamNode& node = *entry.node;
        bool keep = false;
        if (node.GetType() == CParamNode::ModelParam)
            keep = HasOutputParameter(GetModelList(), node.GetName(), node.GetParam());
        else if (node.GetType() == CParamNode::InstanceParam)
            keep = HasOutputParameter(GetInstanceList(), node.GetName(), node.GetParam());
        if (keep)
            ++i;
        else
            userNodes_.Remove(i);
    }
    userNodes_.unlock_remove();
}

void CASimulationEngine::AddSelectedDeviceListToUserAndAnalysisNodeList() {
    for (int c = 0; c < kClassCount; ++c) {
        userAndAnalysisNodes_[c] = analysisNodes_[c];
        userNodes_.addToNodeList(userAndAnalysisNodes_[c], ParameterNode, 0);
    }
}

void CASimulationEngine::UpdateInstanceList() {
}

void CASimulationEngine::UpdateModelList() {
}

void CASimulationEngine::Update_analysisNodeList(OutputVariableClass /*c*/) {
}

void CASimulationEngine::Update_userNodeList() {
    UpdateSelectedDeviceList();
}

void CASimulationEngine::Update_userAndAnalysisNodeList(OutputVariableClass c) {
    const int i = ClassIndex(c);
    userAndAnalysisNodes_[i] = GetSimpleAnalysisNodes(c);
    userNodes_.addToNodeList(userAndAnalysisNodes_[i], ParameterNode, 0);
}

int CASimulationEngine::ExecuteCommand(Analyses* analyses, CString command) {
    return DispatchCompoundCommand(CompoundCommands(), *this, analyses, command);
}

void CASimulationEngine::SetCircuitDataState(bool dirty) {
    const int32_t flag = dirty ? 1 : 0;
    modelListDirty_ = flag;
    instanceListDirty_ = flag;
    selectedDeviceListDirty_ = flag;
    for (int c = 0; c < kClassCount; ++c) {
        analysisNodesDirty_[c] = flag;
        userAndAnalysisNodesDirty_[c] = flag;
    }
}

void CASimulationEngine::LockUpdateAnalysisNodeList(int lock) {
    if (lock)
        ++updateLockCount_;
    else
        --updateLockCount_;
}

CSPICEdevMemberList& CASimulationEngine::GetModelList() {
    if (modelListDirty_) {
        UpdateModelList();
        modelListDirty_ = 0;
    }
    return modelList_;
}

const CSPICEdevMemberList& CASimulationEngine::GetModelList() const {
    // The cache is logically part of the circuit's state, not of the engine's.
    return const_cast<CASimulationEngine*>(this)->GetModelList();
}

CSPICEdevMemberList& CASimulationEngine::GetInstanceList() {
    if (instanceListDirty_) {
        UpdateInstanceList();
        instanceListDirty_ = 0;
    }
    return instanceList_;
}

const CSPICEdevMemberList& CASimulationEngine::GetInstanceList() const {
    return const_cast<CASimulationEngine*>(this)->GetInstanceList();
}

CSpiceNodeNameList& CASimulationEngine::GetSimpleAnalysisNodes(OutputVariableClass c) {
    const int i = ClassIndex(c);
    if (analysisNodesDirty_[i]) {
        Update_analysisNodeList(static_cast<OutputVariableClass>(i));
        analysisNodesDirty_[i] = 0;
    }
    return analysisNodes_[i];
}

CSpiceNodeNameList& CASimulationEngine::GetAnalysisNodes(OutputVariableClass c) {
    const int i = ClassIndex(c);
    if (userAndAnalysisNodesDirty_[i]) {
        Update_userAndAnalysisNodeList(static_cast<OutputVariableClass>(i));
        userAndAnalysisNodesDirty_[i] = 0;
    }
    return userAndAnalysisNodes_[i];
}

// Status bar

uint32_t CASimulationEngine::Ticks() const {
    return tickSource_ ? tickSource_() : GetTickCount();
}

CString CASimulationEngine::ConvertAnalysisToNickname(ANALYSIS_TYPE type) {
    using T = Analyses::AnalysisType;
    T kind;
    switch (type) {
    case AT_OP:
        kind = T::Op;
        break;
    case AT_AC:
        kind = T::Ac;
        break;
    case AT_TRAN:
        kind = T::Tran;
        break;
    case AT_NOISE:
        kind = T::Noise;
        break;
    case AT_DISTO:
        kind = T::Disto;
        break;
    case AT_PZ:
        kind = T::Pz;
        break;
    case AT_TF:
        kind = T::Tf;
        break;
    case AT_SENS:
        kind = T::Sens;
        break;
    case AT_DC:
        kind = T::DcSweep;
        break;
    default:
        return CString();
    }
    return Analyses::AnalysisNicknames()[static_cast<size_t>(kind)];
}

void CASimulationEngine::SetStatusBarAnalysisType(ANALYSIS_TYPE type) {
    statusAnalysisType_ = type;
    statusAnalysisText_ = ConvertAnalysisToNickname(type);
    statusAnalysisUnits_.Empty();
}

void CASimulationEngine::StartUpdateStatusBarAnalysisData() {
    if (!guiFE_)
        return;
    IITVariant current;
    guiFE_->GetProperty(GUIFE_CURRENT_STATUS, current, nullptr, nullptr);
    const CString status = current.GetString();
    const double start = (Ticks() - guiFE_->GetStartTickCount()) * 0.001;
    progressRate_.Reset(start, start);
    CString text = status;
    if (!status.IsEmpty())
        text += ": ";
    text += GetResourceText(IDS_ENGINE_SIMULATING);
    const IITVariant first(1);
    guiFE_->SetProperty(GUIFE_STATUS_TEXT, IITVariant(text), &first, nullptr);
    guiFE_->SetProperty(GUIFE_SIMULATION_STATE, IITVariant(1), nullptr, nullptr);
    UpdateStatusBarAnalysisData(1);
}

void CASimulationEngine::UpdateStatusBarAnalysisData(int force) {
    const uint32_t now = Ticks();
    if (!force && now - lastStatusUpdateTicks_ < StatusThrottleMs)
        return;
    if (!guiFE_)
        return;
    const CString value = Analyses::Analysis::ConvertAnalysisToXAxisValue(
        statusAnalysisType_, statusAnalysisTime_,
        statusAnalysisUnits_.IsEmpty() ? nullptr : statusAnalysisUnits_.c_str());
    CString text = statusAnalysisText_;
    if (!value.IsEmpty())
        text += ": " + value;
    const double elapsed = (now - guiFE_->GetStartTickCount()) * 0.001;
    progressRate_.Add(statusAnalysisTime_, elapsed);
    lastRate_ = progressRate_.GetRate();
    guiFE_->SetProperty(GUIFE_STATUS_TEXT, IITVariant(text), nullptr, nullptr);
    lastStatusUpdateTicks_ = now;
}

void CASimulationEngine::EndUpdateStatusBarAnalysisData() {
    UpdateStatusBarAnalysisData(1);
    if (!guiFE_)
        return;
    guiFE_->SetProperty(GUIFE_SIMULATION_STATE, IITVariant(2), nullptr, nullptr);
    const IITVariant first(1);
    guiFE_->SetProperty(GUIFE_STATUS_TEXT, IITVariant(CString()), &first, nullptr);
}

// Independent runs

int CASimulationEngine::SendAnalysisEvent(CEventSource* source, const EventData& data) {
    if (!analysisEventSink_)
        return 0;
    if (tape_ && recording_)
        tape_->RecordEvent(data);
    return analysisEventSink_->HandleEventIndirect(source, &data);
}

int CASimulationEngine::RunSimulatorCommand(const CString& command) {
    if (tape_ && !recording_)
        return tape_->PlayCommand(analysisEventSink_, failureReplay_);
    const int answer = SilentExecuteSimulatorCommand(command);
    if (tape_)
        tape_->RecordAnswer(answer);
    return answer;
}

void CASimulationEngine::NoteSimulatorFailure(const CString& message) {
    if (tape_ && recording_)
        tape_->RecordMessage(message);
}

bool CASimulationEngine::MapRuns(size_t count, const RunJob& job, const RunMerge& merge) {
    // Runs inside a run are part of it: they are made where it is made.
    const bool nested = tape_ != nullptr;
    const auto progress = [&](size_t done, size_t total) {
        if (nested || !guiFE_)
            return;
        const IITVariant all(static_cast<long>(total));
        guiFE_->SetProperty(GUIFE_RUN_PROGRESS, IITVariant(static_cast<long>(done)), &all, nullptr);
    };
    progress(0, count);
    bool finished = true;
    if (!distributor_ || nested) {
        for (size_t i = 0; i < count; ++i) {
            const bool go = merge(i);
            progress(i + 1, count);
            if (!go)
                break;
        }
    } else {
        const auto make = [&](size_t index) {
            CRunTape tape;
            {
                const RunTapeScope scope(*this, tape, true);
                job(index);
            }
            return tape.ToBytes();
        };
        size_t merged = 0;
        const auto take = [&](size_t index, const CRunOutcome& outcome) {
            CRunTape tape =
                outcome.ok ? CRunTape::FromBytes(outcome.bytes) : CRunTape::Failed(outcome.error);
            bool go = false;
            {
                const RunTapeScope scope(*this, tape, false);
                go = merge(index);
            }
            progress(++merged, count);
            return go;
        };
        finished = distributor_->Map(count, make, take);
    }
    progress(0, 0);
    return finished;
}

// Result pages

CGrapherPage& CASimulationEngine::OpenGrapherPage() {
    if (!openPage_)
        openPage_.emplace();
    return *openPage_;
}

void CASimulationEngine::ReleaseGrapherPage() {
    if (!openPage_)
        return;
    finishedPages_.push_back(std::move(*openPage_));
    openPage_.reset();
}

std::vector<CGrapherPage> CASimulationEngine::TakeGrapherPages() {
    return std::exchange(finishedPages_, {});
}

const char* CASimulationEngine::SampleModelRecords() {
    return kSampleModels;
}

const char* CASimulationEngine::SampleInstanceRecords() {
    return kSampleInstances;
}
