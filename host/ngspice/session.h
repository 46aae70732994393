// The process's one libngspice session: initialisation, commands, captured output and plot data.
#pragma once

#include "canal/ngspice_export.h"

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Contract. ngspice keeps its circuits, plots and variables in global state, so a process has
// exactly one session: `NgSpiceSession::Get()` initialises the library on first use and the object
// lives until the process ends. Nothing here unloads the library.
//
// Threads: every call runs synchronously on the caller's thread (the background-thread commands
// of libngspice are never used) and every public member function takes the session's lock, so
// calls from several threads are serialised. Callbacks (output, plot data, listener calls) arrive
// on the calling thread, inside the call that caused them.
//
// Memory: vectors and names handed out by ngspice stay ngspice's; the session copies what it
// returns. The listener is borrowed for the life of its `ListenerScope`.
//
// Failures inside callbacks: ngspice is C and cannot unwind, so nothing thrown may cross it. A
// listener (or the session's own handling) that throws fails the command in progress with the
// exception's text, and the listener hears nothing more of that command.
//
// Exits: ngspice may ask to exit after a fatal error (its ControlledExit callback). The session
// never lets that end the process: it records the request and fails the command that caused it.
// ngspice 39 cannot be used again after such an exit (not even after a second initialisation),
// so from then on every call fails with a message instead of calling into the library; "quit"
// and "exit" are refused for the same reason.
//
// Locale: every call into the library runs under a C-locale guard, because ngspice parses and
// prints numbers with the C library's locale-dependent functions.

struct vecvaluesall; // libngspice's callback records, declared in <ngspice/sharedspice.h>
struct vecinfoall;

namespace host {

/// One vector of a plot as the plot is announced, before data arrives.
struct CANAL_NGSPICE_EXPORT PlotVectorInfo {
    std::string name;
    bool isReal = true;
    bool isScale = false; ///< the plot's x vector (frequency, time, sweep)
};

/// A plot that ngspice has just set up ("ac1", type "AC Analysis").
struct CANAL_NGSPICE_EXPORT PlotInfo {
    std::string name;  ///< ngspice's plot name, e.g. "ac1"
    std::string type;  ///< ngspice's plot title, e.g. "AC Analysis"
    std::string title; ///< the circuit's title line
    std::vector<PlotVectorInfo> vectors;
};

/// One accepted data point: a value per vector, in the order of `PlotInfo::vectors`.
struct CANAL_NGSPICE_EXPORT DataRow {
    int index = 0; ///< number of the point within the plot, from 0
    const double* re = nullptr;
    const double* im = nullptr; ///< zeros for real vectors
    std::size_t count = 0;
};

/// Receives the plot data of a running analysis. Calls arrive on the thread that issued the
/// command, inside `NgSpiceSession::Command`. What a listener throws fails that command with the
/// exception's text; it never reaches ngspice.
class CANAL_NGSPICE_EXPORT PlotListener {
public:
    virtual ~PlotListener() = default;
    virtual void OnBeginPlot(const PlotInfo& plot) = 0;
    virtual void OnData(const DataRow& row) = 0;
    /// The command that produced the plot has returned.
    virtual void OnEndPlot() = 0;
    /// Asked between data rows (throttled). ngspice cannot interrupt a synchronous analysis, so
    /// answering true ends the run after the current command (see `TakeStopRequest`).
    virtual bool OnStopPoll() = 0;
};

/// What one command printed and whether ngspice reported an error.
struct CANAL_NGSPICE_EXPORT CommandResult {
    bool ok = true;
    std::string error; ///< ngspice's own error text: the first error line and up to four after it
    std::vector<std::string> out;   ///< stdout lines, without the "stdout " prefix
    std::vector<std::string> err;   ///< stderr lines, without the "stderr " prefix
    std::vector<std::string> plots; ///< plots the command created, in order ("ac1", "noise2", ...)
    bool exitRequested =
        false; ///< ngspice asked to exit; the session stays usable as far as it can

    /// Fails the command with `message`, or adds it below the first message (up to five lines).
    void AddError(const std::string& message);
};

/// A vector copied out of ngspice.
struct CANAL_NGSPICE_EXPORT VectorData {
    std::string name;
    int type = 0; ///< ngspice's vector type (1 time, 2 frequency, 3 voltage, 4 current, ...)
    bool isComplex = false;
    std::vector<double> re;
    std::vector<double> im; ///< empty for real vectors
};

class CANAL_NGSPICE_EXPORT NgSpiceSession {
public:
    /// The session of this process, initialised on first use.
    static NgSpiceSession& Get();

    NgSpiceSession(const NgSpiceSession&) = delete;
    NgSpiceSession& operator=(const NgSpiceSession&) = delete;

    /// Runs one ngspice command synchronously and captures what it printed. The command fails
    /// when ngspice prints an error on stderr, aborts an analysis or asks to exit.
    [[nodiscard]] CommandResult Command(std::string_view command);

    /// Loads a circuit given as netlist lines (the title first; ".end" is added when missing).
    /// A previously loaded circuit is removed first, so one circuit is current at a time.
    [[nodiscard]] CommandResult LoadCircuit(const std::vector<std::string>& lines);
    /// Reads a netlist file and loads it like `LoadCircuit`; relative ".include" and ".lib"
    /// paths are taken from the file's own folder.
    [[nodiscard]] CommandResult LoadCircuitFile(const std::string& path);
    bool HasCircuit() const;
    /// Counts circuit loads, so that whatever was read of a circuit knows when it is stale.
    unsigned CircuitGeneration() const;
    /// The deck as it was handed to ngspice last (includes resolved, ".end" added); empty when
    /// nothing was loaded.
    std::vector<std::string> CircuitDeck() const;
    /// The temperatures the loaded circuit asks for in degrees Celsius: its ".temp" card or
    /// ".options temp=/tnom=", else ngspice's default of 27.
    double CircuitTemperature() const;
    double CircuitNominalTemperature() const;

