// Runs under mpirun: every rank maps jobs through the MPI distributor and checks that it takes
// the same outcomes, in order, as the jobs define. Exit status 0 when all checks pass.
#include "host/mpi/mpi_distributor.h"

#include <mpi.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

int g_failures = 0;
int g_rank = 0;

void Check(bool ok, const std::string& what) {
    if (!ok) {
        std::fprintf(stderr, "rank %d: FAILED: %s\n", g_rank, what.c_str());
        ++g_failures;
    }
}

// Bytes that only index `i` makes: varying length (some empty, one large), zero bytes inside.
std::string BytesOf(size_t i) {
    if (i % 11 == 4)
        return {};
    const size_t length = i == 17 ? 3 * 1024 * 1024 + 7 : 1 + (i * 37) % 5000;
    std::string bytes(length, '\0');
    for (size_t k = 0; k < length; ++k)
        bytes[k] = static_cast<char>((i * 131 + k * 7) % 256);
    return bytes;
}

long SumOverRanks(long mine) {
    long total = 0;
    MPI_Allreduce(&mine, &total, 1, MPI_LONG, MPI_SUM, MPI_COMM_WORLD);
    return total;
}

// Maps `count` jobs that sleep `sleepMs` and throw at every seventh index; the indices taken,
// in the order taken, each checked against what its job made. `keepGoing` answers each take.
std::vector<size_t> MapChecked(CRunDistributor& distributor, size_t count, int sleepMs,
                               const std::string& label, bool* finished = nullptr,
                               const std::function<bool(size_t)>& keepGoing = {}) {
    long ran = 0;
    std::vector<size_t> taken;
    const bool done = distributor.Map(
        count,
        [&](size_t i) {
            ++ran;
            std::this_thread::sleep_for(std::chrono::milliseconds(sleepMs));
            if (i % 7 == 3)
                throw std::runtime_error("run " + std::to_string(i) + " failed");
            return BytesOf(i);
        },
        [&](size_t i, const CRunOutcome& o) {
            Check(i == taken.size(), label + ": outcome " + std::to_string(i) + " in order");
            Check(i % 7 == 3 ? !o.ok && o.error == "run " + std::to_string(i) + " failed" &&
                                   o.bytes.empty()
                             : o.ok && o.bytes == BytesOf(i) && o.error.empty(),
                  label + ": outcome of run " + std::to_string(i));
            taken.push_back(i);
            return !keepGoing || keepGoing(i);
        });
    if (finished)
        *finished = done;
    // Each job ran exactly once over all ranks, and others than rank 0 ran some.
    if (done && !keepGoing) {
        Check(SumOverRanks(ran) == static_cast<long>(count), label + ": each job ran once");
        int size = 1;
        MPI_Comm_size(MPI_COMM_WORLD, &size);
        if (size > 1 && count >= 10)
            Check(SumOverRanks(g_rank > 0 ? ran : 0) > 0, label + ": other ranks ran jobs");
    }
    return taken;
}

// Every outcome taken once, in order.
void ChecksEveryRankTakesTheSameOutcomesInOrder(CRunDistributor& distributor, size_t count,
                                                const std::string& label) {
    bool finished = false;
    Check(MapChecked(distributor, count, 2, label, &finished).size() == count && finished,
          label + ": every outcome taken once");
}

} // namespace

int main(int argc, char** argv) {
    host::mpi::CMpiSession session(&argc, &argv);
    g_rank = session.Rank();
    Check(session.IsRoot() == (session.Rank() == 0), "IsRoot is rank 0");

    auto distributor = host::mpi::MakeMpiDistributor(session);
    Check(distributor->Width() == session.Size(), "every rank runs jobs");
    // Later maps must find every rank in step: a different count, an empty one, a single job.
    for (const size_t count : {60, 23, 0, 1})
        ChecksEveryRankTakesTheSameOutcomesInOrder(*distributor, count,
                                                   "map of " + std::to_string(count));

    // Rank 0's take alone ends the map at index 5; every rank must end there too, and a take
    // that returns false is not a stop.
    bool finished = false;
    const std::vector<size_t> early = MapChecked(*distributor, 40, 0, "early end", &finished,
                                                 [](size_t i) { return !(g_rank == 0 && i == 5); });
    Check(finished && early.size() == 6, "early end: outcomes 0..5 taken");

    // A take that throws (on every rank alike, as deterministic code does) leaves Map on every
    // rank with the exception after the same outcomes, and the next map finds the ranks in step.
    std::string caught;
    std::vector<size_t> thrown;
    try {
        MapChecked(*distributor, 30, 0, "throwing take", nullptr, [&](size_t i) {
            thrown.push_back(i);
            if (i == 8)
                throw std::runtime_error("take failed at 8");
            return true;
        });
    } catch (const std::exception& e) {
        caught = e.what();
    }
    Check(caught == "take failed at 8" && thrown.size() == 9, "throwing take: rethrown after 9");

    // A stop seen on rank 0 after its fourth outcome ends the map on every rank with false.
    size_t rootTaken = 0;
    host::mpi::CMpiDistributorOptions options;
    options.stopRequested = [&] { return rootTaken >= 4; };
    auto stoppable = host::mpi::MakeMpiDistributor(session, options);
    const std::vector<size_t> stopped =
        MapChecked(*stoppable, 200, 2, "stop", &finished, [&](size_t) {
            rootTaken += session.IsRoot();
            return true;
        });
    Check(!finished && stopped.size() >= 4 && stopped.size() < 200, "stop: ended early");
    unsigned long count = stopped.size(), rootCount = count;
    MPI_Bcast(&rootCount, 1, MPI_UNSIGNED_LONG, 0, MPI_COMM_WORLD);
    Check(count == rootCount, "stop: every rank took as many outcomes as rank 0");

    // Root-only distribution (rank 0 hands out, never runs) after the stop, still in step.
    host::mpi::CMpiDistributorOptions handOutOnly;
    handOutOnly.rootRunsJobs = false;
    handOutOnly.aheadPerRank = 1;
    auto dispatcher = host::mpi::MakeMpiDistributor(session, handOutOnly);
    if (session.Size() > 1) {
        Check(dispatcher->Width() == session.Size() - 1, "rank 0 only hands out");
        ChecksEveryRankTakesTheSameOutcomesInOrder(*dispatcher, 30, "hand-out only");
    }
    ChecksEveryRankTakesTheSameOutcomesInOrder(*distributor, 12, "after the others");

    int failures = g_failures, total = 0;
    MPI_Allreduce(&failures, &total, 1, MPI_INT, MPI_SUM, MPI_COMM_WORLD);
    if (total == 0 && session.IsRoot())
        std::printf("all checks passed on %d rank(s)\n", session.Size());
    return total == 0 ? 0 : 1;
}
