// Rank 0 hands out run indices on demand and gathers outcomes; then it broadcasts them so that
// every rank takes the same bytes in the same order and stays in step for the next map.
#include "host/mpi/mpi_distributor.h"

#include <mpi.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <exception>
#include <list>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace host::mpi {

struct CMpiSession::State {
    MPI_Comm comm = MPI_COMM_NULL; // our own copy of the world, so no other traffic can match ours
    bool initialisedHere = false;
};

namespace {

constexpr int kTagJob = 1;    // root to rank: one run index
constexpr int kTagEnd = 2;    // root to rank: no more runs in this map
constexpr int kTagResult = 3; // rank to root: one outcome

// How a rank answers one index.
enum class Reply : std::uint8_t { Failed = 0, Done = 1, Skipped = 2 };

// An MPI failure in the middle of a map leaves the ranks out of step; nothing can recover that,
// so the whole job ends with the reason on stderr.
[[noreturn]] void Abort(MPI_Comm comm, const std::string& why) {
    std::fprintf(stderr, "canal: MPI run distribution failed: %s\n", why.c_str());
    std::fflush(stderr);
    MPI_Abort(comm, 1);
    std::abort();
}

void Must(MPI_Comm comm, int rc, const char* what) {
    if (rc == MPI_SUCCESS)
        return;
    char text[MPI_MAX_ERROR_STRING];
    int length = 0;
    MPI_Error_string(rc, text, &length);
    Abort(comm, std::string(what) + ": " + std::string(text, static_cast<size_t>(length)));
}

void PutU64(std::string& out, std::uint64_t value) {
    char raw[sizeof value];
    std::memcpy(raw, &value, sizeof value);
    out.append(raw, sizeof value);
}

// Reads a number written by PutU64 at `pos` and moves past it.
std::uint64_t GetU64(const std::string& in, size_t& pos) {
    std::uint64_t value = 0;
    if (in.size() - pos < sizeof value)
        throw std::runtime_error("truncated outcome message");
    std::memcpy(&value, in.data() + pos, sizeof value);
    pos += sizeof value;
    return value;
}

CRunOutcome RunHere(const CRunDistributor::Job& job, size_t index) {
    CRunOutcome outcome;
    try {
        outcome.bytes = job(index);
        outcome.ok = true;
    } catch (const std::exception& e) {
        outcome.error = e.what();
    } catch (...) {
        // Escaping here would end this rank and with it the whole MPI job.
        outcome.error = "the run ended with an exception of unknown type";
    }
    return outcome;
}

// Broadcasts `data` from rank 0; MPI counts are ints, so large blocks go in pieces.
void BroadcastBytes(MPI_Comm comm, std::string& data) {
    std::uint64_t size = data.size();
    Must(comm, MPI_Bcast(&size, 1, MPI_UINT64_T, 0, comm), "broadcasting the outcome size");
    data.resize(size);
    constexpr size_t kPiece = size_t{1} << 30;
    for (size_t offset = 0; offset < size; offset += kPiece) {
        const int piece = static_cast<int>(std::min(kPiece, static_cast<size_t>(size) - offset));
        Must(comm, MPI_Bcast(data.data() + offset, piece, MPI_BYTE, 0, comm),
             "broadcasting the outcomes");
    }
}

class CMpiDistributor final : public CRunDistributor {
public:
    CMpiDistributor(MPI_Comm comm, int rank, int size, CMpiDistributorOptions options)
        : m_comm(comm), m_rank(rank), m_size(size), m_options(std::move(options)) {
        m_options.aheadPerRank = std::max(1, m_options.aheadPerRank);
    }

    bool Map(size_t count, const Job& job, const Take& take) override {
        if (m_size == 1)
            return MapHere(count, job, take);
        // Every rank must be at the same map; a rank that is not (a tool that is not
        // deterministic) would otherwise deadlock or take the wrong outcomes.
        std::uint64_t shared = count;
        Must(m_comm, MPI_Bcast(&shared, 1, MPI_UINT64_T, 0, m_comm), "agreeing on the run count");
        if (shared != count)
            Abort(m_comm, "rank " + std::to_string(m_rank) + " maps " + std::to_string(count) +
                              " runs where rank 0 maps " + std::to_string(shared) +
                              "; every rank must run the same analysis on the same circuit");
        if (count == 0)
            return true;
        return m_rank == 0 ? MapRoot(count, job, take) : MapWorker(job, take);
    }

    int Width() const override {
        return m_size == 1 || m_options.rootRunsJobs ? m_size : m_size - 1;
    }

private:
    bool StopRequested() const { return m_options.stopRequested && m_options.stopRequested(); }

    bool MapHere(size_t count, const Job& job, const Take& take) const {
        for (size_t i = 0; i < count; ++i) {
            if (StopRequested())
                return false;
            if (!take(i, RunHere(job, i)))
                return true;
        }
        return true;
    }

