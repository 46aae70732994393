// Relative DC sensitivity: ngspice's absolute derivatives scaled by parameter and output values.
#pragma once

#include "report/page.h"

#include <string>
#include <string_view>
#include <vector>

namespace host {

class NgSpiceSession;

/// The instance parameter whose value scales the sensitivity to a device ("resistance" for
/// "r1", "dc" for "v1"); empty for model parameters ("r1_scale", "d1:is") and devices without a
/// primary value of their own.
std::string PrimaryParameter(std::string_view device);

/// The vectors of an operating point that give a sensitivity output: "v(a,b)" is a minus b,
/// "v(a)" is a alone (`minus` empty), "i(v1)" is "v1#branch". False for anything else.
bool OutputVectors(std::string_view output, std::string& plus, std::string& minus);

/// Turns the absolute sensitivities on `page` (d out / d p) into relative ones (times p, divided
/// by out) and drops the traces it has no parameter value for. `args` are the analysis's
/// arguments (the output first), `sensPlot` the plot it made, which becomes the current plot
/// again. Runs an operating point that no listener sees and that leaves no plot behind; when
/// tidying after it fails, ngspice's message is added to `problems`. False, with the page
/// untouched, when there is no relative form (AC sensitivity, an output that is zero or cannot
/// be measured).
bool MakeRelative(NgSpiceSession& session, const std::vector<std::string>& args,
                  const std::string& sensPlot, report::Page& page,
                  std::vector<std::string>& problems);

} // namespace host
