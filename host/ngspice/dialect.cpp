// The host dialect's names, statements, options and error rule, as text functions.
#include "host/ngspice/dialect.h"

#include "analyses/core/analysis_options.h"
#include "platform/cstring.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <sstream>
#include <utility>

namespace host {
namespace {

bool StartsWith(std::string_view s, std::string_view prefix) {
    return s.substr(0, prefix.size()) == prefix;
}

bool Contains(std::string_view s, std::string_view part) {
    return s.find(part) != std::string_view::npos;
}

bool IsNameChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

constexpr std::array<std::pair<std::string_view, StatementKind>, 23> kKeywords = {{
    {"begin-scope", StatementKind::BeginScope},
    {"end-scope", StatementKind::EndScope},
    {"if-error", StatementKind::IfError},
    {"checknodes", StatementKind::CheckNodes},
    {"save", StatementKind::Save},
    {"iplot", StatementKind::Iplot},
    {"-param", StatementKind::Param},
    {"set", StatementKind::Set},
    {"op", StatementKind::Analysis},
    {"ac", StatementKind::Analysis},
    {"dc", StatementKind::Analysis},
    {"tran", StatementKind::Analysis},
    {"noise", StatementKind::Analysis},
    {"disto", StatementKind::Analysis},
    {"sens", StatementKind::Analysis},
    {"pz", StatementKind::Analysis},
    {"tf", StatementKind::Analysis},
    {"fourier", StatementKind::Fourier},
    {"show", StatementKind::Show},
    {"showmod", StatementKind::Show},
    {"write-and-destroy-iplot", StatementKind::WriteAndDestroy},
    {"run", StatementKind::Run},
    {"orvo", StatementKind::Orvo},
}};

// ngspice 39 has these options only in builds with the XSPICE extensions; elsewhere it would
// keep the name as a plain variable and the setting would silently do nothing.
constexpr std::array<AnalysisOptions::Option, 9> kXspiceOnly = {
    AnalysisOptions::noopalter,   AnalysisOptions::ramptime,    AnalysisOptions::maxevtiter,
    AnalysisOptions::maxopalter,  AnalysisOptions::convlimit,   AnalysisOptions::convstep,
    AnalysisOptions::convabsstep, AnalysisOptions::autopartial, AnalysisOptions::rshunt};

std::string OptionName(AnalysisOptions::Option o) {
    return AnalysisOptions::GetDefaultOption(o).GetLabel().str();
}

// The model's option names, read once from its own table.
const std::vector<std::string>& OptionNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (int o = 0; o < AnalysisOptions::OptionCount; ++o)
            all.push_back(OptionName(static_cast<AnalysisOptions::Option>(o)));
        return all;
    }();
    return names;
}

} // namespace

std::string Lower(std::string_view s) {
    std::string r(s);
    for (char& c : r)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return r;
}

std::string Trim(std::string_view s) {
    const auto b = s.find_first_not_of(" \t\r\n");
    if (b == std::string_view::npos)
        return {};
    const auto e = s.find_last_not_of(" \t\r\n");
    return std::string(s.substr(b, e - b + 1));
}

std::vector<std::string> Tokens(std::string_view s) {
    std::vector<std::string> out;
    std::istringstream in{std::string(s)};
    for (std::string t; in >> t;)
        out.push_back(std::move(t));
    return out;
}

bool ParseNumber(std::string_view s, double& value) {
    const char* b = s.data();
    const char* e = s.data() + s.size();
    if (b != e && *b == '+')
        ++b;
    const auto r = std::from_chars(b, e, value);
    return r.ec == std::errc() && r.ptr == e;
}

std::string FormatNumber(double value) {
    return CString::Formatted("%lg", value).str();
}

std::string GroundToZero(std::string_view s) {
    std::string r;
    r.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        const bool startOk = i == 0 || !IsNameChar(s[i - 1]);
        const bool endOk = i + 2 >= s.size() || !IsNameChar(s[i + 2]);
        if (s[i] == '$' && i + 1 < s.size() && s[i + 1] == '0' && startOk && endOk) {
            r += '0';
            ++i;
        } else {
            r += s[i];
        }
    }
    return r;
}

std::string VectorKey(std::string_view name) {
    std::string n = Lower(Trim(name));
    if (n.size() > 3 && n.back() == ')' && (StartsWith(n, "v(") || StartsWith(n, "i("))) {
        std::string inner = n.substr(2, n.size() - 3);
        if (!Contains(inner, ","))
            return n[0] == 'v' ? inner : inner + "#branch";
    }
    return n;
}