    void SendIndex(int rank, std::uint64_t index) const {
        Must(m_comm, MPI_Send(&index, 1, MPI_UINT64_T, rank, kTagJob, m_comm), "handing out a run");
    }

    // Receives one outcome message that has arrived (or, when `wait`, the next to arrive).
    // Returns false when nothing had arrived.
    bool ReceiveReply(bool wait, int& from, std::string& message) const {
        MPI_Status status;
        if (wait) {
            Must(m_comm, MPI_Probe(MPI_ANY_SOURCE, kTagResult, m_comm, &status), "waiting");
        } else {
            int arrived = 0;
            Must(m_comm, MPI_Iprobe(MPI_ANY_SOURCE, kTagResult, m_comm, &arrived, &status),
                 "polling");
            if (!arrived)
                return false;
        }
        int length = 0;
        Must(m_comm, MPI_Get_count(&status, MPI_BYTE, &length), "sizing an outcome");
        message.resize(static_cast<size_t>(length));
        from = status.MPI_SOURCE;
        Must(
            m_comm,
            MPI_Recv(message.data(), length, MPI_BYTE, from, kTagResult, m_comm, MPI_STATUS_IGNORE),
            "receiving an outcome");
        return true;
    }

    bool MapRoot(size_t count, const Job& job, const Take& take) const {
        std::vector<CRunOutcome> outcomes(count);
        std::vector<bool> have(count, false);
        std::vector<std::deque<std::uint64_t>> inFlight(static_cast<size_t>(m_size));
        size_t pending = 0; // indices handed out and not answered
        size_t next = 0;    // the lowest index not handed out yet
        size_t taken = 0;   // outcomes passed to take
        bool ended = false; // take returned false or threw
        std::exception_ptr thrown;
        bool stopped = false;

        auto handOut = [&](int rank) {
            if (next >= count)
                return;
            SendIndex(rank, next);
            inFlight[static_cast<size_t>(rank)].push_back(next);
            ++next;
            ++pending;
        };
        // What take throws leaves this map only after the other ranks have their outcomes: they
        // take the same ones, throw the same way, and every rank stays in step.
        auto takeInOrder = [&] {
            while (!ended && taken < count && have[taken]) {
                try {
                    ended = !take(taken, outcomes[taken]);
                } catch (...) {
                    thrown = std::current_exception();
                    ended = true;
                }
                ++taken;
            }
        };
        // A rank answers its indices in the order it was given them.
        auto store = [&](int from, const std::string& message) {
            auto& queue = inFlight[static_cast<size_t>(from)];
            if (message.size() <= sizeof(std::uint64_t))
                Abort(m_comm, "rank " + std::to_string(from) + " sent a truncated outcome");
            size_t pos = 0;
            const std::uint64_t index = GetU64(message, pos);
            if (queue.empty() || queue.front() != index)
                Abort(m_comm, "rank " + std::to_string(from) + " answered run " +
                                  std::to_string(index) + " out of turn");
            queue.pop_front();
            --pending;
            const auto reply = static_cast<Reply>(message[pos++]);
            if (reply == Reply::Skipped)
                return;
            CRunOutcome& outcome = outcomes[index];
            outcome.ok = reply == Reply::Done;
            (outcome.ok ? outcome.bytes : outcome.error) = message.substr(pos);
            have[index] = true;
        };

        for (int ahead = 0; ahead < m_options.aheadPerRank; ++ahead)
            for (int rank = 1; rank < m_size; ++rank)
                handOut(rank);

        std::string message;
        int from = 0;
        while (!ended && taken < count) {
            if (StopRequested()) {
                stopped = true;
                break;
            }
            if (ReceiveReply(false, from, message)) {
                store(from, message);
                handOut(from);
                takeInOrder();
                continue;
            }
            if (m_options.rootRunsJobs && next < count) {
                const size_t index = next++;
                outcomes[index] = RunHere(job, index);
                have[index] = true;
                takeInOrder();
                continue;
            }
            if (!m_options.stopRequested) {
                ReceiveReply(true, from, message);
                store(from, message);
                handOut(from);
                takeInOrder();
                continue;
            }
            // Waiting on other ranks while still seeing a stop request in good time.
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }

        // Ranks still holding indices skip them once they see the end, so the drain is quick.
        for (int rank = 1; rank < m_size; ++rank)
            Must(m_comm, MPI_Send(nullptr, 0, MPI_BYTE, rank, kTagEnd, m_comm), "ending the map");
        while (pending > 0) {
            ReceiveReply(true, from, message);
            store(from, message);
        }

        std::string all;
        all.push_back(stopped ? 1 : 0);
        PutU64(all, taken);
        for (size_t i = 0; i < taken; ++i) {
            const CRunOutcome& outcome = outcomes[i];
            all.push_back(outcome.ok ? 1 : 0);
            const std::string& text = outcome.ok ? outcome.bytes : outcome.error;
            PutU64(all, text.size());
            all += text;
        }
        BroadcastBytes(m_comm, all);
        if (thrown)
            std::rethrow_exception(thrown);
        return !stopped;
    }

