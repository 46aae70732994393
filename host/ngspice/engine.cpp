// The ngspice engine: inner runs, parameter changes, the circuit's members and pin probes.
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
namespace {

// A BJT model without an epitaxial-layer resistance crashes ngspice 39's sensitivity analysis
// (its load writes matrix elements that the analysis never allocated). With one so small that
// it changes nothing measurable, the elements exist. Only the throwaway child sees it.
constexpr const char* kBjtSensRepair = " rco = 1e-9";

// Netlist names ignore case; compared without copies, as every parameter change compares some.
bool SameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) ==
               std::tolower(static_cast<unsigned char>(y));
    });
}

bool Matches(const CString& wanted, const std::string& actual) {
    return wanted.IsEmpty() || SameName(wanted.view(), actual);
}

std::string Shortest(double v) {
    char buffer[32];
    const auto r = std::to_chars(buffer, buffer + sizeof buffer, v);
    return std::string(buffer, r.ptr);
}

// The value of a change as ngspice reads it; "" when the item holds none.
std::string ValueText(const CPropertyItem& item) {
    switch (item.GetTypeOfValue()) {
    case CPropertyItem::Double:
        return Shortest(item.GetDouble());
    case CPropertyItem::Int:
        return std::to_string(item.GetInt());
    case CPropertyItem::Bool:
        return item.GetBool() ? "1" : "0";
    case CPropertyItem::Array: {
        std::vector<double> values(static_cast<std::size_t>(item.GetArrayCount()));
        item.WriteToArray(values.data());
        std::string text = "[";
        for (double v : values)
            text += " " + Shortest(v);
        return text + " ]";
    }
    case CPropertyItem::String:
        return Trim(item.GetString().view());
    default:
        return {};
    }
}

const CircuitContents::Element* FindElement(const std::vector<CircuitContents::Element>& list,
                                            const CString& kind, const CString& model,
                                            const CString& name) {
    for (const CircuitContents::Element& e : list)
        if (SameName(e.name, name.view()) && Matches(kind, e.kind) && Matches(model, e.model))
            return &e;
    return nullptr;
}

// Finds the members' element (an instance or a model) by its names and hands it to `set`.
template <class Set>
void UpdateMember(CSpiceCircuit circuit, bool model, const std::string& kind,
                  const std::string& modelName, const std::string& name, Set&& set) {
    const CSpiceDevice device = circuit.FindDevice(CString(kind));
    CSpiceModel m = device.FindModel(circuit, CString(model ? name : modelName));
    if (model) {
        set(m);
        return;
    }
    CSpiceInstance i = m.FindInstance(CString(name));
    set(i);
}

const CPropertyItem* ValueOf(const CSpiceParameterList& params, const std::string& name) {
    for (const CSpiceParameter& p : params)
        if (p.name == name)
            return &p.value;
    return nullptr;
}

void Walk(const CPropertyList& list, std::vector<MemberReference>& out) {
    std::optional<long> sweepType;
    for (const CPropertyItem& item : list)
        if (item.GetLabel() == "SweepType" && item.GetTypeOfValue() == CPropertyItem::Int)
            sweepType = item.GetInt();
    constexpr std::string_view kSuffix = "ToSweep";
    for (const CPropertyItem& item : list) {
        if (item.GetTypeOfValue() != CPropertyItem::List)
            continue;
        const std::string label = item.GetLabel().str();
        const CPropertyList& nested = item.GetPropertyList();
        const bool isMember =
            label.size() > kSuffix.size() &&
            label.compare(label.size() - kSuffix.size(), kSuffix.size(), kSuffix) == 0 &&
            std::any_of(nested.begin(), nested.end(),
                        [](const auto& i) { return i.GetLabel() == "isinst"; });
        if (!isMember) {
            Walk(nested, out);
            continue;
        }
        const std::string prefix = label.substr(0, label.size() - kSuffix.size());
        if (prefix.size() >= 5 && prefix.compare(prefix.size() - 5, 5, "Param") == 0)
            continue;
        if (sweepType &&
            !((*sweepType == 0 && prefix == "Inst") || (*sweepType == 1 && prefix == "Model")))
            continue;
        MemberReference ref{nested, {}};
        bool named = false;
        for (const CPropertyItem& i : nested)
            named = named || ((i.GetLabel() == "name" || i.GetLabel() == "model") &&
                              !i.GetString().IsEmpty());
        if (!named)
            continue;
        const CString partner(prefix + "ParamToSweep");
        for (const CPropertyItem& p : list)
            if (p.GetLabel() == partner && p.GetTypeOfValue() == CPropertyItem::List)
                for (const CPropertyItem& i : p.GetPropertyList())
                    if (i.GetLabel() == "name")
                        ref.parameter = i.GetString().str();
        out.push_back(std::move(ref));
    }
}

