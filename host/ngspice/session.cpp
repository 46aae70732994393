// The libngspice adapter: trampolines, output capture, error detection and vector access.
#include "host/ngspice/session.h"

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
#include <mutex>

namespace host {
namespace {

// ngspice reads and prints numbers with strtod/printf, which follow LC_NUMERIC. The guard makes
// the calling thread use the C locale for the length of one library call.
class CLocaleGuard {
public:
    CLocaleGuard() : c_(newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr))) {
        if (c_)
            old_ = uselocale(c_);
    }
    ~CLocaleGuard() {
        if (c_) {
            uselocale(old_);
            freelocale(c_);
        }
    }
    CLocaleGuard(const CLocaleGuard&) = delete;
    CLocaleGuard& operator=(const CLocaleGuard&) = delete;

private:
    locale_t c_;
    locale_t old_ = nullptr;
};

std::recursive_mutex& SessionMutex() {
    static std::recursive_mutex m;
    return m;
}

std::string Lower(std::string_view s) {
    std::string r(s);
    for (char& c : r)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return r;
}

bool Contains(const std::string& haystack, const char* needle) {
    return haystack.find(needle) != std::string::npos;
}

// ngspice has no error codes for most failures: it prints them. These are the stderr texts that
// mean the command did not do what it was asked (checked on the lower-cased line).
bool IsErrorLine(const std::string& line) {
    const std::string l = Lower(line);
    if (l.rfind("note:", 0) == 0)
        return false;
    return Contains(l, "error") || Contains(l, "aborted") || Contains(l, "no such") ||
           Contains(l, "not found") || Contains(l, "not available") ||
           Contains(l, "timestep too small") || Contains(l, "singular matrix") ||
           Contains(l, "unknown") || Contains(l, "cannot") || Contains(l, "can't");
}

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

} // namespace

NgSpiceSession& NgSpiceSession::Get() {
    static NgSpiceSession session;
    return session;
}

NgSpiceSession::NgSpiceSession() {
    std::lock_guard lock(SessionMutex());
    CLocaleGuard guard;
    // The library's banner goes nowhere: there is no command to attach it to.
    ngSpice_Init(&NgSpiceSession::OnSendChar, &NgSpiceSession::OnSendStat,
                 &NgSpiceSession::OnControlledExit, &NgSpiceSession::OnSendData,
                 &NgSpiceSession::OnSendInitData, &NgSpiceSession::OnBackgroundThread, this);
    rowRe_.reserve(64);
    rowIm_.reserve(64);
}

// --- trampolines: ngspice hands back the user pointer given to ngSpice_Init -------------------

int NgSpiceSession::OnSendChar(char* text, int /*id*/, void* user) {
    if (text && user)
        static_cast<NgSpiceSession*>(user)->HandleChar(text);
    return 0;
}

int NgSpiceSession::OnSendStat(char* /*text*/, int /*id*/, void* /*user*/) {
    return 0;
}

int NgSpiceSession::OnControlledExit(int /*status*/, bool /*unload*/, bool /*quit*/, int /*id*/,
                                     void* user) {
    // Never exit: the host process outlives any circuit. The command in progress fails.
    if (user) {
        auto* self = static_cast<NgSpiceSession*>(user);
        self->exitRequested_ = true;
        if (self->current_)
            self->current_->exitRequested = true;
    }
    return 0;
}

int NgSpiceSession::OnSendData(vecvaluesall* values, int /*count*/, int /*id*/, void* user) {
    if (values && user)
        static_cast<NgSpiceSession*>(user)->HandleData(*values);
    return 0;
}

int NgSpiceSession::OnSendInitData(vecinfoall* info, int /*id*/, void* user) {
    if (info && user)
        static_cast<NgSpiceSession*>(user)->HandleInitData(*info);
    return 0;
}

int NgSpiceSession::OnBackgroundThread(bool /*running*/, int /*id*/, void* /*user*/) {
    return 0;
}

