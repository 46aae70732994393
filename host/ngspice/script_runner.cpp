// Executes the host dialect on ngspice: statements dispatched by keyword, scopes become pages.
#include "host/ngspice/script_runner.h"

#include "host/ngspice/dialect.h"
#include "host/ngspice/fourier.h"
#include "host/ngspice/page_builder.h"
#include "host/ngspice/sensitivity.h"
#include "host/ngspice/session.h"
#include "platform/helpers.h"
#include "platform/resources.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <exception>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace host {
namespace {

/// One statement of a script, taken apart once.
struct Statement {
    std::string text;                ///< trimmed
    std::vector<std::string> tokens; ///< never empty
    std::string rest;                ///< the text after the first word, trimmed
};

class Execution : public PlotListener {
public:
    Execution(NgSpiceSession& s, const RunOptions& o, RunResult& r)
        : session_(s), options_(o), result_(r), pages_(r.pages) {}

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
    using Handler = void (Execution::*)(const Statement&);
    struct Route {
        StatementKind kind;
        Handler handle;
    };

    void Dispatch(const std::string& text);

    // Handlers, one per statement kind.
    void BeginScope(const Statement& s);
    void EndScope(const Statement&) { CloseScope(); }
    void IfError(const Statement& s);
    void CheckNodes(const Statement& s);
    void Save(const Statement& s);
    void Iplot(const Statement& s);
    void Param(const Statement& s);
    void Set(const Statement& s);
    void Analysis(const Statement& s);
    void Fourier(const Statement& s);
    void Show(const Statement& s);
    void WriteAndDestroy(const Statement& s);
    void RunDeck(const Statement& s);
    void Orvo(const Statement& s);
    void Simulator(const Statement& s);

    bool Fail(const std::string& message);
    void Note(const std::string& text);
    void Status(const std::string& text);
    void CloseScope();
    /// Runs a command and logs what it printed (also on the page when `intoPage`); false, with
    /// the statement failed, when ngspice reported an error.
    bool Execute(const std::string& command, bool intoPage, CommandResult& r);
    /// Runs a command and logs what it printed, leaving failure to the caller.
    CommandResult Capture(const std::string& command, bool intoPage);
    /// Execute, then pages for the plots the command made.
    bool Send(const std::string& command, bool intoPage = true);
    void AddPlots(const std::vector<std::string>& plots, bool isAnalysis);
    /// Housekeeping whose failure costs no result: logged and noted, the run goes on.
    void Tidy(const CommandResult& r, unsigned what);
    void ApplySaves(bool nodeAnalysis);
    void RestoreTemperature(bool nominalToo);
    void ResetOptionsIfNeeded(const CStringArray& statements);
    /// ngspice's "no data saved" names no vector; this names the saved ones it does not know.
    std::string ExplainNoData(const std::string& error) const;
    /// Silent runs make no pages: their plots are dropped once the listener has had the data.
    void DropPlots(const std::vector<std::string>& plots);
    bool Silent() const { return options_.silent; }

    NgSpiceSession& session_;
    const RunOptions& options_;
    RunResult& result_;
    PageBuilder pages_;