    /// Options set by "option" commands since the circuit was loaded or reset, by name, with
    /// the command that set them.
    std::map<std::string, std::string> Options() const;
    void RecordOption(const std::string& name, const std::string& command);
    /// Re-reads the current circuit from its deck ("reset"): options, temperatures and altered
    /// parameters return to what the netlist says. Plots are kept.
    [[nodiscard]] CommandResult ResetCircuit();

    /// The save list ngspice holds now, as the words of the "save" command that set it ("" for
    /// none: every vector is saved); nothing when unknown. Loading a circuit empties it.
    std::optional<std::string> SaveList() const;
    /// Records what a "save" or "delete all" just did (nothing: unknown).
    void SetSaveList(std::optional<std::string> saves);

    /// Name of ngspice's current plot ("ac1"); empty when there is none.
    std::string CurrentPlot();
    /// Type (title) of a plot created by a command of this session ("AC Analysis"), or "".
    std::string PlotType(const std::string& plot) const;
    /// Vector names of a plot in ngspice's order; the scale vector name is stored in `scale`.
    std::vector<std::string> PlotVectors(const std::string& plot, std::string* scale = nullptr);
    /// Copies one vector ("ac1.out" or "out" in the current plot). False when it does not exist.
    bool ReadVector(const std::string& name, VectorData& out);

    /// Whether this ngspice build has the XSPICE extensions (asked once, then remembered).
    bool HasXspice();

    /// Whether a command of this session is running on the calling thread (its callbacks are
    /// being delivered). ngspice cannot take a second command then.
    bool InLibraryCall() const;

    /// Hears every line ngspice prints on stderr as it is printed (may be empty: nobody), also
    /// lines no command captures. A forked worker streams them to its parent with it, so that
    /// what ngspice said survives a crash of the worker.
    void SetErrorLineTap(std::function<void(std::string_view line)> tap) {
        errorTap_ = std::move(tap);
    }

    /// True once when a listener asked to stop since the last call.
    bool TakeStopRequest();

    /// Names of the devices of the current circuit, in netlist order (from ngspice's listing).
    std::vector<std::string> DeviceNames();

    /// Forwards the plot data of the session's commands to a listener (null: to nobody) for the
    /// life of the scope, then gives the previous listener back. The listener is borrowed and
    /// must outlive the scope; scopes nest.
    class ListenerScope {
    public:
        ListenerScope(NgSpiceSession& session, PlotListener* listener);
        ~ListenerScope();
        ListenerScope(const ListenerScope&) = delete;
        ListenerScope& operator=(const ListenerScope&) = delete;

    private:
        NgSpiceSession& session_;
        PlotListener* previous_;
    };

private:
    NgSpiceSession();

    /// Runs one libngspice call under the session's lock and a C-locale guard, with what it
    /// prints captured into `capture` (null: dropped), and gives the previous capture back.
    template <class Call> auto CallLibrary(CommandResult* capture, Call&& call);
    /// A refused command: the library is gone after a fatal error.
    static CommandResult DeadLibrary();

    static int OnSendChar(char* text, int id, void* user) noexcept;
    static int OnSendStat(char* text, int id, void* user) noexcept;
    static int OnControlledExit(int status, bool unload, bool quit, int id, void* user) noexcept;
    static int OnSendData(::vecvaluesall* values, int count, int id, void* user) noexcept;
    static int OnSendInitData(::vecinfoall* info, int id, void* user) noexcept;
    static int OnBackgroundThread(bool running, int id, void* user) noexcept;

    /// Runs callback work so that nothing it throws escapes into ngspice.
    template <class Work> static int Shielded(void* user, Work&& work) noexcept;
    void CallbackFailed(const char* what) noexcept;

    void HandleChar(std::string_view line);
    void HandleInitData(const ::vecinfoall& info);
    void HandleData(const ::vecvaluesall& values);
    /// The listener of the running command, or null when there is none or it has failed.
    PlotListener* Listener() const { return listenerFailed_ ? nullptr : listener_; }

    struct KnownPlot {
        std::string name, type, scale;
        std::vector<std::string> vectors;
    };

    mutable std::recursive_mutex mutex_;
    CommandResult* current_ = nullptr; ///< result being captured by the running command
    PlotListener* listener_ = nullptr;
    bool listenerFailed_ = false; ///< a callback threw during the running command
    bool hasCircuit_ = false;
    unsigned generation_ = 0;
    std::vector<std::string> deck_;
    std::optional<std::string> saveList_;
    bool exitRequested_ = false;
    bool stopRequested_ = false;
    int xspice_ = -1; ///< unknown until asked
    double circuitTemp_ = 27.0;
    double circuitTnom_ = 27.0;
    std::map<std::string, std::string> options_;
    std::vector<KnownPlot> plots_;
    std::vector<double> rowRe_, rowIm_; ///< reused for every data row
    std::function<void(std::string_view)> errorTap_;
    unsigned rowsSincePoll_ = 0;
};

} // namespace host
