// Independent runs spread over MPI ranks: every rank runs the same tool on the same circuit with
// the same seed (SPMD), rank 0 hands out runs and every rank takes the same outcomes in order.
#pragma once

#include "engine/run_distributor.h"
#include "host/mpi/mpi_launch.h"

#include <functional>
#include <memory>

namespace host::mpi {

/// The MPI library's lifetime in this process: initialises MPI unless something already did and
/// finalises it in the destructor if it initialised it. One per process, made before any
/// distributor and outliving all of them. Not copyable. Make one only when
/// LaunchedWithSeveralRanks(): Open MPI's start without a launcher takes about a third of a
/// second, as long as a few hundred small transient runs.
class CMpiSession {
public:
    /// Initialises MPI; argc and argv may be null. Throws std::runtime_error when MPI fails.
    CMpiSession(int* argc, char*** argv);
    ~CMpiSession();
    CMpiSession(const CMpiSession&) = delete;
    CMpiSession& operator=(const CMpiSession&) = delete;

    /// This process's rank among all started, 0 for the one that decides and writes.
    int Rank() const { return m_rank; }
    /// How many ranks were started (1 when run without a launcher).
    int Size() const { return m_size; }
    /// True on rank 0, the only rank that should print and write files.
    bool IsRoot() const { return m_rank == 0; }

    struct State;
    /// The communicator of this session; for the distributor.
    const State& GetState() const { return *m_state; }

private:
    std::unique_ptr<State> m_state;
    int m_rank = 0;
    int m_size = 1;
};

struct CMpiDistributorOptions {
    /// Rank 0 also runs jobs while the other ranks are busy with runs it handed out before. It
    /// never changes results (jobs are independent); off, rank 0 only hands out and collects.
    bool rootRunsJobs = true;
    /// Runs handed to each other rank ahead of its current one, so that it never waits for rank
    /// 0 to finish a run of its own before it gets the next.
    int aheadPerRank = 2;
    /// Polled on rank 0 only, between runs; true ends the map on every rank (Map returns false).
    /// Must be cheap; may be null.
    std::function<bool()> stopRequested;
};

/// A distributor over every rank of `session`, which is borrowed and must outlive it. Every rank
/// must call Map with the same count, in the same order, as a deterministic tool does; each rank's
/// take then receives the same outcomes, byte for byte, in index order. With one rank it runs
/// every job in process. A rank that dies ends the whole MPI job (MPI's rule, not ours).
std::unique_ptr<CRunDistributor> MakeMpiDistributor(const CMpiSession& session,
                                                    CMpiDistributorOptions options = {});

} // namespace host::mpi