    bool MapWorker(const Job& job, const Take& take) const {
        // Sends stay in flight while the next run computes; their buffers live until done.
        std::list<std::pair<MPI_Request, std::string>> sends;
        auto settle = [&](bool all) {
            for (auto it = sends.begin(); it != sends.end();) {
                int done = 0;
                if (all)
                    Must(m_comm, MPI_Wait(&it->first, MPI_STATUS_IGNORE), "sending an outcome");
                else
                    Must(m_comm, MPI_Test(&it->first, &done, MPI_STATUS_IGNORE),
                         "sending an outcome");
                it = all || done ? sends.erase(it) : std::next(it);
            }
        };

        for (;;) {
            MPI_Status status;
            Must(m_comm, MPI_Probe(0, MPI_ANY_TAG, m_comm, &status), "waiting for a run");
            if (status.MPI_TAG == kTagEnd) {
                Must(m_comm, MPI_Recv(nullptr, 0, MPI_BYTE, 0, kTagEnd, m_comm, MPI_STATUS_IGNORE),
                     "ending the map");
                break;
            }
            std::uint64_t index = 0;
            Must(m_comm, MPI_Recv(&index, 1, MPI_UINT64_T, 0, kTagJob, m_comm, MPI_STATUS_IGNORE),
                 "receiving a run");
            // An end already waiting behind handed-out runs means rank 0 stopped early.
            int endWaiting = 0;
            Must(m_comm, MPI_Iprobe(0, kTagEnd, m_comm, &endWaiting, MPI_STATUS_IGNORE), "polling");
            std::string reply;
            PutU64(reply, index);
            if (endWaiting) {
                reply.push_back(static_cast<char>(Reply::Skipped));
            } else {
                CRunOutcome outcome = RunHere(job, index);
                reply.push_back(static_cast<char>(outcome.ok ? Reply::Done : Reply::Failed));
                reply += outcome.ok ? outcome.bytes : outcome.error;
            }
            if (reply.size() > static_cast<size_t>(INT_MAX))
                Abort(m_comm, "run " + std::to_string(index) + " made more than 2 GiB");
            settle(false);
            auto& send = sends.emplace_back(MPI_REQUEST_NULL, std::move(reply));
            Must(m_comm,
                 MPI_Isend(send.second.data(), static_cast<int>(send.second.size()), MPI_BYTE, 0,
                           kTagResult, m_comm, &send.first),
                 "sending an outcome");
        }
        settle(true);

        std::string all;
        BroadcastBytes(m_comm, all);
        size_t pos = 0;
        if (all.empty())
            Abort(m_comm, "empty outcome broadcast");
        const bool stopped = all[pos++] != 0;
        const std::uint64_t taken = GetU64(all, pos);
        for (std::uint64_t i = 0; i < taken; ++i) {
            if (pos >= all.size())
                Abort(m_comm, "truncated outcome broadcast");
            CRunOutcome outcome;
            outcome.ok = all[pos++] != 0;
            const std::uint64_t length = GetU64(all, pos);
            if (all.size() - pos < length)
                Abort(m_comm, "truncated outcome broadcast");
            (outcome.ok ? outcome.bytes : outcome.error) = all.substr(pos, length);
            pos += length;
            if (!take(i, outcome))
                break;
        }
        return !stopped;
    }

    MPI_Comm m_comm;
    int m_rank;
    int m_size;
    CMpiDistributorOptions m_options;
};

} // namespace

CMpiSession::CMpiSession(int* argc, char*** argv) : m_state(std::make_unique<State>()) {
    int initialised = 0;
    MPI_Initialized(&initialised);
    if (!initialised) {
        // Only the main thread talks to MPI; ngspice's own threads never do.
        int provided = 0;
        if (MPI_Init_thread(argc, argv, MPI_THREAD_FUNNELED, &provided) != MPI_SUCCESS)
            throw std::runtime_error("MPI could not be initialised");
        m_state->initialisedHere = true;
    }
    if (MPI_Comm_dup(MPI_COMM_WORLD, &m_state->comm) != MPI_SUCCESS)
        throw std::runtime_error("MPI: could not make the run communicator");
    MPI_Comm_rank(m_state->comm, &m_rank);
    MPI_Comm_size(m_state->comm, &m_size);
}

CMpiSession::~CMpiSession() {
    int finalised = 0;
    MPI_Finalized(&finalised);
    if (finalised)
        return;
    if (m_state->comm != MPI_COMM_NULL)
        MPI_Comm_free(&m_state->comm);
    if (m_state->initialisedHere)
        MPI_Finalize();
}

std::unique_ptr<CRunDistributor> MakeMpiDistributor(const CMpiSession& session,
                                                    CMpiDistributorOptions options) {
    return std::make_unique<CMpiDistributor>(session.GetState().comm, session.Rank(),
                                             session.Size(), std::move(options));
}

} // namespace host::mpi
