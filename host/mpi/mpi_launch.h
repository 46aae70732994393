// How the tool learns that an MPI launcher started it, in builds with and without MPI.
#pragma once

#include <functional>
#include <string>

namespace host::mpi {

/// Reads one environment variable: its value, or null when it is not set. The pointer is
/// borrowed and need only live until the next call.
using EnvLookup = std::function<const char*(const char* name)>;

/// True when this build contains the MPI distributor (configured with CANAL_MPI found or ON).
bool MpiBuilt();

/// How many ranks the launcher started, as far as its environment says: Open MPI, MPICH/Hydra,
/// Intel MPI, MVAPICH and PMIx launchers are recognised. Returns 0 when no launcher is seen and
/// 2 when only a rank above 0 shows that there are several (PMIx gives no size).
int LaunchedRankCount(const EnvLookup& env);

/// True when mpirun (or a similar launcher) started this process as one of several ranks.
/// Reads the process environment.
bool LaunchedWithSeveralRanks();
/// The same, over the given environment.
bool LaunchedWithSeveralRanks(const EnvLookup& env);

/// What the tool prints when it was started as one of several ranks but has no MPI built in:
/// every rank would otherwise run the whole analysis and write the same files.
std::string NoMpiMessage();

} // namespace host::mpi
