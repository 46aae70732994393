// The loaded circuit as ngspice knows it: device kinds, models, instances, parameter tables and
// present values, read without any call that can crash the library in this process.
#pragma once

#include "platform/spice_circuit.h"

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace host {

class NgSpiceSession;

/// One row of a device kind's parameter table ("devhelp Resistor").
struct ParameterInfo {
    int id = 0;
    std::string name;        ///< lower case, as ngspice spells it
    std::string mode;        ///< "Input", "Output" or "InputOutput"
    std::string description; ///< "n.a." or empty for most aliases
};

/// The parameter tables of one device kind. Aliases (a second name for the same id, such as
/// "r" for "resistance") are kept so that either name is understood.
struct ParameterTables {
    std::vector<ParameterInfo> model;
    std::vector<ParameterInfo> instance;
};

/// The first row of each id: the parameters as a person should see them.
std::vector<ParameterInfo> WithoutAliases(const std::vector<ParameterInfo>& table);
/// The row called `name` (any case, aliases included), or null.
const ParameterInfo* FindParameter(const std::vector<ParameterInfo>& table, std::string_view name);

/// ngspice's device kinds in its own table order, from the "devhelp" listing
/// ("Resistor             :\tSimple linear resistor").
std::vector<std::string> ParseDeviceKinds(const std::vector<std::string>& lines);
/// The model and instance tables of "devhelp KIND".
ParameterTables ParseParameterTables(const std::vector<std::string>& lines);

/// One element named by "show"/"showmod": its kind, its name and (for instances) its model.
struct ShownElement {
    std::string kind;
    std::string name;
    std::string model; ///< "" for kinds without models (sources); unused for models
};
/// The instances of "show all : PARAM" for an unknown PARAM, which prints every instance's kind
/// and model but no value (so it cannot crash on a source). `kinds` are ngspice's kinds.
std::vector<ShownElement> ParseShownInstances(const std::vector<std::string>& lines,
                                              const std::vector<std::string>& kinds);
/// The models of "showmod all : PARAM" for an unknown PARAM.
std::vector<ShownElement> ParseShownModels(const std::vector<std::string>& lines,
                                           const std::vector<std::string>& kinds);

/// The instance parameter that ngspice's sensitivity analysis names by the bare instance name
/// ("resistance" of a Resistor, "dc" of a Vsource); empty when the kind has none.
std::string PrincipalParameter(std::string_view kind);

/// What was read of the loaded circuit.
struct CircuitContents {
    struct Element {
        std::string kind;
        std::string model; ///< instances: the model's name ("" when the kind has no models)
        std::string name;
        CSpiceParameterList params; ///< without aliases; values absent where unreadable
    };
    std::vector<std::string> kinds;                ///< ngspice's device table, in order
    std::map<std::string, ParameterTables> tables; ///< by kind, for the kinds in the circuit
    std::vector<Element> models;
    std::vector<Element> instances;
    /// Node voltages ("out") and branch currents ("v1#branch") of an operating point; empty
    /// when it did not converge.
    std::vector<std::string> vectors;
    std::vector<std::string> notes; ///< what could not be read, and why
    unsigned crashes = 0;           ///< parameter reads that crashed the reading child
};

/// Reads the circuit ngspice holds now. Runs one operating point first, so that model defaults
/// are in place, and removes its plot again. Every parameter value is read in forked children
/// (a few parameters crash ngspice 39 when read), restarting after each crash without the
/// parameter that caused it. ngspice's save list is as it was afterwards. `skip` names
/// instances left out (the host's own probe sources). With `valuesOf` (lower-case names of
/// instances and models), only those elements' values are read; the others have none.
CircuitContents ReadCircuit(NgSpiceSession& session, const std::vector<std::string>& skip = {},
                            const std::set<std::string>* valuesOf = nullptr);

/// Fills `circuit` (a fresh circuit of a session, whose device table is empty or ngspice's)
/// with the kinds, models and instances read. Instances of kinds without models go under a
/// model with an empty name.
void FillCircuit(const CircuitContents& contents, CSpiceCircuit& circuit);

} // namespace host
