// The choice of distributor for --jobs, and the parsing of its value.
#include "cli/distribution.h"

#include "host/ngspice/forked_runs.h"

#if CANAL_MPI_BUILD
#include "host/mpi/mpi_distributor.h"
#endif

#include <charconv>
#include <cstdlib>
#include <string_view>
#include <thread>

namespace cli {

namespace {
const host::mpi::CMpiSession* mpiSession = nullptr;
}

void UseMpiSession(const host::mpi::CMpiSession* session) {
    mpiSession = session;
}

int DefaultJobs() {
    const unsigned cores = std::thread::hardware_concurrency();
    return cores > 0 ? static_cast<int>(cores) : 1;
}

std::optional<int> ParseJobs(const std::string& text) {
    int jobs = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, jobs);
    if (text.empty() || error != std::errc() || stop != end || jobs < 1 || jobs > 1024)
        return std::nullopt;
    return jobs;
}

std::unique_ptr<CRunDistributor> MakeRunDistributor(int jobs, host::NgSpiceSession* session,
                                                    std::function<bool()> stop) {
#if CANAL_MPI_BUILD
    if (mpiSession) {
        host::mpi::CMpiDistributorOptions options;
        options.stopRequested = std::move(stop);
        return host::mpi::MakeMpiDistributor(*mpiSession, std::move(options));
    }
#endif
    if (jobs <= 1)
        return nullptr;
    auto workers = std::make_unique<host::ForkedRunDistributor>(jobs, session, std::move(stop));
    if (const char* timeout = std::getenv("CANAL_RUN_TIMEOUT")) {
        const std::string_view text(timeout);
        double seconds = 0.0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
        (void)end;
        if (error == std::errc() && seconds > 0.0)
            workers->SetRunTimeout(seconds);
    }
    return workers;
}

} // namespace cli
