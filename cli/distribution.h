// Where the tool's independent runs are made: the one place that chooses the distributor.
#pragma once

#include "engine/run_distributor.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace host {
class NgSpiceSession;
namespace mpi {
class CMpiSession;
}
} // namespace host

namespace cli {

/// The default number of jobs: the machine's cores, at least 1.
int DefaultJobs();

/// Reads a --jobs value: a whole number from 1 to 1024; nothing otherwise.
std::optional<int> ParseJobs(const std::string& text);

/// Makes every later distributor spread runs over the ranks of `session` (borrowed; null: back
/// to local processes). Set by the tool when mpirun started it as several ranks.
void UseMpiSession(const host::mpi::CMpiSession* session);

/// The distributor over the MPI ranks when a session is in use (whatever `jobs` says); else for
/// `jobs` processes: null for 1 (every run in this process, in order),
/// else forked workers of `session` (borrowed, may be null), polling `stop`. The run timeout
/// comes from CANAL_RUN_TIMEOUT (seconds) when that is set to a positive number.
std::unique_ptr<CRunDistributor> MakeRunDistributor(int jobs, host::NgSpiceSession* session,
                                                    std::function<bool()> stop);

} // namespace cli
