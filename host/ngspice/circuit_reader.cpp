// Reading the loaded circuit from ngspice's listings and, in forked children, its values.
#include "host/ngspice/circuit_reader.h"

#include "host/ngspice/dialect.h"
#include "host/ngspice/forked.h"
#include "host/ngspice/session.h"
#include "platform/resources.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <set>

namespace host {
namespace {

// A parameter that names no parameter of any device: "show" then lists every element's kind,
// name and model, and no value (values are what crash it on some sources).
constexpr const char* kNoParameter = "canal_no_such_parameter";
// Restarting after this many crashing reads gives up on the values not read by then.
constexpr unsigned kMaxCrashes = 64;

std::string ModeName(std::string_view dir) {
    if (dir == "in")
        return "Input";
    if (dir == "out")
        return "Output";
    return "InputOutput";
}

std::vector<std::string> SplitTabs(std::string_view line) {
    std::vector<std::string> fields;
    for (std::size_t pos = 0;;) {
        const auto tab = line.find('\t', pos);
        fields.push_back(Trim(line.substr(pos, tab - pos)));
        if (tab == std::string_view::npos)
            return fields;
        pos = tab + 1;
    }
}

bool IsKind(const std::vector<std::string>& kinds, std::string_view word) {
    return std::find(kinds.begin(), kinds.end(), word) != kinds.end();
}

// The kind named by a header of "show" ("Resistor: Simple linear resistor") or of "showmod"
// ("Resistor models (Simple linear resistor)"); empty for any other line.
std::string HeaderKind(const std::string& line, const std::vector<std::string>& kinds,
                       bool models) {
    const std::string_view marker = models ? " models (" : ":";
    const auto at = line.find(marker);
    if (at == std::string::npos || at == 0)
        return {};
    std::string kind = line.substr(0, at);
    return IsKind(kinds, kind) ? kind : std::string();
}

// The rows of "show"/"showmod": a header per kind, then "device NAME..." and "model NAME..."
// rows, several columns per row and several row groups per kind.
std::vector<ShownElement> ParseShown(const std::vector<std::string>& lines,
                                     const std::vector<std::string>& kinds, bool models) {
    std::vector<ShownElement> shown;
    std::string kind;
    std::size_t group = 0; // first element of the current "device" row
    for (const std::string& raw : lines) {
        const std::string line = Trim(raw);
        if (std::string k = HeaderKind(line, kinds, models); !k.empty()) {
            kind = std::move(k);
            group = shown.size();
            continue;
        }
        if (kind.empty())
            continue;
        std::vector<std::string> words = Tokens(line);
        if (words.size() < 2)
            continue;
        if (!models && words[0] == "device") {
            group = shown.size();
            for (std::size_t i = 1; i < words.size(); ++i)
                shown.push_back({kind, words[i], {}});
        } else if (words[0] == "model") {
            for (std::size_t i = 1; i < words.size(); ++i) {
                if (models)
                    shown.push_back({kind, words[i], {}});
                else if (group + i - 1 < shown.size())
                    shown[group + i - 1].model = words[i];
            }
        }
    }
    return shown;
}

template <class Value>
const Value& Cached(std::map<std::string, Value>& cache, std::mutex& lock, const std::string& key,
                    auto&& read) {
    std::lock_guard guard(lock);
    auto it = cache.find(key);
    if (it == cache.end())
        it = cache.emplace(key, read()).first;
    return it->second;
}

// ngspice's tables belong to the library, not to a circuit: read once per process.
const std::vector<std::string>& DeviceKinds(NgSpiceSession& session) {
    static std::map<std::string, std::vector<std::string>> cache;
    static std::mutex lock;
    return Cached(cache, lock, "",
                  [&] { return ParseDeviceKinds(session.Command("devhelp").out); });
}

const ParameterTables& Tables(NgSpiceSession& session, const std::string& kind) {
    static std::map<std::string, ParameterTables> cache;
    static std::mutex lock;
    return Cached(cache, lock, kind,
                  [&] { return ParseParameterTables(session.Command("devhelp " + kind).out); });
}

// An operating point sets every model's defaults (before it, parameters not given read 0) and
// names the circuit's nodes and branches; its plot is not kept. It saves everything, and the
// save list of a script that is running is put back afterwards.
void SetUp(NgSpiceSession& session, CircuitContents& contents) {
    const std::optional<std::string> held = session.SaveList();
    if (!held || !held->empty()) {
        (void)session.Command("delete all");
        session.SetSaveList(std::string());
    }
    CommandResult r;
    {
        const NgSpiceSession::ListenerScope quiet(session, nullptr);
        r = session.Command("op");
    }
    if (held && !held->empty() && session.Command("save " + *held).ok)
        session.SetSaveList(held);
    if (!r.ok || r.plots.empty()) {
        contents.notes.push_back(GetResourceText(IDS_HOST_READ_NO_OP) + r.error);
        return;
    }
    const std::string& plot = r.plots.front();
    contents.vectors = session.PlotVectors(plot);
    (void)session.Command("destroy " + plot);
}

// Independent sources answer every waveform parameter ("pulse", "sin", ...) with the
// coefficients of the one waveform they have; only that parameter keeps them.
void KeepOwnWaveform(CircuitContents::Element& source) {
    static const char* const kWaveforms[] = {"pulse", "sin", "exp",     "sffm",
                                             "pwl",   "am",  "trnoise", "trrandom"};
    int function = 0;
    for (const CSpiceParameter& p : source.params)
        if (p.name == "function" && !p.value.IsEmpty())
            function = static_cast<int>(p.value.GetDouble());
    for (CSpiceParameter& p : source.params) {
        const auto* end = std::end(kWaveforms);
        const auto* w = std::find_if(std::begin(kWaveforms), end,
                                     [&](const char* name) { return p.name == name; });
        if (w != end && w - std::begin(kWaveforms) + 1 != function)
            p.value = CPropertyItem();
    }
}

struct ValueRequest {
    CircuitContents::Element* element;
    std::size_t param;
    std::string vector; ///< "@name[param]"
};

CPropertyItem ValueItem(const std::vector<double>& values) {
    if (values.empty())
        return {};
    if (values.size() == 1)
        return CPropertyItem("value", values.front());
    return CPropertyItem("value", values.data(), static_cast<int>(values.size()));
}

// Reads every requested value in children; a child that crashes costs the read it crashed on.
void ReadValues(NgSpiceSession& session, std::vector<ValueRequest>& requests,
                CircuitContents& contents) {
    std::size_t next = 0;
    while (next < requests.size()) {
        const std::size_t first = next;
        const ForkOutcome outcome = RunForked([&](ByteWriter& out) {
            VectorData v;
            for (std::size_t i = first; i < requests.size(); ++i) {
                const bool ok = session.ReadVector(requests[i].vector, v);
                out.U32(static_cast<uint32_t>(i));
                out.U32(ok ? 1 : 0);
                out.Doubles(ok ? v.re : std::vector<double>());
                // Each read reaches the parent before the next one can crash the child.
                if (!out.Flush())
                    return;
            }
        });
        if (!outcome.started) {
            contents.notes.push_back(GetResourceText(IDS_HOST_READ_NO_CHILD) + outcome.error);
            return;
        }
        ByteReader in(outcome.data);
        while (!in.AtEnd()) {
            const uint32_t i = in.U32();
            const bool ok = in.U32() != 0;
            std::vector<double> values = in.Doubles();
            if (!in.Ok() || i >= requests.size())
                break;
            if (ok)
                requests[i].element->params[requests[i].param].value = ValueItem(values);
            next = i + 1;
        }
        if (outcome.Completed())
            return;
        if (next < requests.size())
            contents.notes.push_back(GetResourceText(IDS_HOST_READ_CRASHED) +
                                     requests[next].vector);
        ++next;
        if (++contents.crashes >= kMaxCrashes) {
            contents.notes.push_back(GetResourceText(IDS_HOST_READ_GAVE_UP));
            return;
        }
    }
}

// ngspice lists the elements of a kind last-read first; people read them in netlist order.
void SortByNetlist(const std::vector<std::string>& deck, CircuitContents& contents) {
    std::map<std::string, std::size_t> instanceLine, modelLine;
    for (std::size_t i = 0; i < deck.size(); ++i) {
        const std::vector<std::string> words = Tokens(deck[i]);
        if (words.empty())
            continue;
        if (Lower(words[0]) == ".model" && words.size() > 1)
            modelLine.emplace(Lower(words[1]), i);
        else
            instanceLine.emplace(Lower(words[0]), i);
    }
    const auto order = [&](std::vector<CircuitContents::Element>& list,
                           const std::map<std::string, std::size_t>& lines) {
        const auto rank = [&](const CircuitContents::Element& e) {
            const auto kind = std::find(contents.kinds.begin(), contents.kinds.end(), e.kind);
            const auto line = lines.find(Lower(e.name));
            return std::pair(kind - contents.kinds.begin(),
                             line == lines.end() ? deck.size() : line->second);
        };
        std::stable_sort(list.begin(), list.end(),
                         [&](const auto& a, const auto& b) { return rank(a) < rank(b); });
    };
    order(contents.instances, instanceLine);
    order(contents.models, modelLine);
}

CSpiceParameterList Parameters(const std::vector<ParameterInfo>& table) {
    CSpiceParameterList params;
    for (const ParameterInfo& p : WithoutAliases(table))
        params.emplace_back(CString(p.name), CPropertyItem(), CString(p.description),
                            CString(p.mode));
    return params;
}

} // namespace

std::vector<ParameterInfo> WithoutAliases(const std::vector<ParameterInfo>& table) {
    std::vector<ParameterInfo> first;
    std::set<int> seen;
    for (const ParameterInfo& p : table)
        if (seen.insert(p.id).second)
            first.push_back(p);
    return first;
}

const ParameterInfo* FindParameter(const std::vector<ParameterInfo>& table, std::string_view name) {
    const std::string wanted = Lower(name);
    for (const ParameterInfo& p : table)
        if (p.name == wanted)
            return &p;
    return nullptr;
}

std::vector<std::string> ParseDeviceKinds(const std::vector<std::string>& lines) {
    std::vector<std::string> kinds;
    for (const std::string& line : lines) {
        const auto colon = line.find(':');
        if (colon == std::string::npos)
            continue;
        std::vector<std::string> words = Tokens(std::string_view(line).substr(0, colon));
        if (words.size() == 1)
            kinds.push_back(std::move(words.front()));
    }
    return kinds;
}

ParameterTables ParseParameterTables(const std::vector<std::string>& lines) {
    ParameterTables tables;
    std::vector<ParameterInfo>* section = nullptr;
    for (const std::string& line : lines) {
        const std::string t = Trim(line);
        if (t == "Model Parameters") {
            section = &tables.model;
            continue;
        }
        if (t == "Instance Parameters") {
            section = &tables.instance;
            continue;
        }
        if (!section)
            continue;
        const std::vector<std::string> f = SplitTabs(t);
        if (f.size() < 3)
            continue;
        char* end = nullptr;
        const long id = std::strtol(f[0].c_str(), &end, 10);
        if (f[0].empty() || *end != '\0' || f[1].empty())
            continue;
        section->push_back({static_cast<int>(id), Lower(f[1]), ModeName(f[2]),
                            f.size() > 3 ? f[3] : std::string()});
    }
    return tables;
}

std::vector<ShownElement> ParseShownInstances(const std::vector<std::string>& lines,
                                              const std::vector<std::string>& kinds) {
    return ParseShown(lines, kinds, false);
}

std::vector<ShownElement> ParseShownModels(const std::vector<std::string>& lines,
                                           const std::vector<std::string>& kinds) {
    return ParseShown(lines, kinds, true);
}

std::string PrincipalParameter(std::string_view kind) {
    static const std::pair<const char*, const char*> kPrincipal[] = {
        {"Resistor", "resistance"}, {"Capacitor", "capacitance"},
        {"Inductor", "inductance"}, {"Vsource", "dc"},
        {"Isource", "dc"},          {"VCVS", "gain"},
        {"VCCS", "gain"},           {"CCCS", "gain"},
        {"CCVS", "gain"},           {"mutual", "k"},
    };
    for (const auto& [k, p] : kPrincipal)
        if (kind == k)
            return p;
    return {};
}

CircuitContents ReadCircuit(NgSpiceSession& session, const std::vector<std::string>& skip,
                            const std::set<std::string>* valuesOf) {
    CircuitContents contents;
    contents.kinds = DeviceKinds(session);
    if (!session.HasCircuit())
        return contents;
    SetUp(session, contents);

    const std::string show = std::string(" all : ") + kNoParameter;
    for (ShownElement& e : ParseShownInstances(session.Command("show" + show).out, contents.kinds))
        if (std::find(skip.begin(), skip.end(), e.name) == skip.end())
            contents.instances.push_back({e.kind, e.model, e.name, {}});
    for (ShownElement& e : ParseShownModels(session.Command("showmod" + show).out, contents.kinds))
        contents.models.push_back({e.kind, {}, e.name, {}});

    SortByNetlist(session.CircuitDeck(), contents);

    std::vector<ValueRequest> requests;
    auto ask = [&](CircuitContents::Element& e, const std::vector<ParameterInfo>& table) {
        e.params = Parameters(table);
        // Models inside subcircuits ("x1:dmod") cannot be named in a vector.
        if (e.name.find(':') != std::string::npos || (valuesOf && !valuesOf->count(Lower(e.name))))
            return;
        for (std::size_t i = 0; i < e.params.size(); ++i)
            if (e.params[i].mode != "Input")
                requests.push_back({&e, i, "@" + e.name + "[" + e.params[i].name.str() + "]"});
    };
    for (auto* list : {&contents.instances, &contents.models})
        for (CircuitContents::Element& e : *list)
            contents.tables.emplace(e.kind, Tables(session, e.kind));
    for (CircuitContents::Element& e : contents.instances)
        ask(e, contents.tables[e.kind].instance);
    for (CircuitContents::Element& e : contents.models)
        ask(e, contents.tables[e.kind].model);
    ReadValues(session, requests, contents);
    for (CircuitContents::Element& e : contents.instances)
        if (e.kind == "Vsource" || e.kind == "Isource")
            KeepOwnWaveform(e);
    return contents;
}

void FillCircuit(const CircuitContents& contents, CSpiceCircuit& circuit) {
    for (const std::string& kind : contents.kinds)
        circuit.AddDevice(CString(kind));
    for (const CircuitContents::Element& m : contents.models)
        circuit.FindDevice(CString(m.kind)).AddModel(CString(m.name), m.params);
    for (const CircuitContents::Element& i : contents.instances) {
        CSpiceDevice device = circuit.AddDevice(CString(i.kind));
        CSpiceModel model = device.FindModel(circuit, CString(i.model));
        if (!model.IsValid())
            model = device.AddModel(CString(i.model));
        model.AddInstance(CString(i.name), i.params);
    }
}

} // namespace host