// --- callback handling -------------------------------------------------------------------------

void NgSpiceSession::HandleChar(std::string_view line) {
    if (!current_)
        return;
    // Every line arrives as "stdout TEXT" or "stderr TEXT".
    bool isErr = false;
    if (line.rfind("stderr ", 0) == 0) {
        isErr = true;
        line.remove_prefix(7);
    } else if (line.rfind("stderr", 0) == 0) {
        isErr = true;
        line.remove_prefix(6);
    } else if (line.rfind("stdout ", 0) == 0) {
        line.remove_prefix(7);
    } else if (line.rfind("stdout", 0) == 0) {
        line.remove_prefix(6);
    }
    std::string text(line);
    if (!isErr) {
        current_->out.push_back(std::move(text));
        return;
    }
    if (IsErrorLine(text)) {
        if (current_->ok) {
            current_->ok = false;
            current_->error = text;
        } else if (std::count(current_->error.begin(), current_->error.end(), '\n') < 4) {
            current_->error += '\n';
            current_->error += text;
        }
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
    plots_.erase(std::remove_if(plots_.begin(), plots_.end(),
                                [&](const KnownPlot& k) { return k.name == known.name; }),
                 plots_.end());
    plots_.push_back(std::move(known));
    if (current_)
        current_->plots.push_back(plot.name);
    rowsSincePoll_ = 0;
    if (listener_)
        listener_->OnBeginPlot(plot);
}

void NgSpiceSession::HandleData(const vecvaluesall& values) {
    if (!listener_)
        return;
    const auto n = static_cast<std::size_t>(std::max(values.veccount, 0));
    rowRe_.resize(n);
    rowIm_.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        rowRe_[i] = values.vecsa[i]->creal;
        rowIm_[i] = values.vecsa[i]->is_complex ? values.vecsa[i]->cimag : 0.0;
    }
    listener_->OnData(DataRow{values.vecindex, rowRe_.data(), rowIm_.data(), n});
    // Polling on every row would cost more than the row itself on long transients.
    if (++rowsSincePoll_ >= 64) {
        rowsSincePoll_ = 0;
        if (listener_->OnStopPoll())
            stopRequested_ = true;
    }
}

// --- commands ----------------------------------------------------------------------------------

CommandResult NgSpiceSession::Command(std::string_view command) {
    std::lock_guard lock(SessionMutex());
    CommandResult result;
    // After "quit" or a fatal error ngspice 39 frees its state and crashes on the next circuit,
    // even after a second ngSpice_Init; so quitting is refused, and a dead library is not called.
    const std::string word = Lower(command.substr(0, command.find_first_of(" \t")));
    if (word == "quit" || word == "exit") {
        result.ok = false;
        result.error = GetResourceText(IDS_HOST_QUIT_REFUSED);
        result.error += std::string(command);
        return result;
    }
    if (exitRequested_) {
        result.ok = false;
        result.exitRequested = true;
        result.error = GetResourceText(IDS_HOST_EXIT_REQUESTED);
        return result;
    }
    CommandResult* outer = current_;
    current_ = &result;
    int rc = 0;
    {
        CLocaleGuard guard;
        std::string text(command);
        rc = ngSpice_Command(text.data());
    }
    current_ = outer;
    if (listener_ && !result.plots.empty())
        listener_->OnEndPlot();
    if (result.exitRequested) {
        hasCircuit_ = false;
        result.ok = false;
        if (result.error.empty())
            result.error = GetResourceText(IDS_HOST_EXIT_REQUESTED);
    } else if (rc != 0 && result.ok) {
        // A non-zero return without an error line: ngspice unwound from an internal failure.
        result.ok = false;
        result.error = GetResourceText(IDS_HOST_COMMAND_FAILED);
        result.error += std::string(command);
    }
    return result;
}

