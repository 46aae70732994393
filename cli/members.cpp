// `canal members`: what can be swept and toleranced, and how to name it.
#include "cli/members.h"

#include "cli/commands.h"
#include "cli/run.h"
#include "cli/settings.h"
#include "host/ngspice/engine.h"
#include "host/ngspice/session.h"
#include "platform/property.h"
#include "platform/resources.h"

#include <algorithm>
#include <filesystem>
#include <ostream>

namespace cli {
namespace {

bool SameName(const std::string& a, const std::string& b) {
    return CString(a).CompareNoCase(b.c_str()) == 0;
}

std::string ValueText(const CPropertyItem& value) {
    if (value.IsEmpty())
        return "-";
    if (value.GetTypeOfValue() == CPropertyItem::Array) {
        std::vector<double> values(static_cast<size_t>(value.GetArrayCount()));
        value.WriteToArray(values.data());
        std::string text;
        for (double v : values)
            text += (text.empty() ? "" : " ") + CString::Formatted("%lg", v).str();
        return text;
    }
    if (value.GetTypeOfValue() == CPropertyItem::Double)
        return CString::Formatted("%lg", value.GetDouble()).str();
    return value.GetValue().str();
}

std::vector<std::string> SplitBars(const std::string& text) {
    std::vector<std::string> parts;
    for (size_t pos = 0;;) {
        const size_t bar = text.find('|', pos);
        parts.push_back(text.substr(pos, bar - pos));
        if (bar == std::string::npos)
            return parts;
        pos = bar + 1;
    }
}

void AppendElement(std::string& out, const host::CircuitContents::Element& e, bool instance) {
    if (instance && !e.model.empty())
        out += CString::Formatted(GetResourceText(IDS_MEMBERS_INSTANCE), e.name.c_str(),
                                  e.kind.c_str(), e.model.c_str())
                   .str();
    else if (instance)
        out += CString::Formatted(GetResourceText(IDS_MEMBERS_INSTANCE_NO_MODEL), e.name.c_str(),
                                  e.kind.c_str())
                   .str();
    else
        out +=
            CString::Formatted(GetResourceText(IDS_MEMBERS_MODEL), e.name.c_str(), e.kind.c_str())
                .str();
    out += "\n  ";
    out += GetResourceText(IDS_MEMBERS_RECORD);
    CPropertyList member;
    if (instance)
        member.AddItem(CPropertyItem("name", CString(e.name)));
    else
        member.AddItem(CPropertyItem("model", CString(e.name)));
    member.AddItem(CPropertyItem("isinst", instance ? 1 : 0));
    out += CPropertyItem(instance ? "InstToSweep" : "ModelToSweep", member).GetField().str();
    out += "\n";
    if (e.params.empty())
        return;

    std::vector<std::vector<std::string>> rows = {SplitBars(GetResourceText(IDS_MEMBERS_COLUMNS))};
    for (const CSpiceParameter& p : e.params) {
        std::string record = "-";
        if (p.mode == "Input" || p.mode == "InputOutput") {
            CPropertyList param;
            param.AddItem(CPropertyItem("name", p.name));
            record = CPropertyItem(instance ? "InstParamToSweep" : "ModelParamToSweep", param)
                         .GetField()
                         .str();
        }
        rows.push_back({p.name.str(), ValueText(p.value), p.mode.str(),
                        p.description.IsEmpty() ? "-" : p.description.str(), record});
    }
    std::vector<size_t> width(rows.front().size(), 0);
    for (const auto& row : rows)
        for (size_t c = 0; c < row.size(); ++c)
            width[c] = std::max(width[c], row[c].size());
    for (const auto& row : rows) {
        std::string line = "  ";
        for (size_t c = 0; c < row.size(); ++c) {
            line += row[c];
            if (c + 1 < row.size())
                line += std::string(width[c] - row[c].size() + 2, ' ');
        }
        out += line + "\n";
    }
}

} // namespace

std::string MembersListing(const host::CircuitContents& contents, const std::string& only) {
    std::string out;
    for (const bool instance : {true, false})
        for (const host::CircuitContents::Element& e :
             instance ? contents.instances : contents.models) {
            if (!only.empty() && !SameName(e.name, only))
                continue;
            out += "\n";
            AppendElement(out, e, instance);
        }
    return out;
}

int ListMembers(const Invocation& call, std::ostream& out, std::ostream& err) {
    const std::string& circuit = call.positionals[0];
    if (const char* reason = UnreadableReason(circuit)) {
        ReportError(err, CString::Formatted(GetResourceText(IDS_MEMBERS_ERR_CIRCUIT),
                                            circuit.c_str(), reason)
                             .view());
        return ExitUsage;
    }
    host::NgSpiceEngine engine(host::NgSpiceSession::Get());
    std::string error;
    if (!engine.LoadCircuitFile(circuit, error)) {
        ReportError(err, CString::Formatted(GetResourceText(IDS_MEMBERS_ERR_LOAD), circuit.c_str(),
                                            error.c_str())
                             .view());
        return ExitFailure;
    }
    const host::CircuitContents& contents = engine.Contents();
    const std::string* only = call.Value("--only");
    const std::string listing = MembersListing(contents, only ? *only : std::string());
    if (only && listing.empty()) {
        ReportError(
            err,
            CString::Formatted(GetResourceText(IDS_MEMBERS_ERR_NO_ELEMENT), only->c_str()).view());
        return ExitFailure;
    }
    out << CString::Formatted(GetResourceText(IDS_MEMBERS_TITLE),
                              std::filesystem::path(circuit).filename().string().c_str(),
                              static_cast<unsigned>(contents.instances.size()),
                              static_cast<unsigned>(contents.models.size()))
               .str()
        << '\n'
        << listing;
    for (const std::string& note : contents.notes)
        err << CString::Formatted(GetResourceText(IDS_MEMBERS_NOTE), note.c_str()).str() << '\n';
    return ExitOk;
}

} // namespace cli
