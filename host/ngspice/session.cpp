// The libngspice adapter: guarded calls, trampolines, output capture and vector access.
#include "host/ngspice/session.h"

#include "host/ngspice/dialect.h"
#include "platform/resources.h"

#include <ngspice/sharedspice.h>

#include <algorithm>
#include <cctype>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <locale.h>
#include <utility>

namespace host {
namespace {

// ngspice reads and prints numbers with strtod/printf, which follow LC_NUMERIC. The guard makes
// the calling thread use the C locale for the length of one library call. The locale object is
// made once: a compound analysis makes thousands of calls.
class CLocaleGuard {
public:
    CLocaleGuard() {
        static const locale_t c = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
        if (c)
            old_ = uselocale(c);
    }
    ~CLocaleGuard() {
        if (old_)
            uselocale(old_);
    }
    CLocaleGuard(const CLocaleGuard&) = delete;
    CLocaleGuard& operator=(const CLocaleGuard&) = delete;

private:
    locale_t old_ = nullptr;
};

// The first line of a device card names the device; comments, dot cards and the title do not.
bool IsDeviceCard(std::string_view card) {
    if (card.empty())
        return false;
    const unsigned char c = static_cast<unsigned char>(card.front());
    return std::isalpha(c) != 0;
}

// Reads "NAME=VALUE" (blanks allowed around '=') from an options card; false when absent.
bool OptionValue(const std::string& card, const char* name, double& value) {
    const std::string n = name;
    for (std::size_t pos = card.find(n); pos != std::string::npos; pos = card.find(n, pos + 1)) {
        const bool startOk = pos == 0 || card[pos - 1] == ' ' || card[pos - 1] == '\t';
        std::size_t i = pos + n.size();
        while (i < card.size() && (card[i] == ' ' || card[i] == '\t'))
            ++i;
        if (!startOk || i >= card.size() || card[i] != '=')
            continue;
        const char* begin = card.c_str() + i + 1;
        char* end = nullptr;
        const double v = std::strtod(begin, &end);
        if (end != begin) {
            value = v;
            return true;
        }
    }
    return false;
}

// The temperatures a deck sets for itself; the last card wins, as in ngspice.
void DeckTemperatures(const std::vector<std::string>& lines, double& temp, double& tnom) {
    temp = tnom = 27.0;
    for (const auto& raw : lines) {
        const std::string card = Lower(raw);
        if (card.rfind(".temp", 0) == 0) {
            const char* begin = card.c_str() + 5;
            char* end = nullptr;
            const double v = std::strtod(begin, &end);
            if (end != begin)
                temp = v;
        } else if (card.rfind(".option", 0) == 0) {
            OptionValue(card, "temp", temp);
            OptionValue(card, "tnom", tnom);
        }
    }
}

// Lines handed to ngspice as an array have no file of their own, so ngspice would look for a
// relative ".include" or ".lib" file in the current directory. A netlist file means its own
// folder, as ngspice's "source" does; a path that exists there is made absolute.
std::string ResolveInclude(const std::string& line, const std::filesystem::path& folder) {
    const std::string l = Lower(line);
    std::size_t kw = 0;
    if (l.rfind(".include", 0) == 0)
        kw = 8;
    else if (l.rfind(".inc", 0) == 0)
        kw = 4;
    else if (l.rfind(".lib", 0) == 0)
        kw = 4;
    if (kw == 0 || kw >= line.size() || (line[kw] != ' ' && line[kw] != '\t'))
        return line;
    std::size_t b = line.find_first_not_of(" \t", kw);
    if (b == std::string::npos)
        return line;
    std::size_t e;
    const char quote = line[b];
    if (quote == '"' || quote == '\'') {
        ++b;
        e = line.find(quote, b);
        if (e == std::string::npos)
            return line;
    } else {
        e = line.find_first_of(" \t", b);
        if (e == std::string::npos)
            e = line.size();
    }
    const std::filesystem::path file(line.substr(b, e - b));
    std::error_code ec;
    if (file.empty() || file.is_absolute() || !std::filesystem::exists(folder / file, ec))
        return line;
    const std::size_t tail = (quote == '"' || quote == '\'') ? e + 1 : e;
    return line.substr(0, kw) + " \"" + (folder / file).lexically_normal().string() + "\"" +
           line.substr(tail);
}

// Keeps the capture target of one library call and gives the previous one back, also when the
// call is left by an exception.
class CaptureScope {
public:
    CaptureScope(CommandResult*& slot, CommandResult* capture)
        : slot_(slot), outer_(std::exchange(slot, capture)) {}
    ~CaptureScope() { slot_ = outer_; }
    CaptureScope(const CaptureScope&) = delete;
    CaptureScope& operator=(const CaptureScope&) = delete;

private:
    CommandResult*& slot_;
    CommandResult* outer_;
};

} // namespace

void CommandResult::AddError(const std::string& message) {
    if (ok) {
        ok = false;
        error = message;
    } else if (std::count(error.begin(), error.end(), '\n') < 4) {
        error += '\n';
        error += message;
    }
}

template <class Call> auto NgSpiceSession::CallLibrary(CommandResult* capture, Call&& call) {
    std::lock_guard lock(mutex_);
    CLocaleGuard locale;
    CaptureScope scope(current_, capture);
    return call();
}

CommandResult NgSpiceSession::DeadLibrary() {
    CommandResult dead;
    dead.ok = false;
    dead.exitRequested = true;
    dead.error = GetResourceText(IDS_HOST_EXIT_REQUESTED);
    return dead;
}

NgSpiceSession& NgSpiceSession::Get() {
    static NgSpiceSession session;
    return session;
}

NgSpiceSession::NgSpiceSession() {
    rowRe_.reserve(64);
    rowIm_.reserve(64);
    // The library's banner goes nowhere: there is no command to attach it to.
    CallLibrary(nullptr, [this] {
        return ngSpice_Init(&OnSendChar, &OnSendStat, &OnControlledExit, &OnSendData,
                            &OnSendInitData, &OnBackgroundThread, this);
    });
}

NgSpiceSession::ListenerScope::ListenerScope(NgSpiceSession& session, PlotListener* listener)
    : session_(session) {
    std::lock_guard lock(session_.mutex_);
    previous_ = std::exchange(session_.listener_, listener);
}

NgSpiceSession::ListenerScope::~ListenerScope() {
    std::lock_guard lock(session_.mutex_);
    session_.listener_ = previous_;
}

// --- trampolines: ngspice hands back the user pointer given to ngSpice_Init -------------------

template <class Work> int NgSpiceSession::Shielded(void* user, Work&& work) noexcept {
    auto* self = static_cast<NgSpiceSession*>(user);
    if (!self)
        return 0;
    try {
        work(*self);
    } catch (const std::exception& e) {
        self->CallbackFailed(e.what());
    } catch (...) {
        self->CallbackFailed(nullptr);
    }
    return 0;
}

void NgSpiceSession::CallbackFailed(const char* what) noexcept {
    listenerFailed_ = true;
    if (!current_)
        return;
    try {
        current_->AddError(std::string(GetResourceText(IDS_HOST_CALLBACK_FAILED)) +
                           (what ? what : GetResourceText(IDS_HOST_UNKNOWN_EXCEPTION)));
    } catch (...) {
        current_->ok = false; // no memory for the message; the failure itself still counts
    }
}

int NgSpiceSession::OnSendChar(char* text, int /*id*/, void* user) noexcept {
    if (!text)
        return 0;
    return Shielded(user, [text](NgSpiceSession& self) { self.HandleChar(text); });
}

int NgSpiceSession::OnSendStat(char* /*text*/, int /*id*/, void* /*user*/) noexcept {
    return 0;
}

int NgSpiceSession::OnControlledExit(int /*status*/, bool /*unload*/, bool /*quit*/, int /*id*/,
                                     void* user) noexcept {
    // Never exit: the host process outlives any circuit. The command in progress fails.
    return Shielded(user, [](NgSpiceSession& self) {
        self.exitRequested_ = true;
        if (self.current_)
            self.current_->exitRequested = true;
    });
}

int NgSpiceSession::OnSendData(vecvaluesall* values, int /*count*/, int /*id*/,
                               void* user) noexcept {
    if (!values)
        return 0;
    return Shielded(user, [values](NgSpiceSession& self) { self.HandleData(*values); });
}

int NgSpiceSession::OnSendInitData(vecinfoall* info, int /*id*/, void* user) noexcept {
    if (!info)
        return 0;
    return Shielded(user, [info](NgSpiceSession& self) { self.HandleInitData(*info); });
}

int NgSpiceSession::OnBackgroundThread(bool /*running*/, int /*id*/, void* /*user*/) noexcept {
    return 0;
}

// --- callback handling -------------------------------------------------------------------------

void NgSpiceSession::HandleChar(std::string_view line) {
    // Every line arrives as "stdout TEXT" or "stderr TEXT".
    const bool isErr = line.rfind("stderr", 0) == 0;
    if (isErr || line.rfind("stdout", 0) == 0)
        line.remove_prefix(line.size() > 6 && line[6] == ' ' ? 7 : 6);
    if (isErr && errorTap_)
        errorTap_(line);
    if (!current_)
        return;
    std::string text(line);
    if (!isErr) {
        current_->out.push_back(std::move(text));
        return;
    }
    if (!current_->ok) {
        current_->AddError(text); // what ngspice says after an error line explains it
    } else if (IsErrorLine(text)) {
        // "... simulation(s) aborted" names no reason; ngspice printed it on the line before.
        if (IsAbortLine(text) && !current_->err.empty())
            current_->AddError(current_->err.back());
        current_->AddError(text);
    }
    current_->err.push_back(std::move(text));
}

void NgSpiceSession::HandleInitData(const vecinfoall& info) {
    // ngspice's naming is crossed here: `type` holds the plot name ("ac1") and `name` the plot's
    // title ("AC Analysis").
    PlotInfo plot;
    plot.name = info.type ? info.type : "";
    plot.type = info.name ? info.name : "";
    plot.title = info.title ? info.title : "";
    plot.vectors.reserve(static_cast<std::size_t>(std::max(info.veccount, 0)));
    KnownPlot known{plot.name, plot.type, {}, {}};
    for (int i = 0; i < info.veccount; ++i) {
        const vecinfo* v = info.vecs[i];
        PlotVectorInfo pv;
        pv.name = v->vecname ? v->vecname : "";
        pv.isReal = v->is_real;
        pv.isScale = v->pdvec != nullptr && v->pdvec == v->pdvecscale;
        if (pv.isScale && known.scale.empty())
            known.scale = pv.name;
        known.vectors.push_back(pv.name);
        plot.vectors.push_back(std::move(pv));
    }
    std::erase_if(plots_, [&](const KnownPlot& k) { return k.name == known.name; });
    plots_.push_back(std::move(known));
    if (current_)
        current_->plots.push_back(plot.name);
    rowsSincePoll_ = 0;
    if (PlotListener* l = Listener())
        l->OnBeginPlot(plot);
}

void NgSpiceSession::HandleData(const vecvaluesall& values) {
    PlotListener* l = Listener();
    if (!l)
        return;
    const auto n = static_cast<std::size_t>(std::max(values.veccount, 0));
    rowRe_.resize(n);
    rowIm_.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        rowRe_[i] = values.vecsa[i]->creal;
        rowIm_[i] = values.vecsa[i]->is_complex ? values.vecsa[i]->cimag : 0.0;
    }
    l->OnData(DataRow{values.vecindex, rowRe_.data(), rowIm_.data(), n});
    // Polling on every row would cost more than the row itself on long transients.
    if (++rowsSincePoll_ >= 64) {
        rowsSincePoll_ = 0;
        if (l->OnStopPoll())
            stopRequested_ = true;
    }
}

