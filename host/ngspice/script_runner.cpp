// Executes the host dialect on ngspice: scopes become pages, analyses fill them.
#include "host/ngspice/script_runner.h"

#include "host/ngspice/session.h"
#include "platform/helpers.h"
#include "platform/resources.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string_view>

namespace host {
namespace {

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

bool ParseDouble(std::string_view s, double& v) {
    const char* b = s.data();
    const char* e = s.data() + s.size();
    if (b != e && *b == '+')
        ++b;
    const auto r = std::from_chars(b, e, v);
    return r.ec == std::errc() && r.ptr == e;
}

std::string FormatNumber(double v) {
    return CString::Formatted("%lg", v).str();
}

// The simulator options the analysis model writes as "set NAME ...". ngspice 39 knows every one
// of them as an option (checked against its option table), but the last nine exist only in builds
// with the XSPICE extensions. ngspice silently keeps an unknown option name as a variable, so
// the host has to know which ones would be lost.
constexpr std::array<std::string_view, 38> kDialectOptions = {
    "acct",        "gmin",       "reltol",       "abstol",    "vntol",       "trtol",
    "chgtol",      "pivtol",     "pivrel",       "tnom",      "itl1",        "itl2",
    "itl4",        "defl",       "defw",         "defad",     "defas",       "bypass",
    "maxord",      "temp",       "oldlimit",     "itl6",      "gminsteps",   "minbreak",
    "noopiter",    "method",     "trytocompact", "badmos3",   "keepopinfo",  "noopalter",
    "ramptime",    "maxevtiter", "maxopalter",   "convlimit", "convabsstep", "convstep",
    "autopartial", "rshunt"};
constexpr std::array<std::string_view, 9> kXspiceOptions = {
    "noopalter", "ramptime",    "maxevtiter",  "maxopalter", "convlimit",
    "convstep",  "convabsstep", "autopartial", "rshunt"};

bool IsIn(std::string_view name, const auto& table) {
    return std::find(table.begin(), table.end(), name) != table.end();
}

constexpr std::array<std::string_view, 9> kAnalyses = {"op",    "ac",   "dc", "tran", "noise",
                                                       "disto", "sens", "pz", "tf"};

// "$0" is the dialect's ground node; ngspice calls it 0.
std::string GroundToZero(std::string_view s) {
    std::string r;
    r.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        const bool startOk = i == 0 || !std::isalnum(static_cast<unsigned char>(s[i - 1]));
        const bool endOk = i + 2 >= s.size() || !std::isalnum(static_cast<unsigned char>(s[i + 2]));
        if (s[i] == '$' && i + 1 < s.size() && s[i + 1] == '0' && startOk && endOk) {
            r += '0';
            ++i;
        } else {
            r += s[i];
        }
    }
    return r;
}

// A name as ngspice stores its vector: "v(out)" and "V(out)" are "out", "i(v1)" is "v1#branch".
std::string VectorKey(std::string_view name) {
    std::string n = Lower(Trim(name));
    if (n.size() > 3 && n.back() == ')' && (n.rfind("v(", 0) == 0 || n.rfind("i(", 0) == 0)) {
        const std::string inner = n.substr(2, n.size() - 3);
        if (inner.find(',') == std::string::npos)
            return n[0] == 'v' ? inner : inner + "#branch";
    }
    return n;
}

// The name a page shows for a vector of a node plot: node voltages and branch currents in the
// form a user writes them.
std::string DisplayName(const std::string& vec, int type) {
    const auto hash = vec.find("#branch");
    if (hash != std::string::npos && hash + 7 == vec.size())
        return "i(" + vec.substr(0, hash) + ")";
    if (type == 3 && vec.find_first_of("(@:#") == std::string::npos)
        return "v(" + vec + ")";
    return vec;
}

bool IsNodePlot(const std::string& plot) {
    auto digitsAfter = [&](std::size_t n) {
        return plot.size() > n &&
               std::all_of(plot.begin() + static_cast<std::ptrdiff_t>(n), plot.end(),
                           [](char c) { return std::isdigit(static_cast<unsigned char>(c)); });
    };
    return (plot.rfind("op", 0) == 0 && digitsAfter(2)) ||
           (plot.rfind("ac", 0) == 0 && digitsAfter(2)) ||
           (plot.rfind("dc", 0) == 0 && digitsAfter(2)) ||
           (plot.rfind("tran", 0) == 0 && digitsAfter(4));
}

class Execution : public PlotListener {
public:
    Execution(NgSpiceSession& s, const RunOptions& o, RunResult& r)
        : session_(s), options_(o), result_(r) {}