std::string DisplayName(const std::string& vector, int vectorType) {
    const auto hash = vector.find("#branch");
    if (hash != std::string::npos && hash + 7 == vector.size())
        return "i(" + vector.substr(0, hash) + ")";
    if (vectorType == 3 && vector.find_first_of("(@:#") == std::string::npos)
        return "v(" + vector + ")";
    return vector;
}

bool IsNodePlot(std::string_view plot) {
    for (const std::string_view kind : {"op", "ac", "dc", "tran"}) {
        if (!StartsWith(plot, kind) || plot.size() == kind.size())
            continue;
        const std::string_view number = plot.substr(kind.size());
        return std::all_of(number.begin(), number.end(),
                           [](char c) { return std::isdigit(static_cast<unsigned char>(c)); });
    }
    return false;
}

StatementKind ClassifyStatement(std::string_view word) {
    const std::string w = Lower(word);
    for (const auto& [keyword, kind] : kKeywords)
        if (keyword == w)
            return kind;
    return StatementKind::Simulator;
}

bool IsSimulatorOption(std::string_view name) {
    const auto& names = OptionNames();
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool NeedsXspice(std::string_view name) {
    return std::any_of(kXspiceOnly.begin(), kXspiceOnly.end(),
                       [&](AnalysisOptions::Option o) { return OptionNames()[o] == name; });
}

SetStatement SplitSet(std::string_view statement) {
    const auto word = statement.find_first_not_of(" \t");
    const auto afterWord = statement.find_first_of(" \t", word);
    const std::string rest =
        afterWord == std::string_view::npos ? std::string() : Trim(statement.substr(afterWord));
    SetStatement set;
    const auto eq = rest.find('=');
    set.hasValue = eq != std::string::npos;
    set.name = Lower(set.hasValue ? Trim(std::string_view(rest).substr(0, eq)) : rest);
    if (set.hasValue)
        set.value = Trim(std::string_view(rest).substr(eq + 1));
    return set;
}

std::string OptionCommand(const SetStatement& set) {
    if (set.name == "temp" || set.name == "tnom" || !IsSimulatorOption(set.name))
        return {};
    std::string value = set.value;
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
        value = value.substr(1, value.size() - 2);
    if (set.name == "method" && Lower(value) == "trapezoidal")
        value = "trap"; // ngspice's spelling of the same method
    if (value.empty() && !set.hasValue)
        return "option " + set.name;
    return "option " + set.name + "=" + value;
}

std::string TemperatureCommand(std::string_view option, std::string_view kelvin) {
    double k = 0;
    if (!ParseNumber(kelvin, k))
        return {};
    return "option " + std::string(option) + "=" + FormatNumber(k - 273.15);
}

AnalysisCommand MapAnalysis(const std::vector<std::string>& tokens) {
    AnalysisCommand a;
    if (tokens.empty())
        return a;
    a.word = Lower(tokens.front());
    const bool tran = a.word == "tran";
    bool autoTmax = false, uic = false;
    for (std::size_t i = 1; i < tokens.size(); ++i) {
        const std::string t = Lower(tokens[i]);
        if (t == "-env-options")
            continue;
        if (tran && (t == "auto_ic" || t == "auto_tstep"))
            continue; // ngspice computes the operating point and the step itself
        if (tran && t == "auto_tmax") {
            autoTmax = true;
            continue;
        }
        if (tran && (t == "uic" || t == "zero_ic")) {
            // ngspice has no "all nodes at zero" start; uic skips the operating point and
            // starts every node without an initial condition at 0 V.
            a.zeroIc = a.zeroIc || t == "zero_ic";
            uic = true;
            continue;
        }
        if (a.word == "sens" && t == "relative") {
            a.relative = true;
            continue;
        }
        a.args.push_back(GroundToZero(t));
    }
    if (tran && autoTmax && a.args.size() >= 4)
        a.args.resize(3); // tstep tstop tstart: ngspice chooses the maximum step
    a.command = a.word;
    for (const auto& arg : a.args)
        a.command += " " + arg;
    if (uic)
        a.command += " uic";
    a.nodeResults = a.word == "op" || a.word == "ac" || a.word == "dc" || tran || a.word == "disto";
    return a;
}

bool IsErrorLine(std::string_view line) {
    const std::string l = Lower(Trim(line));
    if (StartsWith(l, "warning") || StartsWith(l, "note"))
        return false;
    // An unknown command is not run at all, though ngspice only says so.
    return StartsWith(l, "error") || Contains(l, "error:") || IsAbortLine(l) ||
           Contains(l, "no such command");
}

bool IsAbortLine(std::string_view line) {
    return Contains(Lower(line), "aborted");
}

} // namespace host
