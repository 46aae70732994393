// Pin currents for ngspice, which has none: a zero-volt source in series with every pin.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace host {

/// One inserted probe: the source that measures the current into `pin` of `component`.
struct PinProbe {
    std::string source;    ///< the probe's voltage source ("vcanalpin_r1_1")
    std::string component; ///< the component's netlist name, lower case ("r1", "q2", "x3")
    int pin = 0;           ///< 1-based position of the node on the component's card
};

/// A deck with probes and what they measure.
struct ProbedDeck {
    std::vector<std::string> lines;
    std::vector<PinProbe> probes;
};

/// Rewrites the top-level device cards of `deck` (title first) so that each pin connects to its
/// node through a 0 V source: "r1 a b 1k" becomes "r1 canalpin_r1_1 canalpin_r1_2 1k" plus
/// "vcanalpin_r1_1 a canalpin_r1_1 0" and "vcanalpin_r1_2 b canalpin_r1_2 0". A 0 V source
/// changes no node voltage, and its branch current is the current into the pin. Probed:
/// resistors, capacitors, inductors, independent sources, diodes, BJTs, MOSFETs, JFETs, MESFETs
/// and subcircuit instances; where a card's nodes end is found from `models` (lower-case names
/// of the circuit's models). Cards inside ".subckt" and ".control" blocks, other kinds and
/// cards that do not read as expected stay as they are. Continuation lines are joined.
ProbedDeck InsertPinProbes(const std::vector<std::string>& deck,
                           const std::set<std::string>& models);

/// The name under which the current of `probe` reaches the analyses: the trace-width form
/// "x" + component + ".pinvoltagev--" + pin + "#branch".
std::string PinCurrentVectorName(const PinProbe& probe);

/// ngspice's branch vector of each probe ("vcanalpin_r1_1#branch") -> PinCurrentVectorName.
std::map<std::string, std::string> PinCurrentRenames(const std::vector<PinProbe>& probes);

/// Whether a node or instance name is one the probes made up.
bool IsProbeName(const std::string& name);

} // namespace host
