// `canal members`: the circuit's instances and models as ngspice has them, with the records
// that name them in sweep and tolerance settings.
#pragma once

#include "cli/args.h"
#include "host/ngspice/circuit_reader.h"

#include <iosfwd>
#include <string>

namespace cli {

/// The listing of `contents` (every instance, then every model; only the element called
/// `only` when it is not empty): per element a heading, its member record and a table of its
/// parameters with value, mode, description and, for those that can be set, the parameter
/// record. Columns are aligned per element.
std::string MembersListing(const host::CircuitContents& contents, const std::string& only = {});

/// `canal members CIRCUIT [--only NAME]`.
int ListMembers(const Invocation& call, std::ostream& out, std::ostream& err);

} // namespace cli
