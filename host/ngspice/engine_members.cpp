// The ngspice engine's parameter changes and the checks of analysis settings against the
// circuit read from ngspice.
#include "host/ngspice/engine.h"

#include "host/ngspice/dialect.h"
#include "host/ngspice/session.h"
#include "platform/helpers.h"
#include "platform/resources.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace host {
namespace {

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

void NgSpiceEngine::RevertMembers() {
    const CSpiceCircuit circuit = agency_.GetMainSession()->GetCurrentCircuit();
    for (auto it = changes_.rbegin(); it != changes_.rend(); ++it)
        UpdateMember(circuit, it->model, it->kind, it->modelName, it->element, [&](auto& element) {
            element.SetParameterValue(CString(it->parameter), it->original);
        });
    changes_.clear();
    plans_.clear();
}

} // namespace host