    bool inScope_ = false;
    bool scopeAborted_ = false;
    bool lastFailed_ = false;
    bool previousFailed_ = false; ///< whether the statement before the current one failed
    bool stopped_ = false;
    bool savedThisScope_ = false;
    std::vector<std::string> saves_;
    std::vector<std::string> iplot_;
    std::set<std::string> noted_;
    bool tempChanged_ = false;
    bool tnomChanged_ = false;
    std::string statusText_;
    std::chrono::steady_clock::time_point lastStatus_{};
};

template <class Route, std::size_t N> constexpr bool InKindOrder(const Route (&routes)[N]) {
    for (std::size_t i = 0; i < N; ++i)
        if (static_cast<std::size_t>(routes[i].kind) != i)
            return false;
    return N == static_cast<std::size_t>(StatementKind::Simulator) + 1;
}

void Execution::Dispatch(const std::string& text) {
    static constexpr Route kRoutes[] = {
        {StatementKind::BeginScope, &Execution::BeginScope},
        {StatementKind::EndScope, &Execution::EndScope},
        {StatementKind::IfError, &Execution::IfError},
        {StatementKind::CheckNodes, &Execution::CheckNodes},
        {StatementKind::Save, &Execution::Save},
        {StatementKind::Iplot, &Execution::Iplot},
        {StatementKind::Param, &Execution::Param},
        {StatementKind::Set, &Execution::Set},
        {StatementKind::Analysis, &Execution::Analysis},
        {StatementKind::Fourier, &Execution::Fourier},
        {StatementKind::Show, &Execution::Show},
        {StatementKind::WriteAndDestroy, &Execution::WriteAndDestroy},
        {StatementKind::Run, &Execution::RunDeck},
        {StatementKind::Orvo, &Execution::Orvo},
        {StatementKind::Simulator, &Execution::Simulator},
    };
    static_assert(InKindOrder(kRoutes), "one route per statement kind, in the enum's order");

    Statement s;
    s.text = text;
    s.tokens = Tokens(text);
    s.rest = Trim(std::string_view(text).substr(s.tokens.front().size()));
    const StatementKind kind = ClassifyStatement(s.tokens.front());
    if (kind != StatementKind::EndScope) {
        if (scopeAborted_)
            return; // the rest of a scope whose circuit check failed
        previousFailed_ = std::exchange(lastFailed_, false);
    }
    (this->*kRoutes[static_cast<std::size_t>(kind)].handle)(s);
}

void Execution::Run(const std::string& script) {
    CStringArray statements;
    DivideStringIntoStatements(CString(script), statements);
    if (!options_.keepCircuitState)
        ResetOptionsIfNeeded(statements);
    const NgSpiceSession::ListenerScope listening(session_, this);
    for (const CString& raw : statements) {
        const std::string text = Trim(raw.view());
        if (text.empty())
            continue;
        if (stopped_ || (options_.stopRequested && options_.stopRequested()) ||
            session_.TakeStopRequest()) {
            if (!stopped_)
                Note(GetResourceText(IDS_HOST_STOPPED));
            stopped_ = true;
            break;
        }
        Dispatch(text);
        if (stopped_)
            break;
    }
    // A run that keeps the circuit's state keeps its temperature too: the next run depends on it.
    if (!options_.keepCircuitState)
        RestoreTemperature(true);
}

// --- bookkeeping -------------------------------------------------------------------------------

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

bool Execution::Fail(const std::string& message) {
    lastFailed_ = true;
    if (result_.ok) {
        result_.ok = false;
        result_.error = message;
    }
    if (!Silent())
        pages_.MarkFailed(message);
    return false;
}

void Execution::CloseScope() {
    inScope_ = false;
    scopeAborted_ = false;
    savedThisScope_ = false;
    saves_.clear();
    iplot_.clear();
    pages_.CloseScope();
}

CommandResult Execution::Capture(const std::string& command, bool intoPage) {
    CommandResult r = session_.Command(command);
    // An inner run's chatter ("Doing analysis at ...") is kept only when it explains a failure.
    if (Silent() && r.ok)
        return r;
    for (auto* log : {intoPage && !Silent() ? &pages_.Current().log : nullptr, &result_.log}) {
        if (!log)
            continue;
        log->insert(log->end(), r.out.begin(), r.out.end());
        log->insert(log->end(), r.err.begin(), r.err.end());
    }
    return r;
}

bool Execution::Execute(const std::string& command, bool intoPage, CommandResult& r) {
    r = Capture(command, intoPage);
    return r.ok || Fail(r.error);
}

bool Execution::Send(const std::string& command, bool intoPage) {
    CommandResult r;
    if (!Execute(command, intoPage, r))
        return false;
    AddPlots(r.plots, false);
    return true;
}

void Execution::AddPlots(const std::vector<std::string>& plots, bool isAnalysis) {
    if (Silent()) {
        DropPlots(plots);
        return;
    }
    const std::string failure =
        pages_.AddPlots(session_, plots, PlotSelection{iplot_, saves_, isAnalysis});
    if (!failure.empty())
        Fail(failure);
}

void Execution::DropPlots(const std::vector<std::string>& plots) {
    if (plots.empty())
        return;
    std::string command = "destroy";
    for (const std::string& plot : plots)
        command += " " + plot;
    Tidy(session_.Command(command), IDS_HOST_CLEANUP_FAILED);
}

void Execution::Tidy(const CommandResult& r, unsigned what) {
    if (r.ok)
        return;
    result_.log.insert(result_.log.end(), r.out.begin(), r.out.end());
    result_.log.insert(result_.log.end(), r.err.begin(), r.err.end());
    Note(GetResourceText(what) + r.error);
}

// ngspice's save list outlives the command that set it and also applies to analyses whose results
// are not node vectors (pole-zero, transfer function, sensitivity), which then find nothing to
// save and do not run. So the scope's list is set right before a node analysis, and cleared
// (everything saved) before the others. A silent run without save statements of its own is an
// inner run of a compound analysis and keeps the list its scope set.
void Execution::ApplySaves(bool nodeAnalysis) {
    if (nodeAnalysis && Silent() && !savedThisScope_)
        return;
    std::string list;
    if (nodeAnalysis)
        for (const auto& s : saves_)
            list += (list.empty() ? "" : " ") + s;
    const std::optional<std::string> held = session_.SaveList();
    if (held && *held == list)
        return;
    Tidy(session_.Command("delete all"), IDS_HOST_CLEANUP_FAILED);
    session_.SetSaveList(std::string());
    if (!list.empty() && Send("save " + list, false))
        session_.SetSaveList(list);
}

std::string Execution::ExplainNoData(const std::string& error) const {
    const std::optional<std::string> held = session_.SaveList();
    if (Lower(error).find("no data saved") == std::string::npos || !held || held->empty())
        return error;
    // "no data saved" means that no name of the list matched; the computed ones (device
    // quantities, differences) are not to blame.
    std::string unknown;
    for (const std::string& name : Tokens(*held)) {
        const std::string key = VectorKey(name);
        if (key == "all" || key.find_first_of("@,") != std::string::npos)
            continue;
        unknown += (unknown.empty() ? "" : " ") + name;
    }
    if (unknown.empty())
        return error;
    return GetResourceText(IDS_HOST_UNKNOWN_OUTPUTS) + unknown + "\n" + error;
}

void Execution::RestoreTemperature(bool nominalToo) {
    // ngspice keeps an "option temp" for every later analysis and run, so the circuit's own
    // temperature (its ".temp" or ".options temp=" card, else 27 °C) is put back explicitly.
    if (std::exchange(tempChanged_, false))
        Tidy(session_.Command("option temp=" + FormatNumber(session_.CircuitTemperature())),
             IDS_HOST_TEMPERATURE_NOT_RESTORED);
    if (nominalToo && std::exchange(tnomChanged_, false))
        Tidy(session_.Command("option tnom=" + FormatNumber(session_.CircuitNominalTemperature())),
             IDS_HOST_TEMPERATURE_NOT_RESTORED);
}

// ngspice keeps every option for all later analyses of the circuit. When this script would not
// set again everything an earlier one set, the circuit is re-read from its deck first ("reset"),
// so that each script runs under its own options and the circuit's. Scripts that repeat the
// same option set, as the model writes them, cost nothing.
void Execution::ResetOptionsIfNeeded(const CStringArray& statements) {
    const std::map<std::string, std::string> held = session_.Options();
    if (held.empty() || !session_.HasCircuit())
        return;
    std::map<std::string, std::string> wanted;
    for (const CString& raw : statements) {
        const std::string text = Trim(raw.view());
        if (ClassifyStatement(text.substr(0, text.find_first_of(" \t"))) != StatementKind::Set)
            continue;
        const SetStatement set = SplitSet(text);
        std::string command = OptionCommand(set);
        if (!command.empty())
            wanted[set.name] = std::move(command);
    }
    for (const auto& [name, command] : held) {
        const auto it = wanted.find(name);
        if (it == wanted.end() || it->second != command) {
            Tidy(session_.ResetCircuit(), IDS_HOST_CLEANUP_FAILED);
            return;
        }
    }
}

// --- statements --------------------------------------------------------------------------------

void Execution::BeginScope(const Statement& s) {
    CloseScope();
    inScope_ = true;
    std::string title = s.rest;
    if (Lower(title.substr(0, 4)) == "page")
        title = Trim(std::string_view(title).substr(4));
    if (!Silent())
        pages_.Current().title = title;
}

void Execution::IfError(const Statement&) {
    if (!previousFailed_)
        return;
    if (!Silent())
        pages_.Current().log.push_back(GetResourceText(IDS_HOST_SCOPE_CLOSED));
    CloseScope();
    stopped_ = true;
}

void Execution::CheckNodes(const Statement&) {
    if (session_.HasCircuit())
        return;
    Fail(GetResourceText(IDS_HOST_CHECK_FAILED));
    scopeAborted_ = inScope_;
}

void Execution::Save(const Statement& s) {
    // Kept until the analysis runs: which vectors ngspice may restrict depends on it.
    if (!std::exchange(savedThisScope_, true))
        saves_.clear();
    for (std::size_t i = 1; i < s.tokens.size(); ++i) {
        std::string name = GroundToZero(s.tokens[i]);
        if (std::find(saves_.begin(), saves_.end(), name) == saves_.end())
            saves_.push_back(std::move(name));
    }
}

void Execution::Param(const Statement& s) {
    const std::vector<std::string>& t = s.tokens;
    if (t.size() < 3 || Silent())
        return;
    const std::string name = Lower(t[1]);
    if (name == "hscale" || name == "vscale") {
        const std::string scale = Lower(t[2]) == "lin" ? "lin" : "log";
        pages_.UpdateAxis(name == "hscale", [&](report::Axis& a) { a.scale = scale; });
        return;
    }
    if (name == "hrange" || name == "vrange") {
        double lo = 0, hi = 0;
        if (t.size() < 4 || !ParseNumber(t[2], lo) || !ParseNumber(t[3], hi))
            return;
        pages_.UpdateAxis(name == "hrange", [&](report::Axis& a) {
            // A range of zero width ("hrange 0 0") means "fit to the data".
            a.hasRange = lo != hi;
            a.min = lo;
            a.max = hi;
        });
        return;
    }
    // The second pair of axes and page options have no place on a page yet; keep them visible
    // in the page's log rather than drop them.
    std::string line = GetResourceText(IDS_HOST_UNUSED_ARGUMENT);
    for (const auto& word : t)
        line += (line.back() == ' ' ? "" : " ") + word;
    pages_.Current().log.push_back(line);
}

void Execution::Set(const Statement& s) {
    const SetStatement set = SplitSet(s.text);
    if (set.name == "-temp") {
        // An earlier run may have set the temperature (a sweep sets it run by run).
        tempChanged_ = true;
        RestoreTemperature(false);
        return;
    }
    if (set.name == "temp" || set.name == "tnom") {
        const std::string command = TemperatureCommand(set.name, set.value);
        if (command.empty()) {
            Fail(std::string(GetResourceText(IDS_HOST_COMMAND_FAILED)) + "set " + set.name + " = " +
                 set.value);
            return;
        }
        (set.name == "temp" ? tempChanged_ : tnomChanged_) = true;
        Send(command, false);
        return;
    }
    const std::string command = OptionCommand(set);
    if (command.empty()) {
        // nfreqs, polydegree, fourgridsize and the user's own variables are ngspice variables.
        Send(s.text, false);
        return;
    }
    if (NeedsXspice(set.name) && !session_.HasXspice()) {
        Note(CString::Formatted(GetResourceText(IDS_HOST_OPTION_UNSUPPORTED), set.name.c_str())
                 .str());
        return;
    }
    if (Send(command, false))
        session_.RecordOption(set.name, command);
}

void Execution::Analysis(const Statement& s) {
    const AnalysisCommand a = MapAnalysis(s.tokens);
    statusText_ = std::string(GetResourceText(IDS_HOST_SIMULATING)) + " " + a.word;
    Status(statusText_);
    if (a.zeroIc)
        Note(GetResourceText(IDS_HOST_ZERO_IC));
    ApplySaves(a.nodeResults);
    const CommandResult r = Capture(a.command, true);
    if (!r.ok) {
        Fail(a.nodeResults ? ExplainNoData(r.error) : r.error);
        return;
    }
    if (session_.TakeStopRequest()) {
        Note(GetResourceText(IDS_HOST_STOPPED));
        stopped_ = true;
    }
    AddPlots(r.plots, true);
    if (!a.relative || r.plots.empty() || Silent())
        return;
    std::vector<std::string> problems;
    report::Page& p = pages_.Current();
    if (!MakeRelative(session_, a.args, r.plots.front(), p, problems)) {
        Note(GetResourceText(IDS_HOST_RELATIVE_SENS));
        p.log.push_back(GetResourceText(IDS_HOST_RELATIVE_SENS));
    }
    for (const auto& problem : problems)
        Note(GetResourceText(IDS_HOST_CLEANUP_FAILED) + problem);
}

void Execution::Fourier(const Statement& s) {
    const FourierStatement f = ParseFourierStatement(s.tokens);
    CommandResult r;
    if (!Execute(f.command, true, r))
        return;
    const std::vector<FourierSeries> series = ReadFourierPrintout(r.out);
    if (Silent())
        return;
    if (f.chart)
        for (const auto& one : series)
            pages_.Current().charts.push_back(FourierChart(one));
    // The spectrum gets its own page beside the transient it was computed from.
    if (f.graph && !series.empty())
        FillSpectrumPage(series, f, pages_.Sibling());
}

void Execution::Show(const Statement& s) {
    // Listings are for pages; inner runs repeat hundreds of times and have none.
    if (Silent())
        return;
    const std::string word = Lower(s.tokens.front());
    if (word == "show" && s.tokens.size() == 2 && Lower(s.tokens[1]) == "all") {
        // ngspice 39 crashes listing every parameter of independent sources; ask those only for
        // the values a reader wants, everything else in full.
        std::string others, sources;
        for (const auto& d : session_.DeviceNames())
            (d.front() == 'v' || d.front() == 'i' ? sources : others) += " " + d;
        if (!others.empty())
            Send("show" + others);
        if (!sources.empty())
            Send("show" + sources + " : dc acmag acphase");
        return;
    }
    std::string command = word;
    for (std::size_t i = 1; i < s.tokens.size(); ++i)
        command += " " + s.tokens[i];
    Send(command);
}

void Execution::WriteAndDestroy(const Statement& s) {
    const std::string plot = session_.CurrentPlot();
    if (plot.empty() || plot == "const") {
        Fail(GetResourceText(IDS_HOST_NO_PLOT));
        return;
    }
    if (Send("write " + s.rest))
        Send("destroy");
}

void Execution::Iplot(const Statement& s) {
    iplot_.assign(s.tokens.begin() + 1, s.tokens.end());
    if (options_.iplot)
        options_.iplot(iplot_);
}

void Execution::RunDeck(const Statement&) {
    Status(GetResourceText(IDS_HOST_SIMULATING));
    ApplySaves(true);
    Send("run");
}

void Execution::Orvo(const Statement& s) {
    if (!options_.orvo) {
        const std::string key = s.tokens.size() > 1 ? s.tokens[1] : std::string();
        Fail(GetResourceText(IDS_HOST_COMPOUND_NOT_AVAILABLE) + key);
        return;
    }
    // The compound analysis's inner runs save what its scope asked for.
    ApplySaves(true);
    std::string error;
    bool ok = false;
    try {
        ok = options_.orvo(s.rest, error);
    } catch (const std::exception& e) {
        error = e.what();
    }
    if (!ok)
        Fail(error.empty() ? GetResourceText(IDS_HOST_COMMAND_FAILED) + s.text : error);
}

void Execution::Simulator(const Statement& s) {
    // The user's own ngspice text.
    ApplySaves(true);
    Send(GroundToZero(s.text));
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