// --- commands ----------------------------------------------------------------------------------

CommandResult NgSpiceSession::Command(std::string_view command) {
    std::lock_guard lock(mutex_);
    // After "quit" or a fatal error ngspice 39 frees its state and crashes on the next circuit,
    // even after a second ngSpice_Init; so quitting is refused, and a dead library is not called.
    const std::string word = Lower(command.substr(0, command.find_first_of(" \t")));
    if (word == "quit" || word == "exit") {
        CommandResult refused;
        refused.AddError(GetResourceText(IDS_HOST_QUIT_REFUSED) + std::string(command));
        return refused;
    }
    if (exitRequested_)
        return DeadLibrary();
    CommandResult result;
    listenerFailed_ = false;
    std::string text(command);
    const int rc = CallLibrary(&result, [&] {
        const int r = ngSpice_Command(text.data());
        if (!result.plots.empty())
            Shielded(this, [](NgSpiceSession& self) {
                if (PlotListener* l = self.Listener())
                    l->OnEndPlot();
            });
        return r;
    });
    listenerFailed_ = false;
    if (result.exitRequested) {
        hasCircuit_ = false;
        result.ok = false;
        if (result.error.empty())
            result.error = GetResourceText(IDS_HOST_EXIT_REQUESTED);
    } else if (rc != 0 && result.ok) {
        // A non-zero return without an error line: ngspice unwound from an internal failure.
        result.AddError(GetResourceText(IDS_HOST_COMMAND_FAILED) + std::string(command));
    }
    return result;
}

