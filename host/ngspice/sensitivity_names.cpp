// Sensitivity names: principal parameters spelt out, model parameters summed over instances.
#include "host/ngspice/sensitivity_names.h"

#include <map>

namespace host {

std::vector<SensitivityColumn> CanonicalSensitivityColumns(const std::vector<std::string>& names,
                                                           const SensitivityLookup& lookup) {
    std::vector<SensitivityColumn> columns;
    std::map<std::string, std::size_t> byName;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string& raw = names[i];
        std::string name = raw;
        if (const auto colon = raw.find(':'); colon != std::string::npos) {
            const SensitivityElement* e = lookup(std::string_view(raw).substr(0, colon));
            if (e && !e->model.empty())
                name = e->model + raw.substr(colon);
        } else if (const SensitivityElement* e = lookup(raw); e && !e->principal.empty()) {
            name = raw + "_" + e->principal;
        }
        const auto [it, fresh] = byName.emplace(name, columns.size());
        if (fresh)
            columns.push_back({std::move(name), {}});
        columns[it->second].sources.push_back(i);
    }
    return columns;
}

} // namespace host
