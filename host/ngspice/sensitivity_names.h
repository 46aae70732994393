// ngspice's sensitivity vector names turned into the form the analyses read.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// What the names of ngspice's sensitivity plot need to know of one instance.
struct SensitivityElement {
    std::string model;     ///< the instance's model ("" when its kind has none)
    std::string principal; ///< the parameter ngspice names by the bare instance name, or ""
};

/// Looks an instance up by its lower-case name; null when there is no such instance.
using SensitivityLookup = std::function<const SensitivityElement*(std::string_view instance)>;

/// One vector of the canonical sensitivity plot and the ngspice vectors whose sum it is.
struct SensitivityColumn {
    std::string name;
    std::vector<std::size_t> sources; ///< indexes into ngspice's vector names
};

/// Maps ngspice's sensitivity names onto "INSTANCE_PARAM" for instance parameters and
/// "MODEL:PARAM" for model parameters. ngspice names the principal parameter by the bare
/// instance ("r1" is the resistance: "r1_resistance") and a model parameter once per instance
/// of the model ("d1:is", "d2:is"): each is that instance's share of the derivative, so the
/// model's sensitivity is their sum ("dmod:is"). Names it cannot place, and the scale
/// ("frequency"), stay as they are. Columns keep the order of their first source.
std::vector<SensitivityColumn> CanonicalSensitivityColumns(const std::vector<std::string>& names,
                                                           const SensitivityLookup& lookup);

} // namespace host