CommandResult NgSpiceSession::LoadCircuit(const std::vector<std::string>& lines) {
    std::lock_guard lock(mutex_);
    std::vector<std::string> cleanUp; // what removing the previous circuit printed as errors
    if (hasCircuit_) {
        // One circuit at a time: old plots and circuit go, so pages never mix two circuits.
        for (const char* command : {"destroy all", "remcirc"}) {
            const CommandResult r = Command(command);
            if (!r.ok)
                cleanUp.push_back(r.error);
        }
        hasCircuit_ = false;
    }
    if (exitRequested_)
        return DeadLibrary();
    std::vector<std::string> deck = lines;
    const bool hasEnd =
        !deck.empty() && Lower(std::string_view(deck.back()).substr(0, 4)) == ".end";
    if (!hasEnd)
        deck.emplace_back(".end");
    std::vector<char*> cards;
    cards.reserve(deck.size() + 1);
    for (auto& l : deck)
        cards.push_back(l.data());
    cards.push_back(nullptr);

    CommandResult result;
    result.err = std::move(cleanUp);
    const int rc = CallLibrary(&result, [&] { return ngSpice_Circ(cards.data()); });
    // ngspice sets up a circuit even after some card errors; a circuit only counts when the
    // parser neither complained nor failed.
    if (rc != 0 || result.exitRequested) {
        result.ok = false;
        if (result.error.empty())
            result.error = GetResourceText(IDS_HOST_CIRCUIT_REJECTED);
    }
    hasCircuit_ = result.ok;
    ++generation_;
    deck_ = result.ok ? deck : std::vector<std::string>();
    saveList_ = std::string();
    options_.clear();
    if (result.ok) {
        CLocaleGuard guard;
        DeckTemperatures(deck, circuitTemp_, circuitTnom_);
    }
    if (!result.ok && rc == 0 && !result.exitRequested) {
        // The parser may have left a half-built circuit behind; remove it.
        const CommandResult removed = Command("remcirc");
        result.err.insert(result.err.end(), removed.err.begin(), removed.err.end());
    }
    return result;
}