CommandResult NgSpiceSession::LoadCircuit(const std::vector<std::string>& lines) {
    std::lock_guard lock(SessionMutex());
    if (hasCircuit_) {
        // One circuit at a time: old plots and circuit go, so pages never mix two circuits.
        (void)Command("destroy all");
        (void)Command("remcirc");
        hasCircuit_ = false;
    }
    if (exitRequested_) {
        CommandResult dead;
        dead.ok = false;
        dead.exitRequested = true;
        dead.error = GetResourceText(IDS_HOST_EXIT_REQUESTED);
        return dead;
    }
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
    CommandResult* outer = current_;
    current_ = &result;
    int rc = 0;
    {
        CLocaleGuard guard;
        rc = ngSpice_Circ(cards.data());
    }
    current_ = outer;
    // ngspice sets up a circuit even after some card errors; a circuit only counts when the
    // parser neither complained nor failed.
    if (rc != 0 || result.exitRequested) {
        result.ok = false;
        if (result.error.empty())
            result.error = GetResourceText(IDS_HOST_CIRCUIT_REJECTED);
    }
    hasCircuit_ = result.ok;
    options_.clear();
    if (result.ok) {
        CLocaleGuard guard;
        DeckTemperatures(deck, circuitTemp_, circuitTnom_);
    }
    if (!result.ok && rc == 0 && !result.exitRequested) {
        // The parser may have left a half-built circuit behind; remove it.
        CommandResult ignored = Command("remcirc");
        (void)ignored;
    }
    return result;
}

CommandResult NgSpiceSession::ResetCircuit() {
    std::lock_guard lock(SessionMutex());
    CommandResult r = Command("reset");
    options_.clear();
    return r;
}

CommandResult NgSpiceSession::LoadCircuitFile(const std::string& path) {
    std::ifstream in(path);
    if (!in) {
        CommandResult r;
        r.ok = false;
        r.error = GetResourceText(IDS_HOST_CANNOT_READ_NETLIST);
        r.error += path;
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

// --- plots and vectors -------------------------------------------------------------------------

std::string NgSpiceSession::CurrentPlot() {
    std::lock_guard lock(SessionMutex());
    CLocaleGuard guard;
    const char* p = ngSpice_CurPlot();
    return p ? p : "";
}

std::string NgSpiceSession::PlotType(const std::string& plot) const {
    for (const auto& k : plots_)
        if (k.name == plot)
            return k.type;
    return {};
}

std::vector<std::string> NgSpiceSession::PlotVectors(const std::string& plot, std::string* scale) {
    std::lock_guard lock(SessionMutex());
    // Plots announced through SendInitData are known exactly, in the analysis's own order; the
    // library's list would also hold vectors that later commands (fourier) added to the plot.
    for (const auto& k : plots_) {
        if (k.name == plot) {
            if (scale)
                *scale = k.scale;
            return k.vectors;
        }
    }
    std::vector<std::string> names;
    CLocaleGuard guard;
    std::string p = plot;
    char** all = ngSpice_AllVecs(p.data());
    for (; all && *all; ++all)
        names.emplace_back(*all);
    if (scale)
        scale->clear();
    return names;
}

bool NgSpiceSession::ReadVector(const std::string& name, VectorData& out) {
    std::lock_guard lock(SessionMutex());
    CommandResult sink; // ngspice complains on stderr about vectors it cannot hand out
    CommandResult* outer = current_;
    current_ = &sink;
    pvector_info info = nullptr;
    {
        CLocaleGuard guard;
        std::string n = name;
        info = ngGet_Vec_Info(n.data());
    }
    current_ = outer;
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
    std::lock_guard lock(SessionMutex());
    if (xspice_ < 0) {
        const CommandResult r = Command("version -f");
        xspice_ = std::any_of(r.out.begin(), r.out.end(), [](const std::string& l) {
            return l.find("XSPICE extensions included") != std::string::npos;
        });
    }
    return xspice_ != 0;
}

std::vector<std::string> NgSpiceSession::DeviceNames() {
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