    void Run(const std::string& script);

    // PlotListener: forward to the caller's listener, keep the status line moving.
    void OnBeginPlot(const PlotInfo& plot) override {
        if (options_.listener)
            options_.listener->OnBeginPlot(plot);
    }
    void OnData(const DataRow& row) override {
        if (options_.listener)
            options_.listener->OnData(row);
    }
    void OnEndPlot() override {
        if (options_.listener)
            options_.listener->OnEndPlot();
    }
    bool OnStopPoll() override {
        Status(statusText_);
        bool stop = options_.listener && options_.listener->OnStopPoll();
        if (options_.stopRequested && options_.stopRequested())
            stop = true;
        return stop;
    }

private:
    void Statement(const std::string& stmt);
    bool Fail(const std::string& message);
    report::Page& Page();
    void CloseScope();
    void Note(const std::string& text);
    void Status(const std::string& text);

    bool Send(const std::string& command, bool intoPage = true);
    void Analysis(const std::string& word, const std::vector<std::string>& tokens);
    void ApplySaves(bool nodeAnalysis);
    void FillPages(const std::vector<std::string>& plots, bool checkSaves);
    void MakeRelative(const std::vector<std::string>& args, const std::string& sensPlot);
    bool OutputValue(const std::string& output, const std::string& backTo, double& value);
    void Set(const std::string& stmt, const std::vector<std::string>& tokens);
    void ResetOptionsIfNeeded(const CStringArray& statements);
    void Param(const std::vector<std::string>& tokens);
    void Fourier(const std::vector<std::string>& tokens);
    void Show(const std::string& word, const std::vector<std::string>& tokens);
    void SetTemperature(const char* option, const std::string& kelvin);
    void RestoreTemperature(bool nominalToo);

    NgSpiceSession& session_;
    const RunOptions& options_;
    RunResult& result_;