CommandResult NgSpiceSession::ResetCircuit() {
    std::lock_guard lock(mutex_);
    CommandResult r = Command("reset");
    options_.clear();
    saveList_.reset(); // whether "reset" keeps the save list is ngspice's business
    return r;
}

CommandResult NgSpiceSession::LoadCircuitFile(const std::string& path) {
    std::ifstream in(path);
    if (!in) {
        CommandResult r;
        r.AddError(GetResourceText(IDS_HOST_CANNOT_READ_NETLIST) + path);
        return r;
    }
    const std::filesystem::path folder = std::filesystem::absolute(path).parent_path();
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(ResolveInclude(line, folder));
    }
    return LoadCircuit(lines);
}

// --- state -------------------------------------------------------------------------------------

bool NgSpiceSession::HasCircuit() const {
    std::lock_guard lock(mutex_);
    return hasCircuit_;
}

unsigned NgSpiceSession::CircuitGeneration() const {
    std::lock_guard lock(mutex_);
    return generation_;
}

std::vector<std::string> NgSpiceSession::CircuitDeck() const {
    std::lock_guard lock(mutex_);
    return deck_;
}

std::optional<std::string> NgSpiceSession::SaveList() const {
    std::lock_guard lock(mutex_);
    return saveList_;
}

void NgSpiceSession::SetSaveList(std::optional<std::string> saves) {
    std::lock_guard lock(mutex_);
    saveList_ = std::move(saves);
}

