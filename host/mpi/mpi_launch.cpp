// Launcher detection from the environment that MPI launchers give their ranks.
#include "host/mpi/mpi_launch.h"

#include <charconv>
#include <cstdlib>
#include <cstring>

namespace host::mpi {
namespace {

// A variable's value as a whole non-negative number; -1 when unset or not a number.
int ReadCount(const EnvLookup& env, const char* name) {
    const char* text = env(name);
    if (text == nullptr || *text == '\0')
        return -1;
    int value = 0;
    const char* end = text + std::strlen(text);
    auto [ptr, ec] = std::from_chars(text, end, value);
    if (ec != std::errc() || ptr != end || value < 0)
        return -1;
    return value;
}

} // namespace

bool MpiBuilt() {
    return CANAL_MPI_BUILD != 0;
}

int LaunchedRankCount(const EnvLookup& env) {
    // World sizes, most specific first: Open MPI, MVAPICH, then the PMI(-2) protocol that
    // MPICH's Hydra, Intel MPI and Slurm's srun set.
    for (const char* name : {"OMPI_COMM_WORLD_SIZE", "MV2_COMM_WORLD_SIZE", "PMI_SIZE"}) {
        const int size = ReadCount(env, name);
        if (size >= 0)
            return size;
    }
    // PMIx tells the rank but not the size; a rank above 0 proves there are at least two.
    for (const char* name : {"PMIX_RANK", "PMI_RANK", "OMPI_COMM_WORLD_RANK"}) {
        const int rank = ReadCount(env, name);
        if (rank > 0)
            return 2;
        if (rank == 0)
            return 1;
    }
    return 0;
}

bool LaunchedWithSeveralRanks(const EnvLookup& env) {
    return LaunchedRankCount(env) > 1;
}

bool LaunchedWithSeveralRanks() {
    return LaunchedWithSeveralRanks([](const char* name) { return std::getenv(name); });
}

std::string NoMpiMessage() {
    return "canal was started by an MPI launcher as one of several ranks, but this canal was "
           "built without MPI: every rank would run the whole analysis on its own and write the "
           "same results. Run it without mpirun (use --jobs to spread runs over this machine's "
           "cores), or build canal with Open MPI (libopenmpi-dev) and CANAL_MPI=ON.";
}

} // namespace host::mpi
