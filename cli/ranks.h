// The tool started by an MPI launcher as one of several ranks.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace cli {

/// Runs the command line as Main does, unless an MPI launcher started this process as one of
/// several ranks. Then, in a build with MPI, every rank runs `canal run` alike (the same
/// circuit, seed and draws), the ranks make the independent runs and rank 0 alone prints and
/// writes the results; the other ranks keep their identical copy in a scratch folder that is
/// removed again. Other commands run on rank 0 only. A build without MPI refuses with a message
/// that says so.
int MainOfRank(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

} // namespace cli