double NgSpiceSession::CircuitTemperature() const {
    std::lock_guard lock(mutex_);
    return circuitTemp_;
}

double NgSpiceSession::CircuitNominalTemperature() const {
    std::lock_guard lock(mutex_);
    return circuitTnom_;
}

std::map<std::string, std::string> NgSpiceSession::Options() const {
    std::lock_guard lock(mutex_);
    return options_;
}

void NgSpiceSession::RecordOption(const std::string& name, const std::string& command) {
    std::lock_guard lock(mutex_);
    options_[name] = command;
}

bool NgSpiceSession::InLibraryCall() const {
    std::lock_guard lock(mutex_);
    return current_ != nullptr;
}

bool NgSpiceSession::TakeStopRequest() {
    std::lock_guard lock(mutex_);
    return std::exchange(stopRequested_, false);
}

// --- plots and vectors -------------------------------------------------------------------------

std::string NgSpiceSession::CurrentPlot() {
    const char* p = CallLibrary(nullptr, [] { return ngSpice_CurPlot(); });
    return p ? p : "";
}

std::string NgSpiceSession::PlotType(const std::string& plot) const {
    std::lock_guard lock(mutex_);
    for (const auto& k : plots_)
        if (k.name == plot)
            return k.type;
    return {};
}

std::vector<std::string> NgSpiceSession::PlotVectors(const std::string& plot, std::string* scale) {
    std::lock_guard lock(mutex_);
    // Plots announced through SendInitData are known exactly, in the analysis's own order; the
    // library's list would also hold vectors that later commands (fourier) added to the plot.
    for (const auto& k : plots_) {
        if (k.name == plot) {
            if (scale)
                *scale = k.scale;
            return k.vectors;
        }
    }
    if (scale)
        scale->clear();
    std::string p = plot;
    std::vector<std::string> names;
    for (char** all = CallLibrary(nullptr, [&] { return ngSpice_AllVecs(p.data()); }); all && *all;
         ++all)
        names.emplace_back(*all);
    return names;
}

bool NgSpiceSession::ReadVector(const std::string& name, VectorData& out) {
    std::lock_guard lock(mutex_); // the vector is ngspice's until it is copied
    CommandResult sink;           // ngspice complains on stderr about vectors it cannot hand out
    std::string n = name;
    const pvector_info info = CallLibrary(&sink, [&] { return ngGet_Vec_Info(n.data()); });
    if (!info || info->v_length < 0)
        return false;
    const auto len = static_cast<std::size_t>(info->v_length);
    out.name = info->v_name ? info->v_name : name;
    out.type = info->v_type;
    out.isComplex = info->v_realdata == nullptr && info->v_compdata != nullptr;
    out.re.clear();
    out.im.clear();
    if (out.isComplex) {
        out.re.reserve(len);
        out.im.reserve(len);
        for (std::size_t i = 0; i < len; ++i) {
            out.re.push_back(info->v_compdata[i].cx_real);
            out.im.push_back(info->v_compdata[i].cx_imag);
        }
    } else if (info->v_realdata) {
        out.re.assign(info->v_realdata, info->v_realdata + len);
    }
    return true;
}

bool NgSpiceSession::HasXspice() {
    std::lock_guard lock(mutex_);
    if (xspice_ < 0) {
        const CommandResult r = Command("version -f");
        xspice_ = std::any_of(r.out.begin(), r.out.end(), [](const std::string& l) {
            return l.find("XSPICE extensions included") != std::string::npos;
        });
    }
    return xspice_ != 0;
}

std::vector<std::string> NgSpiceSession::DeviceNames() {
    std::lock_guard lock(mutex_);
    std::vector<std::string> names;
    if (!hasCircuit_)
        return names;
    // "listing e" prints the expanded deck as "N : card"; line 1 is the title.
    const CommandResult r = Command("listing e");
    bool first = true;
    for (const auto& line : r.out) {
        const auto colon = line.find(" : ");
        if (colon == std::string::npos)
            continue;
        if (first) {
            first = false;
            continue;
        }
        std::string_view card(line);
        card.remove_prefix(colon + 3);
        if (!IsDeviceCard(card))
            continue;
        const auto end = card.find_first_of(" \t");
        names.emplace_back(Lower(card.substr(0, end)));
    }
    return names;
}

} // namespace host