void OutputVariablesOf(const CPropertyList& list, std::vector<std::string>& out) {
    for (const CPropertyItem& item : list) {
        if (item.GetTypeOfValue() == CPropertyItem::List)
            OutputVariablesOf(item.GetPropertyList(), out);
        else if (item.GetLabel() == "OutputVariable" && !item.GetString().IsEmpty())
            out.push_back(item.GetString().str());
    }
}

std::string StringOf(const CPropertyList& record, const char* label) {
    for (const CPropertyItem& i : record)
        if (i.GetLabel() == label)
            return i.GetString().str();
    return {};
}

} // namespace

std::vector<MemberReference> FindMemberReferences(const CPropertyList& record) {
    std::vector<MemberReference> refs;
    Walk(record, refs);
    return refs;
}

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

void NgSpiceEngine::RevertMembers() {
    const CSpiceCircuit circuit = agency_.GetMainSession()->GetCurrentCircuit();
    for (auto it = changes_.rbegin(); it != changes_.rend(); ++it)
        UpdateMember(circuit, it->model, it->kind, it->modelName, it->element, [&](auto& element) {
            element.SetParameterValue(CString(it->parameter), it->original);
        });
    changes_.clear();
    plans_.clear();
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

ForkOutcome NgSpiceEngine::SensitivityChild(const std::string& command,
                                            const std::vector<std::string>& repairs) {
    return RunForked(
        [&](ByteWriter& out) {
            const NgSpiceSession::ListenerScope quiet(session_, nullptr);
            // Saved node lists make ngspice's sensitivity find nothing to save.
            (void)session_.Command("delete all");
            for (const std::string& repair : repairs)
                (void)session_.Command(repair);
            const CommandResult r = session_.Command(command);
            out.U32(r.ok ? 1 : 0);
            out.Text(r.error);
            out.U32(static_cast<uint32_t>(r.plots.size()));
            VectorData v;
            for (const std::string& plot : r.plots) {
                std::string scale;
                const std::vector<std::string> names = session_.PlotVectors(plot, &scale);
                out.Text(plot);
                out.Text(session_.PlotType(plot));
                out.Text(scale);
                out.U32(static_cast<uint32_t>(names.size()));
                for (const std::string& n : names) {
                    const bool read = session_.ReadVector(plot + "." + n, v);
                    out.Text(n);
                    out.Doubles(read ? v.re : std::vector<double>());
                    out.Doubles(read ? v.im : std::vector<double>());
                }
            }
        },
        [this] { return WantStopNow() != 0; });
}

/// One plot the sensitivity child sent back, with ngspice's names.
struct SensitivityPlot {
    std::string name, title, scale;
    std::vector<std::string> names;
    std::vector<std::vector<double>> re, im; ///< per vector
};

std::vector<std::string> NgSpiceEngine::BjtSensitivityRepairs(std::string& repaired) const {
    // BJT models whose "rco" was not given (ngspice then reports its default, 0.01) are what
    // crashes ngspice 39; with a negligible one they do not.
    std::vector<std::string> repairs;
    for (const CircuitContents::Element& m : contents_.models) {
        const CPropertyItem* rco = ValueOf(m.params, "rco");
        const double value = rco ? rco->GetDouble() : 0.0;
        if (m.kind == "BJT" && m.name.find(':') == std::string::npos &&
            (value == 0.0 || value == 0.01)) {
            repairs.push_back("altermod " + m.name + kBjtSensRepair);
            repaired += (repaired.empty() ? "" : " ") + m.name;
        }
    }
    return repairs;
}

bool NgSpiceEngine::SensitivityPlots(const std::string& command,
                                     const std::vector<std::string>& repairs,
                                     std::vector<SensitivityPlot>& plots, bool* crashed) {
    const ForkOutcome outcome = SensitivityChild(command, repairs);
    if (!outcome.started) {
        Fail(GetResourceText(IDS_HOST_SENS_NO_CHILD) + outcome.error);
        return false;
    }
    if (outcome.stopped) {
        Fail(GetResourceText(IDS_HOST_SENS_STOPPED));
        return false;
    }
    if (outcome.Crashed()) {
        Fail(CString::Formatted(GetResourceText(IDS_HOST_SENS_CRASHED), outcome.Ending().c_str())
                 .str());
        if (crashed)
            *crashed = true;
        return false;
    }
    ByteReader in(outcome.data);
    const bool ok = in.U32() != 0;
    const std::string error = in.Text();
    if (!ok) {
        Fail(error);
        return false;
    }
    plots.clear();
    const uint32_t count = in.U32();
    for (uint32_t p = 0; p < count && in.Ok(); ++p) {
        SensitivityPlot& plot = plots.emplace_back();
        plot.name = in.Text();
        plot.title = in.Text();
        plot.scale = in.Text();
        const uint32_t vectors = in.U32();
        for (uint32_t i = 0; i < vectors && in.Ok(); ++i) {
            plot.names.push_back(in.Text());
            plot.re.push_back(in.Doubles());
            plot.im.push_back(in.Doubles());
        }
    }
    return in.Ok();
}

bool NgSpiceEngine::RunSensitivity(const std::string& statement) {
    EnsureRead(); // the names of the plot and the repairs come from the circuit's members
    const AnalysisCommand a = MapAnalysis(Tokens(statement));
    std::vector<std::string> repairs;
    std::vector<SensitivityPlot> plots;
    bool crashed = false;
    if (!SensitivityPlots(a.command, repairs, plots, &crashed)) {
        std::string repaired;
        if (!repairSensitivity_ || !crashed ||
            (repairs = BjtSensitivityRepairs(repaired)).empty() ||
            !SensitivityPlots(a.command, repairs, plots))
            return false;
        lastError_.clear();
        messages_.push_back(GetResourceText(IDS_HOST_SENS_REPAIRED) + repaired);
    }

    // ngspice 39 gets an AC sensitivity right only at the first frequency that a process
    // computes; every further frequency is worked out in a fresh child of its own.
    const auto ac = std::find(a.args.begin(), a.args.end(), "ac");
    std::string single = "sens";
    for (auto it = a.args.begin(); it != ac; ++it)
        single += " " + *it;
    for (SensitivityPlot& plot : plots) {
        const auto scale = std::find(plot.names.begin(), plot.names.end(), plot.scale);
        if (ac == a.args.end() || scale == plot.names.end())
            continue;
        const std::vector<double> frequencies =
            plot.re[static_cast<std::size_t>(scale - plot.names.begin())];
        for (std::size_t k = 1; k < frequencies.size(); ++k) {
            const std::string f = CString::Formatted("%.17g", frequencies[k]).str();
            std::vector<SensitivityPlot> point;
            if (WantStopNow()) {
                Fail(GetResourceText(IDS_HOST_SENS_STOPPED));
                return false;
            }
            if (!SensitivityPlots(single + " ac lin 1 " + f + " " + f, repairs, point))
                return false;
            if (point.empty())
                continue;
            for (std::size_t v = 0; v < plot.names.size(); ++v) {
                const auto at =
                    std::find(point[0].names.begin(), point[0].names.end(), plot.names[v]);
                if (at == point[0].names.end() || &plot.names[v] == &*scale)
                    continue;
                const std::size_t i = static_cast<std::size_t>(at - point[0].names.begin());
                if (k < plot.re[v].size() && !point[0].re[i].empty())
                    plot.re[v][k] = point[0].re[i].front();
                if (k < plot.im[v].size() && !point[0].im[i].empty())
                    plot.im[v][k] = point[0].im[i].front();
            }
        }
    }

    std::map<std::string, SensitivityElement> elements;
    for (const CircuitContents::Element& i : contents_.instances)
        elements.emplace(Lower(i.name), SensitivityElement{i.model, PrincipalParameter(i.kind)});
    const SensitivityLookup lookup = [&](std::string_view name) -> const SensitivityElement* {
        const auto it = elements.find(std::string(name));
        return it == elements.end() ? nullptr : &it->second;
    };
    for (const SensitivityPlot& plot : plots) {
        CSpicePlotInfo info;
        info.name = CString(plot.name);
        info.title = CString(plot.title);
        info.type = AT_SENS;
        const std::vector<SensitivityColumn> columns =
            CanonicalSensitivityColumns(plot.names, lookup);
        std::size_t rows = 0;
        for (const auto& r : plot.re)
            rows = std::max(rows, r.size());
        std::vector<std::vector<double>> real(rows, std::vector<double>(columns.size())),
            imag(rows, std::vector<double>(columns.size()));
        for (std::size_t c = 0; c < columns.size(); ++c) {
            info.vectorNames.emplace_back(columns[c].name);
            bool complex = false;
            for (std::size_t s : columns[c].sources) {
                complex = complex || !plot.im[s].empty();
                for (std::size_t r = 0; r < rows; ++r) {
                    real[r][c] += r < plot.re[s].size() ? plot.re[s][r] : 0.0;
                    imag[r][c] += r < plot.im[s].size() ? plot.im[s][r] : 0.0;
                }
            }
            info.vectorIsComplex.push_back(complex);
            if (columns[c].name == plot.scale)
                info.scaleIndex = static_cast<int>(c);
        }
        forwarder_.DeliverPlot(info, real, imag);
    }
    return true;
}

// --- parameter changes -----------------------------------------------------------------------

std::string NgSpiceEngine::PlanChange(long id, const CStringArray& names, std::string& error,
                                      Change& change) {
    const unsigned wanted = id == SNAPIN_INSTANCE_PARAMETER ? 4 : 3;
    if (id != SNAPIN_INSTANCE_PARAMETER && id != SNAPIN_MODEL_PARAMETER) {
        error = CString::Formatted(GetResourceText(IDS_HOST_UNKNOWN_PROPERTY), id).str();
        return {};
    }
    if (names.size() != wanted) {
        error = CString::Formatted(GetResourceText(IDS_HOST_BAD_CHANGE), id, wanted,
                                   static_cast<unsigned>(names.size()))
                    .str();
        return {};
    }
    EnsureRead();
    const bool model = id == SNAPIN_MODEL_PARAMETER;
    const CString& name = model ? names[1] : names[2];
    const CString& param = names[wanted - 1];
    const CircuitContents::Element* e =
        model ? FindElement(contents_.models, names[0], CString(), name)
              : FindElement(contents_.instances, names[0], names[1], name);
    if (!e) {
        error = CString::Formatted(
                    GetResourceText(model ? IDS_HOST_NO_MODEL : IDS_HOST_NO_INSTANCE), name.c_str())
                    .str();
        return {};
    }
    change.model = model;
    change.kind = e->kind;
    change.modelName = e->model;
    change.element = e->name;
    if (param.IsEmpty())
        return "-"; // the element alone was asked about
    const auto tables = contents_.tables.find(e->kind);
    const std::vector<ParameterInfo>* table =
        tables == contents_.tables.end()
            ? nullptr
            : (model ? &tables->second.model : &tables->second.instance);
    const ParameterInfo* p = table ? FindParameter(*table, param.view()) : nullptr;
    if (!p) {
        error = CString::Formatted(GetResourceText(IDS_HOST_NO_PARAMETER), e->name.c_str(),
                                   param.c_str())
                    .str();
        return {};
    }
    if (p->mode == "Output") {
        error = CString::Formatted(GetResourceText(IDS_HOST_OUTPUT_ONLY), e->name.c_str(),
                                   p->name.c_str())
                    .str();
        return {};
    }
    // Aliases ("r" of a resistor) are set under the name the member lists ("resistance").
    change.parameter = p->name;
    for (const ParameterInfo& row : *table)
        if (row.id == p->id) {
            change.parameter = row.name;
            break;
        }
    if (model)
        return "altermod " + e->name + " " + change.parameter + " = ";
    return "alter @" + e->name + "[" + change.parameter + "] = ";
}

int NgSpiceEngine::ChangeParameter(long id, const CStringArray& names, const CPropertyItem& value) {
    // A compound analysis changes the same few parameters run after run: each is looked up once.
    std::string key = std::to_string(id);
    for (const CString& n : names)
        (key += '\n') += n.str();
    auto plan = plans_.find(key);
    if (plan == plans_.end()) {
        PlannedChange planned;
        std::string error;
        planned.command = PlanChange(id, names, error, planned.change);
        if (planned.command.empty() || planned.command == "-") {
            if (error.empty())
                error = CString::Formatted(GetResourceText(IDS_HOST_NO_PARAMETER),
                                           planned.change.element.c_str(), "")
                            .str();
            pendingError_ = error;
            Fail(error);
            return 0;
        }
        const CSpiceCircuit circuit = agency_.GetMainSession()->GetCurrentCircuit();
        const Change& c = planned.change;
        UpdateMember(circuit, c.model, c.kind, c.modelName, c.element, [&](auto& element) {
            if constexpr (std::is_same_v<std::decay_t<decltype(element)>, CSpiceModel>)
                planned.model = element;
            else
                planned.instance = element;
        });
        plan = plans_.emplace(std::move(key), std::move(planned)).first;
    }
    PlannedChange& planned = plan->second;
    const std::string text = ValueText(value);
    if (text.empty()) {
        const std::string error =
            CString::Formatted(GetResourceText(IDS_HOST_NO_VALUE), planned.change.element.c_str(),
                               planned.change.parameter.c_str())
                .str();
        pendingError_ = error;
        Fail(error);
        return 0;
    }
    const CommandResult r = session_.Command(planned.command + text);
    if (!r.ok) {
        pendingError_ = r.error;
        Fail(r.error);
        return 0;
    }
    const auto update = [&](auto& element) {
        if (!planned.recorded) {
            // The first change of a parameter keeps the value it replaced, to put it back.
            Change change = planned.change;
            const CSpiceParameterList params = element.GetParameters();
            if (const CPropertyItem* old = ValueOf(params, change.parameter))
                change.original = *old;
            changes_.push_back(std::move(change));
            planned.recorded = true;
        }
        element.SetParameterValue(CString(planned.change.parameter), value);
    };
    if (planned.change.model)
        update(planned.model);
    else
        update(planned.instance);
    return 1;
}

std::string NgSpiceEngine::CheckParameterChange(long id, const CStringArray& names) {
    Change unused;
    std::string error;
    PlanChange(id, names, error, unused);
    return error;
}

std::vector<std::string>
NgSpiceEngine::UnknownOutputVariables(const std::vector<std::string>& names) {
    EnsureRead();
    std::vector<std::string> unknown;
    // Without an operating point there is nothing to check against.
    if (contents_.vectors.empty())
        return unknown;
    std::set<std::string> known(contents_.vectors.begin(), contents_.vectors.end());
    const auto knownNode = [&](std::string node) {
        node = Lower(Trim(node));
        return node == "0" || node == "gnd" || known.count(node) != 0;
    };
    for (const std::string& name : names) {
        const std::string key = VectorKey(GroundToZero(name));
        if (key.empty() || key == "all" || key == "allv" || key == "alli" ||
            key.find('@') != std::string::npos)
            continue;
        bool ok;
        if (key.size() > 3 && (key[0] == 'v' || key[0] == 'i') && key[1] == '(' &&
            key.back() == ')') {
            std::vector<std::string> nodes;
            const std::string inner = key.substr(2, key.size() - 3);
            for (std::size_t pos = 0;;) {
                const auto comma = inner.find(',', pos);
                nodes.push_back(inner.substr(pos, comma - pos));
                if (comma == std::string::npos)
                    break;
                pos = comma + 1;
            }
            ok = key[0] == 'v' && std::all_of(nodes.begin(), nodes.end(), knownNode);
        } else {
            ok = knownNode(key);
        }
        if (!ok)
            unknown.push_back(name);
    }
    return unknown;
}

std::vector<std::string> NgSpiceEngine::CheckSettings(const CPropertyList& record) {
    std::vector<std::string> refusals;
    for (const MemberReference& ref : FindMemberReferences(record)) {
        const bool instance =
            std::any_of(ref.member.begin(), ref.member.end(), [](const CPropertyItem& i) {
                return i.GetLabel() == "isinst" && i.GetInt() != 0;
            });
        const CString device(StringOf(ref.member, "device"));
        const CString model(StringOf(ref.member, "model"));
        const CString param(ref.parameter);
        const std::string error =
            instance ? CheckParameterChange(
                           SNAPIN_INSTANCE_PARAMETER,
                           {device, model, CString(StringOf(ref.member, "name")), param})
                     : CheckParameterChange(SNAPIN_MODEL_PARAMETER, {device, model, param});
        if (!error.empty() && std::find(refusals.begin(), refusals.end(), error) == refusals.end())
            refusals.push_back(error);
    }
    std::vector<std::string> outputs;
    OutputVariablesOf(record, outputs);
    const std::vector<std::string> unknown = UnknownOutputVariables(outputs);
    if (!unknown.empty()) {
        std::string line = GetResourceText(IDS_HOST_UNKNOWN_OUTPUTS);
        for (std::size_t i = 0; i < unknown.size(); ++i)
            line += (i ? " " : "") + unknown[i];
        refusals.push_back(line);
    }
    return refusals;
}

void NgSpiceEngine::ReadValuesOnlyFor(const CPropertyList& record) {
    std::set<std::string> names;
    for (const MemberReference& ref : FindMemberReferences(record))
        for (const char* label : {"name", "model"})
            if (const std::string name = StringOf(ref.member, label); !name.empty())
                names.insert(Lower(name));
    valuesOnlyOf_ = std::move(names);
    readGeneration_.reset();
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
