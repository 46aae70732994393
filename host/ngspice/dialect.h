// The host dialect spelt in ngspice's terms: pure text functions, no simulator needed.
#pragma once

#include "canal/ngspice_export.h"

#include <string>
#include <string_view>
#include <vector>

namespace host {

// --- text --------------------------------------------------------------------------------------

/// ASCII lower case; ngspice reads netlists and vector names case-insensitively.
CANAL_NGSPICE_EXPORT std::string Lower(std::string_view s);
/// Without leading and trailing blanks, tabs and line ends.
CANAL_NGSPICE_EXPORT std::string Trim(std::string_view s);
/// The words of a statement, split at any run of white space.
CANAL_NGSPICE_EXPORT std::vector<std::string> Tokens(std::string_view s);
/// The whole of `s` as a number (a leading '+' allowed), read in the C locale; false otherwise.
[[nodiscard]] bool ParseNumber(std::string_view s, double& value);
/// "%lg", the form in which the dialect and ngspice's option commands write numbers.
std::string FormatNumber(double value);

// --- names -------------------------------------------------------------------------------------

/// Replaces the dialect's ground node "$0", wherever it stands as a name of its own, by
/// ngspice's "0": "v(out,$0)" becomes "v(out,0)", "$01" stays.
std::string GroundToZero(std::string_view text);
/// The name under which ngspice stores an output vector: "V(out)" is "out", "i(v1)" is
/// "v1#branch"; differences ("v(a,b)") and other expressions are only lowered.
std::string VectorKey(std::string_view name);
/// The name a page shows for a vector of a node plot: "v1#branch" as "i(v1)", a voltage
/// (ngspice vector type 3) "out" as "v(out)"; anything else unchanged.
std::string DisplayName(const std::string& vector, int vectorType);
/// Whether a plot holds node voltages and branch currents ("op1", "ac2", "dc1", "tran3"), as
/// opposed to a table of computed values (pole-zero, transfer function, sensitivity, noise).
bool IsNodePlot(std::string_view plot);

// --- statements --------------------------------------------------------------------------------

/// What a statement of the dialect is, by its first word.
enum class StatementKind {
    BeginScope,      ///< begin-scope page TITLE
    EndScope,        ///< end-scope
    IfError,         ///< if-error end-scope audit-log-show
    CheckNodes,      ///< checknodes N
    Save,            ///< save LIST
    Iplot,           ///< iplot LIST
    Param,           ///< -param NAME VALUE...
    Set,             ///< set NAME = V, set FLAG, set -temp
    Analysis,        ///< op, ac, dc, tran, noise, disto, sens, pz, tf
    Fourier,         ///< fourier [/flags] F LIST
    Show,            ///< show ..., showmod ...
    WriteAndDestroy, ///< write-and-destroy-iplot FILE
    Run,             ///< run
    Orvo,            ///< orvo KEY RECORD
    Simulator,       ///< anything else: the user's own ngspice text
};
/// The kind of a statement whose first word is `word` (any case).
CANAL_NGSPICE_EXPORT StatementKind ClassifyStatement(std::string_view word);

// --- options -----------------------------------------------------------------------------------

/// Whether `name` (lower case) is one of the model's simulator options.
bool IsSimulatorOption(std::string_view name);
/// Whether ngspice knows the option only when built with the XSPICE extensions.
bool NeedsXspice(std::string_view name);

/// A "set" statement taken apart.
struct SetStatement {
    std::string name;  ///< lower case: "reltol", "temp", "-temp", "nfreqs"
    std::string value; ///< the text after '=', trimmed; empty for a flag
    bool hasValue = false;
};
/// Splits "set NAME = V", "set NAME=V", "set NAME" and "set -temp".
SetStatement SplitSet(std::string_view statement);
/// The ngspice command of a simulator option ("option reltol=0.01", "option noopiter");
/// empty for temperatures and for anything that is not one of the model's options.
std::string OptionCommand(const SetStatement& set);
/// The ngspice command that sets "temp" or "tnom" given in kelvin, as degrees Celsius
/// ("option temp=26.85"); empty when the value is not a number.
std::string TemperatureCommand(std::string_view option, std::string_view kelvin);

// --- analyses ----------------------------------------------------------------------------------

/// An analysis statement mapped onto ngspice.
struct AnalysisCommand {
    std::string word;              ///< "tran"
    std::vector<std::string> args; ///< ngspice's arguments, lower case, ground as "0"
    std::string command;           ///< the whole ngspice command
    bool zeroIc = false;           ///< the statement asked for a start from zero
    bool relative = false;         ///< sensitivity wanted in relative form
    bool nodeResults = false;      ///< results are node vectors, so a save list applies
};
/// Maps the words of an analysis statement: drops " -env-options ", lowers names (ngspice
/// knows the netlist's names in lower case only), "$0" to "0", the transient keywords onto
/// tran's arguments and sensitivity's "relative" into a flag.
AnalysisCommand MapAnalysis(const std::vector<std::string>& tokens);

// --- errors ------------------------------------------------------------------------------------

/// Whether a line ngspice printed on stderr means the command failed: an error line ("Error:
/// ...", "Fatal error: ..."), an aborted analysis ("tran simulation(s) aborted") or a command
/// ngspice does not have. Warnings never fail a command, whatever they say.
bool IsErrorLine(std::string_view line);
/// Whether the failing line only says that an analysis was aborted, so that the reason is the
/// line ngspice printed before it.
bool IsAbortLine(std::string_view line);

} // namespace host
