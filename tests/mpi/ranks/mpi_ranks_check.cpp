// Runs under mpirun: every rank maps jobs through the MPI distributor and checks that it takes
// the same outcomes, in order, as the jobs define. Exit status 0 when all checks pass.
#include "host/mpi/mpi_distributor.h"

#include <mpi.h>

#include <chrono>
#include <cstdio>
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

struct Taken {
    std::vector<size_t> indices;
    std::vector<CRunOutcome> outcomes;
};

// How many jobs this rank ran, summed over every rank.
long SumOverRanks(long mine) {
    long total = 0;
    MPI_Allreduce(&mine, &total, 1, MPI_LONG, MPI_SUM, MPI_COMM_WORLD);
    return total;
}

// Jobs that take a little time, so that every rank gets some, and throw at every seventh index.
void ChecksEveryRankTakesTheSameOutcomesInOrder(CRunDistributor& distributor, size_t count,
                                                const std::string& label) {
    long ran = 0;
    Taken taken;
    const bool finished = distributor.Map(
        count,
        [&](size_t i) {
            ++ran;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            if (i % 7 == 3)
                throw std::runtime_error("run " + std::to_string(i) + " failed");
            return BytesOf(i);
        },
        [&](size_t i, const CRunOutcome& outcome) {
            taken.indices.push_back(i);
            taken.outcomes.push_back(outcome);
            return true;
        });
    Check(finished, label + ": map finished");
    Check(taken.indices.size() == count, label + ": every outcome taken once");
    for (size_t k = 0; k < taken.indices.size(); ++k) {
        const CRunOutcome& outcome = taken.outcomes[k];
        Check(taken.indices[k] == k, label + ": outcome " + std::to_string(k) + " in order");
        if (k % 7 == 3) {
            Check(!outcome.ok && outcome.error == "run " + std::to_string(k) + " failed" &&
                      outcome.bytes.empty(),
                  label + ": run " + std::to_string(k) + " reports its exception");
        } else {
            Check(outcome.ok && outcome.bytes == BytesOf(k) && outcome.error.empty(),
                  label + ": bytes of run " + std::to_string(k));
        }
    }
    const long total = SumOverRanks(ran);
    Check(total == static_cast<long>(count),
          label + ": each job ran exactly once over all ranks, " + std::to_string(total) + " runs");
    int size = 1;
    MPI_Comm_size(MPI_COMM_WORLD, &size);
    if (size > 1 && count >= 10)
        Check(SumOverRanks(g_rank > 0 ? ran : 0) > 0, label + ": other ranks ran jobs");
}

// Rank 0's take alone ends the map at index 5; every rank must end there too.
void ChecksRootsTakeEndsTheMapOnEveryRank(CRunDistributor& distributor) {
    std::vector<size_t> indices;
    const bool finished = distributor.Map(
        40, [](size_t i) { return BytesOf(i); },
        [&](size_t i, const CRunOutcome& outcome) {
            indices.push_back(i);
            Check(outcome.ok && outcome.bytes == BytesOf(i),
                  "early end: bytes of " + std::to_string(i));
            return !(g_rank == 0 && i == 5);
        });
    Check(finished, "early end: a take that returns false is not a stop");
    Check(indices == std::vector<size_t>{0, 1, 2, 3, 4, 5},
          "early end: outcomes 0..5 taken, got " + std::to_string(indices.size()));
}

// A take that throws (on every rank alike, as deterministic code does) leaves Map on every rank
// with the exception after the same outcomes, and the next map still finds the ranks in step.
void ChecksAThrowingTakeLeavesEveryRankInStep(CRunDistributor& distributor) {
    std::vector<size_t> indices;
    std::string caught;
    try {
        distributor.Map(
            30, [](size_t i) { return BytesOf(i); },
            [&](size_t i, const CRunOutcome&) {
                indices.push_back(i);
                if (i == 8)
                    throw std::runtime_error("take failed at 8");
                return true;
            });
    } catch (const std::exception& e) {
        caught = e.what();
    }
    Check(caught == "take failed at 8", "throwing take: Map rethrows, got \"" + caught + "\"");
    Check(indices.size() == 9 && indices.back() == 8, "throwing take: outcomes 0..8 taken");
}

} // namespace

int main(int argc, char** argv) {
    host::mpi::CMpiSession session(&argc, &argv);
    g_rank = session.Rank();
    Check(session.IsRoot() == (session.Rank() == 0), "IsRoot is rank 0");

    auto distributor = host::mpi::MakeMpiDistributor(session);
    Check(distributor->Width() == session.Size(), "every rank runs jobs");
    ChecksEveryRankTakesTheSameOutcomesInOrder(*distributor, 60, "first map");
    // Later maps must find every rank in step: a different count, an empty one, a single job.
    ChecksEveryRankTakesTheSameOutcomesInOrder(*distributor, 23, "second map");
    ChecksEveryRankTakesTheSameOutcomesInOrder(*distributor, 0, "empty map");
    ChecksEveryRankTakesTheSameOutcomesInOrder(*distributor, 1, "one job");
    ChecksRootsTakeEndsTheMapOnEveryRank(*distributor);
    ChecksAThrowingTakeLeavesEveryRankInStep(*distributor);

    // A stop seen on rank 0 after its fourth outcome ends the map on every rank with false.
    size_t rootTaken = 0;
    host::mpi::CMpiDistributorOptions options;
    options.stopRequested = [&] { return rootTaken >= 4; };
    auto stoppable = host::mpi::MakeMpiDistributor(session, options);
    std::vector<size_t> indices;
    const bool finished = stoppable->Map(
        200,
        [](size_t i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            return BytesOf(i);
        },
        [&](size_t i, const CRunOutcome&) {
            indices.push_back(i);
            if (session.IsRoot())
                ++rootTaken;
            return true;
        });
    Check(!finished, "stop: map reports the stop");
    Check(indices.size() >= 4 && indices.size() < 200, "stop: ended early after the request");
    for (size_t k = 0; k < indices.size(); ++k)
        Check(indices[k] == k, "stop: taken in order");
    unsigned long count = indices.size();
    unsigned long rootCount = count;
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

    if (g_failures == 0 && session.IsRoot())
        std::printf("all checks passed on %d rank(s)\n", session.Size());
    int failures = g_failures;
    int total = 0;
    MPI_Allreduce(&failures, &total, 1, MPI_INT, MPI_SUM, MPI_COMM_WORLD);
    return total == 0 ? 0 : 1;
}
