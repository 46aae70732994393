// The ngspice engine: inner runs, parameter changes, the circuit's members and pin probes
// (sensitivity runs are in engine_sensitivity.cpp).
#include "host/ngspice/engine.h"

#include "host/ngspice/dialect.h"
#include "host/ngspice/forked.h"
#include "host/ngspice/sensitivity_names.h"
#include "host/ngspice/session.h"
#include "platform/helpers.h"
#include "platform/resources.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <chrono>
#include <set>
#include <type_traits>
#include <utility>

namespace host {

// --- snap-in ---------------------------------------------------------------------------------

int NgSpiceSnapIn::SetProperty(long id, const IITVariant& names, const IITVariant& value,
                               CTreeInstance* /*instance*/) {
    const CStringArray* list = names.GetStringArray();
    const CPropertyItem* item = value.GetPropertyItem();
    return engine_.ChangeParameter(id, list ? *list : CStringArray(),
                                   item ? *item : CPropertyItem("value", value.GetString()));
}

// --- engine ----------------------------------------------------------------------------------

NgSpiceEngine::NgSpiceEngine(NgSpiceSession& session)
    : session_(session), runner_(session), forwarder_(*this, agency_.GetMainSession()),
      commands_(CompoundCommands()) {
    SetSimulatorSnapIn(&snapIn_);
    CSPICEdevMember::SetASimEng(*this);
    SetCircuitDataState(true);
    silent_.silent = true;
    silent_.keepCircuitState = true;
    silent_.listener = &forwarder_;
    // A run made in a worker reports its failures here as if it had been made here.
    SetFailureReplay([this](const CString& message) { Fail(message.str()); });
}

NgSpiceEngine::~NgSpiceEngine() = default;

void NgSpiceEngine::Fail(const std::string& message) {
    NoteSimulatorFailure(CString(message));
    lastError_ = message;
    if (firstError_.empty())
        firstError_ = message;
    messages_.push_back(message);
}

bool NgSpiceEngine::LoadDeck(const std::vector<std::string>& deck, std::string& error) {
    return runner_.LoadCircuitLines(deck, error);
}

bool NgSpiceEngine::LoadCircuitFile(const std::string& path, std::string& error) {
    const bool ok = runner_.LoadCircuitFile(path, error);
    Loaded();
    return ok;
}

bool NgSpiceEngine::LoadCircuitLines(const std::vector<std::string>& lines, std::string& error) {
    const bool ok = runner_.LoadCircuitLines(lines, error);
    Loaded();
    return ok;
}

void NgSpiceEngine::Loaded() {
    originalDeck_ = session_.CircuitDeck();
    probesOn_ = false;
    probes_.clear();
    probeRenames_.clear();
    forwarder_.SetRenames(nullptr);
    // The same deck loaded again is not read again; its members must show the netlist's values.
    RevertMembers();
    pendingError_.clear();
    lastError_.clear();
    SetCircuitDataState(true);
}

void NgSpiceEngine::EnsureRead() {
    // Reading runs ngspice commands, which it cannot take while it is delivering data.
    if (session_.InLibraryCall())
        return;
    const unsigned generation = session_.CircuitGeneration();
    if (readGeneration_ && *readGeneration_ == generation)
        return;
    // The probed deck is the same circuit: what was read stays true.
    if (readGeneration_ && readDeck_ == originalDeck_ && session_.HasCircuit()) {
        readGeneration_ = generation;
        return;
    }
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::string> skip;
    for (const PinProbe& p : probes_)
        skip.push_back(p.source);
    contents_ = ReadCircuit(session_, skip, valuesOnlyOf_ ? &*valuesOnlyOf_ : nullptr);
    std::erase_if(contents_.vectors, [](const std::string& v) { return IsProbeName(v); });
    readSeconds_ = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    readGeneration_ = generation;
    readDeck_ = originalDeck_;
    CSpiceCircuit circuit = agency_.GetMainSession()->NewCircuit();
    FillCircuit(contents_, circuit);
    for (const std::string& note : contents_.notes)
        messages_.push_back(note);
    changes_.clear();
    plans_.clear();
    SetCircuitDataState(true);
}

const CircuitContents& NgSpiceEngine::Contents() {
    EnsureRead();
    return contents_;
}

// --- running ---------------------------------------------------------------------------------

RunResult NgSpiceEngine::Run(const std::string& script, Analyses* analyses, RunOptions options) {
    if (!options.orvo)
        options.orvo = [this, analyses](const std::string& request, std::string& error) {
            return RunCompound(request, analyses, error);
        };
    // The compound analyses read the plotted vectors from the engine; "all" is every vector,
    // which is what they take from an empty list.
    SetIPlot(CString());
    if (!options.iplot)
        options.iplot = [this](const std::vector<std::string>& vectors) {
            std::string list;
            for (const std::string& v : vectors)
                list += (list.empty() ? "" : " ") + v;
            const bool all = std::any_of(vectors.begin(), vectors.end(),
                                         [](const std::string& v) { return Lower(v) == "all"; });
            SetIPlot(all ? CString() : CString(list));
        };
    options.stopRequested = [this, outer = std::move(options.stopRequested)] {
        return WantStopNow() != 0 || (outer && outer());
    };
    return runner_.Run(script, options);
}

bool NgSpiceEngine::RunCompound(const std::string& keyAndRecord, Analyses* analyses,
                                std::string& error) {
    const std::vector<std::string> words = Tokens(keyAndRecord);
    const std::string key = words.empty() ? std::string() : words.front();
    if (std::none_of(commands_.begin(), commands_.end(),
                     [&](const CompoundCommand& c) { return key == c.keyword; })) {
        error = CString::Formatted(GetResourceText(IDS_HOST_COMPOUND_UNKNOWN), key.c_str()).str();
        return false;
    }
    EnsureRead();
    if (analyses)
        analyses->SetAsimEng(this);
    lastError_.clear();
    firstError_.clear();
    pendingError_.clear();
    stopped_ = false;
    const bool probes = key == "TRACEWIDTH" && !probesOn_;
    if (probes && !SetPinProbes(true, error))
        return false;

    int result = 0;
    try {
        result = commands_.data() == CompoundCommands().data()
                     ? ExecuteCommand(analyses, CString(keyAndRecord))
                     : DispatchCompoundCommand(commands_, *this, analyses, CString(keyAndRecord));
    } catch (...) {
        RestoreCircuit(probes);
        throw;
    }
    forwarder_.Finish();
    RestoreCircuit(probes);
    // The analysis's last commands (putting the swept value back, say) may have succeeded after
    // the failure that ended it.
    if (!result)
        error =
            !firstError_.empty()
                ? firstError_
                : CString::Formatted(GetResourceText(IDS_HOST_COMPOUND_FAILED), key.c_str()).str();
    return result != 0;
}

void NgSpiceEngine::RestoreCircuit(bool dropProbes) {
    // A failure here is noted but leaves the analysis's own message (LastError) alone.
    std::string error;
    if (dropProbes) {
        if (!SetPinProbes(false, error))
            messages_.push_back(error);
    } else if (session_.HasCircuit()) {
        // "reset" re-reads the deck: altered parameters, temperature and options go back.
        const CommandResult r = session_.ResetCircuit();
        if (!r.ok)
            messages_.push_back(GetResourceText(IDS_HOST_CLEANUP_FAILED) + r.error);
    }
    RevertMembers();
}

int NgSpiceEngine::SilentExecuteSimulatorCommand(CString command) {
    lastError_.clear();
    if (!pendingError_.empty()) {
        lastError_ = std::exchange(pendingError_, std::string());
        return 0;
    }
    if (session_.InLibraryCall()) {
        Fail(GetResourceText(IDS_HOST_REENTRANT));
        return 0;
    }
    CStringArray statements;
    DivideStringIntoStatements(command, statements);
    std::string batch;
    bool ok = true;
    for (const CString& raw : statements) {
        std::string text = Trim(raw.view());
        if (text.empty())
            continue;
        if (Lower(text.substr(0, text.find_first_of(" \t"))) != "sens") {
            batch += text + "; ";
            continue;
        }
        if (!batch.empty())
            ok = RunBatch(std::exchange(batch, std::string()));
        if (!ok || !(ok = RunSensitivity(text)))
            break;
    }
    if (ok && !batch.empty())
        ok = RunBatch(batch);
    forwarder_.Finish();
    // Between runs the analysis learns whether to go on.
    forwarder_.OnStopPoll();
    return ok ? 1 : 0;
}

bool NgSpiceEngine::RunBatch(const std::string& text) {
    const RunResult r = runner_.Run(text, silent_);
    if (!r.ok)
        Fail(r.error);
    return r.ok;
}

// --- pin probes ------------------------------------------------------------------------------

bool NgSpiceEngine::SetPinProbes(bool on, std::string& error) {
    if (on == probesOn_)
        return true;
    std::vector<std::string> deck = originalDeck_;
    ProbedDeck probed;
    if (on) {
        EnsureRead();
        std::set<std::string> models;
        for (const CircuitContents::Element& m : contents_.models)
            models.insert(Lower(m.name));
        probed = InsertPinProbes(originalDeck_, models);
        deck = probed.lines;
    }
    if (!LoadDeck(deck, error)) {
        if (on) {
            error = GetResourceText(IDS_HOST_PROBES_REJECTED) + error;
            std::string ignored;
            (void)LoadDeck(originalDeck_, ignored);
        }
        return false;
    }
    probesOn_ = on;
    probes_ = std::move(probed.probes);
    probeRenames_ = PinCurrentRenames(probes_);
    forwarder_.SetRenames(on ? &probeRenames_ : nullptr);
    RevertMembers();
    return true;
}

// --- CASimulationEngine ------------------------------------------------------------------------

int NgSpiceEngine::PerformConsistencyCheck(ANALYSIS_TYPE /*type*/) {
    return session_.HasCircuit() ? 1 : 0;
}

void NgSpiceEngine::OutputString(const CString& text, OUTPUT_TYPE /*type*/) {
    messages_.push_back(text.str());
}

int NgSpiceEngine::WantStopNow() {
    return stopRequested_.load() || (stopFlag_ && stopFlag_->load()) ? 1 : 0;
}

void NgSpiceEngine::StopSimulation(CSpiceSession* /*session*/) {
    // ngspice cannot be interrupted inside a synchronous run; the analysis ends after it.
    stopped_ = true;
}

void NgSpiceEngine::ClearStop() {
    stopRequested_.store(false);
    stopped_ = false;
}

CSpiceSessionAgency* NgSpiceEngine::GetSessionDistributor() {
    EnsureRead();
    return &agency_;
}

CPropertyList NgSpiceEngine::GetInstanceValues(const CSpiceInstance& instance,
                                               const CSpiceModel& /*model*/,
                                               const CSpiceDevice& /*device*/) {
    return SpiceParameterRecords(instance.GetParameters());
}

CPropertyList NgSpiceEngine::GetModelValues(const CSpiceModel& model,
                                            const CSpiceDevice& /*device*/) {
    return SpiceParameterRecords(model.GetParameters());
}

void NgSpiceEngine::UpdateInstanceList() {
    EnsureRead();
    instanceList_ = CSPICEdevMemberList(*this, 1);
}

void NgSpiceEngine::UpdateModelList() {
    EnsureRead();
    modelList_ = CSPICEdevMemberList(*this, 0);
}

void NgSpiceEngine::Update_analysisNodeList(OutputVariableClass c) {
    EnsureRead();
    CSpiceNodeNameList& nodes = analysisNodes_[static_cast<int>(c)];
    nodes.RemoveAll();
    switch (c) {
    case OVC_CKTnames:
    case OVC_DCnames:
    case OVC_SENS_CKTnames_op:
    case OVC_SENS_CKTnames_ac:
        for (const std::string& v : contents_.vectors) {
            if (v.find("#branch") != std::string::npos)
                nodes.AddName(CString(v), CurrentNode);
            else
                nodes.AddName(CString("v(" + v + ")"), VoltageNode);
        }
        break;
    case OVC_NOISE_CKTnames_dens:
        nodes.AddName("onoise_spectrum");
        nodes.AddName("inoise_spectrum");
        break;
    case OVC_NOISE_CKTnames_int:
        nodes.AddName("onoise_total");
        nodes.AddName("inoise_total");
        break;
    default:
        break;
    }
}

} // namespace host