    bool inScope_ = false;
    bool scopeAborted_ = false;
    bool pageOpen_ = false;
    std::size_t page_ = 0;
    bool lastFailed_ = false;
    bool stopped_ = false;
    bool savedThisScope_ = false;
    std::vector<std::string> saves_;
    std::optional<std::string> appliedSaves_; ///< the save list ngspice holds, when known
    std::vector<std::string> iplot_;
    report::Axis pendingX_, pendingY_;
    std::set<std::string> noted_;
    bool tempChanged_ = false;
    bool tnomChanged_ = false;
    std::string statusText_;
    std::chrono::steady_clock::time_point lastStatus_{};
};

void Execution::Status(const std::string& text) {
    if (!options_.status)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (now - lastStatus_ < std::chrono::milliseconds(33))
        return;
    lastStatus_ = now;
    options_.status(text);
}

void Execution::Note(const std::string& text) {
    if (noted_.insert(text).second)
        result_.notes.push_back(text);
}

report::Page& Execution::Page() {
    if (!pageOpen_) {
        report::Page p;
        p.xAxis = pendingX_;
        p.yAxis = pendingY_;
        result_.pages.push_back(std::move(p));
        page_ = result_.pages.size() - 1;
        pageOpen_ = true;
    }
    return result_.pages[page_];
}

void Execution::CloseScope() {
    inScope_ = false;
    scopeAborted_ = false;
    pageOpen_ = false;
    savedThisScope_ = false;
    saves_.clear();
    iplot_.clear();
    pendingX_ = {};
    pendingY_ = {};
}

bool Execution::Fail(const std::string& message) {
    lastFailed_ = true;
    if (result_.ok) {
        result_.ok = false;
        result_.error = message;
    }
    report::Page& p = Page();
    if (!p.failed) {
        p.failed = true;
        p.error = message;
    }
    p.log.push_back(message);
    return false;
}

bool Execution::Send(const std::string& command, bool intoPage) {
    CommandResult r = session_.Command(command);
    if (intoPage) {
        report::Page& p = Page();
        p.log.insert(p.log.end(), r.out.begin(), r.out.end());
        p.log.insert(p.log.end(), r.err.begin(), r.err.end());
    }
    result_.log.insert(result_.log.end(), r.out.begin(), r.out.end());
    result_.log.insert(result_.log.end(), r.err.begin(), r.err.end());
    if (!r.ok)
        return Fail(r.error);
    if (!r.plots.empty())
        FillPages(r.plots, false);
    return true;
}

void Execution::Run(const std::string& script) {
    CStringArray statements;
    DivideStringIntoStatements(CString(script), statements);
    if (!options_.keepCircuitState)
        ResetOptionsIfNeeded(statements);
    session_.SetListener(this);
    for (const CString& raw : statements) {
        const std::string stmt = Trim(raw.view());
        if (stmt.empty())
            continue;
        if (stopped_ || (options_.stopRequested && options_.stopRequested()) ||
            session_.TakeStopRequest()) {
            if (!stopped_)
                Note(GetResourceText(IDS_HOST_STOPPED));
            stopped_ = true;
            break;
        }
        Statement(stmt);
        if (stopped_)
            break;
    }
    RestoreTemperature(true);
    session_.SetListener(nullptr);
}

void Execution::Statement(const std::string& stmt) {
    const std::vector<std::string> tokens = Tokens(stmt);
    const std::string word = Lower(tokens.front());

    if (word == "end-scope") {
        CloseScope();
        return;
    }
    if (scopeAborted_)
        return; // the rest of a scope whose circuit check failed
    const bool wasFailed = lastFailed_;
    lastFailed_ = false;

    if (word == "begin-scope") {
        CloseScope();
        inScope_ = true;
        std::string title = Trim(std::string_view(stmt).substr(tokens.front().size()));
        if (Lower(title.substr(0, 4)) == "page")
            title = Trim(std::string_view(title).substr(4));
        Page().title = title;
        return;
    }
    if (word == "if-error") {
        if (wasFailed) {
            Page().log.push_back(GetResourceText(IDS_HOST_SCOPE_CLOSED));
            CloseScope();
            stopped_ = true;
        }
        return;
    }
    if (word == "checknodes") {
        if (!session_.HasCircuit()) {
            Fail(GetResourceText(IDS_HOST_CHECK_FAILED));
            scopeAborted_ = inScope_;
        }
        return;
    }
    if (word == "save") {
        // Kept until the analysis runs: which vectors ngspice may restrict depends on it.
        if (!savedThisScope_) {
            saves_.clear();
            savedThisScope_ = true;
        }
        for (std::size_t i = 1; i < tokens.size(); ++i) {
            std::string name = GroundToZero(tokens[i]);
            if (std::find(saves_.begin(), saves_.end(), name) == saves_.end())
                saves_.push_back(std::move(name));
        }
        return;
    }
    if (word == "iplot") {
        iplot_.assign(tokens.begin() + 1, tokens.end());
        return;
    }
    if (word == "-param") {
        Param(tokens);
        return;
    }
    if (word == "set") {
        Set(stmt, tokens);
        return;
    }
    if (IsIn(word, kAnalyses)) {
        Status(std::string(GetResourceText(IDS_HOST_SIMULATING)) + " " + word);
        Analysis(word, tokens);
        return;
    }
    if (word == "fourier") {
        Fourier(tokens);
        return;
    }
    if (word == "show" || word == "showmod") {
        Show(word, tokens);
        return;
    }
    if (word == "write-and-destroy-iplot") {
        const std::string file = Trim(std::string_view(stmt).substr(tokens.front().size()));
        if (session_.CurrentPlot().empty() || session_.CurrentPlot() == "const") {
            Fail(GetResourceText(IDS_HOST_NO_PLOT));
            return;
        }
        if (Send("write " + file))
            Send("destroy");
        return;
    }
    if (word == "run") {
        Status(GetResourceText(IDS_HOST_SIMULATING));
        ApplySaves(true);
        Send("run");
        return;
    }
    if (word == "orvo") {
        const std::string key = tokens.size() > 1 ? tokens[1] : std::string();
        Fail(std::string(GetResourceText(IDS_HOST_COMPOUND_NOT_AVAILABLE)) + key);
        return;
    }
    // Anything else is the user's own ngspice text.
    ApplySaves(true);
    Send(GroundToZero(stmt));
}

void Execution::Param(const std::vector<std::string>& tokens) {
    if (tokens.size() < 3)
        return;
    const std::string name = Lower(tokens[1]);
    auto apply = [&](report::Axis& a, report::Axis& pending, bool isScale) {
        if (isScale) {
            const std::string v = Lower(tokens[2]);
            a.scale = pending.scale = (v == "lin") ? "lin" : "log";
            return;
        }
        double lo = 0, hi = 0;
        if (tokens.size() < 4 || !ParseDouble(tokens[2], lo) || !ParseDouble(tokens[3], hi))
            return;
        // A range of zero width ("hrange 0 0") means "fit to the data".
        a.hasRange = pending.hasRange = lo != hi;
        a.min = pending.min = lo;
        a.max = pending.max = hi;
    };
    report::Page& p = Page();
    if (name == "hscale")
        apply(p.xAxis, pendingX_, true);
    else if (name == "vscale")
        apply(p.yAxis, pendingY_, true);
    else if (name == "hrange")
        apply(p.xAxis, pendingX_, false);
    else if (name == "vrange")
        apply(p.yAxis, pendingY_, false);
    else {
        // The second pair of axes and page options have no place on a page yet; keep them
        // visible in the page's log rather than drop them.
        std::string line = std::string(GetResourceText(IDS_HOST_UNUSED_ARGUMENT));
        for (const auto& t : tokens)
            line += (line.back() == ' ' ? "" : " ") + t;
        p.log.push_back(line);
    }
}

void Execution::SetTemperature(const char* option, const std::string& kelvin) {
    double k = 0;
    if (!ParseDouble(kelvin, k)) {
        Fail(std::string(GetResourceText(IDS_HOST_COMMAND_FAILED)) + "set " + option + " = " +
             kelvin);
        return;
    }
    if (std::string_view(option) == "temp")
        tempChanged_ = true;
    else
        tnomChanged_ = true;
    Send(std::string("option ") + option + "=" + FormatNumber(k - 273.15), false);
}

void Execution::RestoreTemperature(bool nominalToo) {
    // ngspice keeps an "option temp" for every later analysis and run, so the circuit's own
    // temperature (its ".temp" or ".options temp=" card, else 27 °C) is put back explicitly.
    if (tempChanged_) {
        tempChanged_ = false;
        (void)session_.Command("option temp=" + FormatNumber(session_.CircuitTemperature()));
    }
    if (nominalToo && tnomChanged_) {
        tnomChanged_ = false;
        (void)session_.Command("option tnom=" + FormatNumber(session_.CircuitNominalTemperature()));
    }
}

// Splits "set NAME = V", "set NAME=V", "set NAME" and "set -temp" into a lower-case name and
// the value text.
void SplitSet(const std::string& stmt, const std::string& first, std::string& key,
              std::string& value, bool& hasValue) {
    const std::string rest = Trim(std::string_view(stmt).substr(first.size()));
    const auto eq = rest.find('=');
    hasValue = eq != std::string::npos;
    key = Lower(hasValue ? Trim(std::string_view(rest).substr(0, eq)) : rest);
    value = hasValue ? Trim(std::string_view(rest).substr(eq + 1)) : std::string();
}

// The ngspice command of a simulator option statement; empty for other statements.
std::string OptionCommand(const std::string& key, std::string value, bool hasValue) {
    if (key == "temp" || key == "tnom" || !IsIn(key, kDialectOptions))
        return {};
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
        value = value.substr(1, value.size() - 2);
    if (key == "method" && Lower(value) == "trapezoidal")
        value = "trap";
    return value.empty() && !hasValue ? "option " + key : "option " + key + "=" + value;
}

void Execution::Set(const std::string& stmt, const std::vector<std::string>& tokens) {
    std::string key, value;
    bool hasValue = false;
    SplitSet(stmt, tokens.front(), key, value, hasValue);
    if (key == "-temp") {
        RestoreTemperature(false);
        return;
    }
    if (key == "temp" || key == "tnom") {
        SetTemperature(key == "temp" ? "temp" : "tnom", value);
        return;
    }
    const std::string command = OptionCommand(key, value, hasValue);
    if (!command.empty()) {
        if (IsIn(key, kXspiceOptions) && !session_.HasXspice()) {
            Note(CString::Formatted(GetResourceText(IDS_HOST_OPTION_UNSUPPORTED), key.c_str())
                     .str());
            return;
        }
        if (Send(command, false))
            session_.RecordOption(key, command);
        return;
    }
    // nfreqs, polydegree, fourgridsize and the user's own variables are ngspice variables.
    Send(stmt, false);
}

// ngspice keeps every option for all later analyses of the circuit. When this script would not
// set again everything an earlier one set, the circuit is re-read from its deck first ("reset"),
// so that each script runs under its own options and the circuit's. Scripts that repeat the
// same option set, as the model writes them, cost nothing.
void Execution::ResetOptionsIfNeeded(const CStringArray& statements) {
    const std::map<std::string, std::string>& held = session_.Options();
    if (held.empty() || !session_.HasCircuit())
        return;
    std::map<std::string, std::string> wanted;
    for (const CString& raw : statements) {
        const std::string stmt = Trim(raw.view());
        const std::vector<std::string> tokens = Tokens(stmt);
        if (tokens.empty() || Lower(tokens.front()) != "set")
            continue;
        std::string key, value;
        bool hasValue = false;
        SplitSet(stmt, tokens.front(), key, value, hasValue);
        const std::string command = OptionCommand(key, value, hasValue);
        if (!command.empty())
            wanted[key] = command;
    }
    for (const auto& [key, command] : held) {
        const auto it = wanted.find(key);
        if (it == wanted.end() || it->second != command) {
            (void)session_.ResetCircuit();
            return;
        }
    }
}

void Execution::Analysis(const std::string& word, const std::vector<std::string>& tokens) {
    std::vector<std::string> args;
    bool relative = false, autoTmax = false, uic = false;
    for (std::size_t i = 1; i < tokens.size(); ++i) {
        const std::string t = Lower(tokens[i]);
        if (t == "-env-options")
            continue;
        if (word == "tran") {
            if (t == "auto_ic" || t == "auto_tstep")
                continue; // ngspice computes the operating point and the step itself
            if (t == "auto_tmax") {
                autoTmax = true;
                continue;
            }
            if (t == "uic") {
                uic = true;
                continue;
            }
            if (t == "zero_ic") {
                // ngspice has no "all nodes at zero" start; uic skips the operating point and
                // starts every node without an initial condition at 0 V.
                Note(GetResourceText(IDS_HOST_ZERO_IC));
                uic = true;
                continue;
            }
        }
        if (word == "sens" && t == "relative") {
            relative = true;
            continue;
        }
        // ngspice reads the netlist in lower case, so names typed as in the netlist
        // ("V1") must be lowered to be found.
        args.push_back(GroundToZero(t));
    }
    if (word == "tran" && autoTmax && args.size() >= 4)
        args.resize(3); // tstep tstop tstart: ngspice chooses the maximum step
    std::string command = word;
    for (const auto& a : args)
        command += " " + a;
    if (uic)
        command += " uic";
    statusText_ = std::string(GetResourceText(IDS_HOST_SIMULATING)) + " " + word;
    ApplySaves(word == "op" || word == "ac" || word == "dc" || word == "tran" || word == "disto");

    CommandResult r = session_.Command(command);
    report::Page& p = Page();
    p.log.insert(p.log.end(), r.out.begin(), r.out.end());
    p.log.insert(p.log.end(), r.err.begin(), r.err.end());
    result_.log.insert(result_.log.end(), r.out.begin(), r.out.end());
    result_.log.insert(result_.log.end(), r.err.begin(), r.err.end());
    if (!r.ok) {
        Fail(r.error);
        return;
    }
    if (session_.TakeStopRequest()) {
        Note(GetResourceText(IDS_HOST_STOPPED));
        stopped_ = true;
    }
    FillPages(r.plots, true);
    if (relative && !r.plots.empty())
        MakeRelative(args, r.plots.front());
}

// ngspice's DC sensitivity is absolute (output units per parameter unit). The relative form is
// d(out)/d(p) * p / out; the host computes it for every parameter whose value it can ask for
// (the primary value of resistors, capacitors, inductors and independent sources). ngspice has
// no AC form of it.
void Execution::MakeRelative(const std::vector<std::string>& args, const std::string& sensPlot) {
    report::Page& p = Page();
    const bool ac = std::any_of(args.begin(), args.end(),
                                [](const std::string& a) { return Lower(a) == "ac"; });
    double out = 0;
    if (ac || args.empty() || !OutputValue(args.front(), sensPlot, out) || out == 0) {
        Note(GetResourceText(IDS_HOST_RELATIVE_SENS));
        p.log.push_back(GetResourceText(IDS_HOST_RELATIVE_SENS));
        return;
    }
    std::string dropped;
    VectorData v;
    std::vector<report::Trace> kept;
    kept.reserve(p.traces.size());
    for (auto& t : p.traces) {
        const std::string name = Lower(t.name);
        const char* param = nullptr;
        if (name.find_first_of("_:#") == std::string::npos && !name.empty()) {
            switch (name.front()) {
            case 'r':
                param = "resistance";
                break;
            case 'c':
                param = "capacitance";
                break;
            case 'l':
                param = "inductance";
                break;
            case 'v':
            case 'i':
                param = "dc";
                break;
            default:
                break;
            }
        }
        if (!param || !session_.ReadVector("@" + name + "[" + param + "]", v) || v.re.empty()) {
            dropped += (dropped.empty() ? "" : " ") + t.name;
            continue;
        }
        const double scale = v.re.front() / out;
        for (double& x : t.re)
            x *= scale;
        kept.push_back(std::move(t));
    }
    p.traces = std::move(kept);
    p.log.push_back(CString::Formatted(GetResourceText(IDS_HOST_RELATIVE_SENS_DONE), out).str());
    if (!dropped.empty())
        p.log.push_back(std::string(GetResourceText(IDS_HOST_RELATIVE_SENS_DROPPED)) + dropped);
}

// The operating-point value of a sensitivity output ("v(a,b)", "v(a)", "i(vsrc)"), from an
// operating point run that the listener does not see and that leaves no plot behind.
bool Execution::OutputValue(const std::string& output, const std::string& backTo, double& value) {
    const std::string o = Lower(output);
    if (o.size() < 4 || o[1] != '(' || o.back() != ')')
        return false;
    std::vector<std::string> parts;
    std::string inner = o.substr(2, o.size() - 3);
    for (std::size_t pos = 0;;) {
        const auto comma = inner.find(',', pos);
        parts.push_back(Trim(std::string_view(inner).substr(pos, comma - pos)));
        if (comma == std::string::npos)
            break;
        pos = comma + 1;
    }
    session_.SetListener(nullptr);
    const CommandResult r = session_.Command("op");
    session_.SetListener(this);
    if (!r.ok || r.plots.empty())
        return false;
    const std::string& op = r.plots.front();
    auto read = [&](const std::string& vec, double& x) {
        if (vec == "0" || vec == "gnd") {
            x = 0;
            return true;
        }
        VectorData d;
        if (!session_.ReadVector(op + "." + vec, d) || d.re.empty())
            return false;
        x = d.re.front();
        return true;
    };
    bool ok = false;
    if (o[0] == 'i' && parts.size() == 1) {
        ok = read(parts[0] + "#branch", value);
    } else if (o[0] == 'v') {
        double a = 0, b = 0;
        ok = read(parts[0], a) && (parts.size() < 2 || read(parts[1], b));
        value = a - b;
    }
    (void)session_.Command("destroy " + op);
    (void)session_.Command("setplot " + backTo);
    return ok;
}

// ngspice's save list outlives the command that set it and also applies to analyses whose results
// are not node vectors (pole-zero, transfer function, sensitivity), which then find nothing to
// save and do not run. So the scope's list is set right before a node analysis, and cleared
// (everything saved) before the others.
void Execution::ApplySaves(bool nodeAnalysis) {
    std::string list;
    if (nodeAnalysis)
        for (const auto& s : saves_)
            list += (list.empty() ? "" : " ") + s;
    if (appliedSaves_ && *appliedSaves_ == list)
        return;
    (void)session_.Command("delete all");
    appliedSaves_ = list;
    if (!list.empty())
        Send("save " + list, false);
}

void Execution::FillPages(const std::vector<std::string>& plots, bool checkSaves) {
    bool first = true;
    for (const std::string& plot : plots) {
        std::string scale;
        const std::vector<std::string> names = session_.PlotVectors(plot, &scale);
        const std::string type = session_.PlotType(plot);

        if (!first) {
            // Further plots of one command (noise's integrated totals) are tables of values.
            report::Chart chart;
            chart.title = type;
            chart.columns = {GetResourceText(IDS_HOST_COL_NAME),
                             GetResourceText(IDS_HOST_COL_VALUE)};
            VectorData v;
            for (const auto& n : names) {
                if (!session_.ReadVector(plot + "." + n, v) || v.re.empty())
                    continue;
                chart.rows.push_back({n, FormatNumber(v.re.front())});
            }
            Page().charts.push_back(std::move(chart));
            continue;
        }
        first = false;

        // One page holds one analysis; a second analysis in the same scope opens a sibling page.
        if (pageOpen_ && !result_.pages[page_].plotName.empty()) {
            const std::string title = result_.pages[page_].title;
            pageOpen_ = false;
            Page().title = title;
        }
        report::Page& p = Page();
        p.plotName = plot;
        p.plotType = type;
        const bool nodePlot = IsNodePlot(plot);

        VectorData sv;
        bool hasX = false;
        if (!scale.empty() && session_.ReadVector(plot + "." + scale, sv)) {
            // ngspice names some vector the scale even of single-point plots (op, tf, pz).
            hasX = sv.type == 1 || sv.type == 2 || scale.find("sweep") != std::string::npos ||
                   plot.rfind("dc", 0) == 0;
        }
        if (hasX) {
            p.xName = scale;
            p.x = std::move(sv.re);
            p.xAxis.label = scale;
            if (sv.type == 1)
                p.xAxis.label += " (s)";
            else if (sv.type == 2)
                p.xAxis.label += " (Hz)";
        }

        std::set<std::string> plotted;
        bool plotAll = iplot_.empty();
        for (const auto& n : iplot_) {
            if (Lower(n) == "all")
                plotAll = true;
            plotted.insert(VectorKey(n));
        }
        std::set<std::string> present;
        p.traces.reserve(names.size());
        VectorData v;
        for (const auto& n : names) {
            if (hasX && n == scale)
                continue;
            if (!session_.ReadVector(plot + "." + n, v))
                continue;
            present.insert(Lower(n));
            report::Trace t;
            t.name = nodePlot ? DisplayName(n, v.type) : n;
            t.re = std::move(v.re);
            t.im = std::move(v.im);
            t.plotted = plotAll || plotted.count(Lower(n)) != 0;
            p.traces.push_back(std::move(t));
        }
        // ngspice accepts some incomplete analysis lines ("ac dec 10 100") and runs them over
        // no points at all, without a message.
        const bool empty = hasX ? p.x.empty()
                                : std::all_of(p.traces.begin(), p.traces.end(),
                                              [](const report::Trace& t) { return t.re.empty(); });
        if (checkSaves && empty) {
            Fail(GetResourceText(IDS_HOST_NO_DATA));
            continue;
        }
        // ngspice drops saved names it does not know without a word; an unknown node would
        // otherwise just be missing from the page.
        if (checkSaves && nodePlot) {
            for (const auto& s : saves_) {
                const std::string k = VectorKey(GroundToZero(s));
                // Device quantities and differences are computed names, not stored vectors.
                if (k == "all" || k.find_first_of("@,") != std::string::npos)
                    continue;
                if (!present.count(k)) {
                    Fail(std::string(GetResourceText(IDS_HOST_VECTOR_NOT_FOUND)) + s);
                    break;
                }
            }
        }
    }
}

void Execution::Fourier(const std::vector<std::string>& tokens) {
    std::set<std::string> flags;
    std::vector<std::string> args;
    for (std::size_t i = 1; i < tokens.size(); ++i) {
        if (tokens[i].front() == '/')
            flags.insert(Lower(tokens[i]));
        else
            args.push_back(GroundToZero(Lower(tokens[i])));
    }
    std::string command = "fourier";
    for (const auto& a : args)
        command += " " + a;
    CommandResult r = session_.Command(command);
    result_.log.insert(result_.log.end(), r.out.begin(), r.out.end());
    result_.log.insert(result_.log.end(), r.err.begin(), r.err.end());
    report::Page& p = Page();
    p.log.insert(p.log.end(), r.out.begin(), r.out.end());
    p.log.insert(p.log.end(), r.err.begin(), r.err.end());
    if (!r.ok) {
        Fail(r.error);
        return;
    }

    // ngspice prints, per vector: "Fourier analysis for NAME:", a summary line with the THD,
    // two header lines and one row per harmonic: harmonic, frequency, magnitude, phase,
    // normalised magnitude, normalised phase.
    struct Series {
        std::string name, thd;
        std::vector<std::array<std::string, 6>> rows;
    };
    std::vector<Series> series;
    for (const auto& line : r.out) {
        const std::string t = Trim(line);
        if (t.rfind("Fourier analysis for ", 0) == 0) {
            Series s;
            s.name = t.substr(21);
            if (!s.name.empty() && s.name.back() == ':')
                s.name.pop_back();
            series.push_back(std::move(s));
            continue;
        }
        if (series.empty())
            continue;
        const auto thd = t.find("THD:");
        if (thd != std::string::npos) {
            const auto end = t.find('%', thd);
            series.back().thd = Trim(std::string_view(t).substr(thd + 4, end - thd - 4));
            continue;
        }
        const std::vector<std::string> cells = Tokens(t);
        double d = 0;
        if (cells.size() == 6 && ParseDouble(cells[0], d))
            series.back().rows.push_back(
                {cells[0], cells[1], cells[2], cells[4], cells[3], cells[5]});
    }

    const bool chart = !flags.count("/nochart");
    const bool graph = flags.count("/plot") != 0;
    if (chart) {
        for (const auto& s : series) {
            report::Chart c;
            c.title = std::string(GetResourceText(IDS_HOST_FOURIER_CHART)) + s.name;
            c.columns = {GetResourceText(IDS_HOST_COL_HARMONIC),
                         GetResourceText(IDS_HOST_COL_FREQUENCY),
                         GetResourceText(IDS_HOST_COL_MAGNITUDE),
                         GetResourceText(IDS_HOST_COL_NORM_MAGNITUDE),
                         GetResourceText(IDS_HOST_COL_PHASE),
                         GetResourceText(IDS_HOST_COL_NORM_PHASE)};
            for (const auto& row : s.rows)
                c.rows.emplace_back(row.begin(), row.end());
            if (!s.thd.empty())
                c.rows.push_back({GetResourceText(IDS_HOST_FOURIER_THD), s.thd, "", "", "", ""});
            p.charts.push_back(std::move(c));
        }
    }
    if (graph && !series.empty()) {
        // The spectrum gets its own page beside the transient it was computed from.
        const std::string title = p.title;
        pageOpen_ = false;
        report::Page& fp = Page();
        fp.title = title;
        fp.plotName = "fourier";
        fp.plotType = GetResourceText(IDS_HOST_FOURIER_PLOT_TYPE);
        fp.xName = "frequency";
        fp.xAxis.label = "frequency (Hz)";
        fp.xAxis.scale = "lin";
        const bool norm = flags.count("/norm") != 0;
        const bool phase = flags.count("/+phase") != 0;
        if (flags.count("/bar"))
            fp.log.push_back(GetResourceText(IDS_HOST_BAR_GRAPH));
        for (const auto& s : series) {
            report::Trace mag, ph;
            mag.name = (norm ? "norm mag(" : "mag(") + s.name + ")";
            ph.name = (norm ? "norm phase(" : "phase(") + s.name + ")";
            std::vector<double> x;
            for (const auto& row : s.rows) {
                double f = 0, m = 0, a = 0;
                ParseDouble(row[1], f);
                ParseDouble(norm ? row[3] : row[2], m);
                ParseDouble(norm ? row[5] : row[4], a);
                x.push_back(f);
                mag.re.push_back(m);
                ph.re.push_back(a);
            }
            if (fp.x.empty())
                fp.x = std::move(x);
            fp.traces.push_back(std::move(mag));
            if (phase)
                fp.traces.push_back(std::move(ph));
        }
    }
}

void Execution::Show(const std::string& word, const std::vector<std::string>& tokens) {
    const bool all = tokens.size() == 2 && Lower(tokens[1]) == "all";
    if (word == "show" && all) {
        // ngspice 39 crashes listing every parameter of independent sources; ask those only for
        // the values a reader wants, everything else in full.
        std::string others = "show", sources;
        for (const auto& d : session_.DeviceNames()) {
            if (d.front() == 'v' || d.front() == 'i')
                sources += " " + d;
            else
                others += " " + d;
        }
        if (others != "show")
            Send(others);
        if (!sources.empty())
            Send("show" + sources + " : dc acmag acphase");
        return;
    }
    std::string command = word;
    for (std::size_t i = 1; i < tokens.size(); ++i)
        command += " " + tokens[i];
    Send(command);
}

} // namespace

ScriptRunner::ScriptRunner(NgSpiceSession& session) : session_(session) {
}

bool ScriptRunner::LoadCircuitFile(const std::string& path, std::string& error) {
    const CommandResult r = session_.LoadCircuitFile(path);
    if (!r.ok)
        error = r.error;
    return r.ok;
}

bool ScriptRunner::LoadCircuitLines(const std::vector<std::string>& lines, std::string& error) {
    const CommandResult r = session_.LoadCircuit(lines);
    if (!r.ok)
        error = r.error;
    return r.ok;
}

RunResult ScriptRunner::Run(const std::string& script, const RunOptions& options) {
    RunResult result;
    Execution(session_, options, result).Run(script);
    return result;
}

} // namespace host
