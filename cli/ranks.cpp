// The tool under mpirun: one MPI session for the process, rank 0 as the one that decides.
#include "cli/ranks.h"

#include "cli/commands.h"
#include "cli/distribution.h"
#include "cli/settings.h"
#include "host/mpi/mpi_launch.h"
#include "platform/resources.h"

#if CANAL_MPI_BUILD
#include "host/mpi/mpi_distributor.h"
#endif

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <stdlib.h>

namespace cli {

namespace {

#if CANAL_MPI_BUILD
// The command line with the output folder replaced by `dir`, in either spelling of the option.
std::vector<std::string> WithOutputFolder(const std::vector<std::string>& args,
                                          const std::string& dir) {
    std::vector<std::string> result;
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--out") {
            ++i;
            continue;
        }
        if (args[i].rfind("--out=", 0) == 0)
            continue;
        result.push_back(args[i]);
    }
    result.push_back("--out");
    result.push_back(dir);
    return result;
}

int RunAsRank(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    host::mpi::CMpiSession session(nullptr, nullptr);
    const bool run = !args.empty() && args[0] == "run";
    if (!run)
        return session.IsRoot() ? Main(args, out, err) : ExitOk;
    UseMpiSession(&session);
    struct Forget {
        ~Forget() { UseMpiSession(nullptr); }
    } forget;
    if (session.IsRoot())
        return Main(args, out, err);

    // The other ranks go through the same steps as rank 0 so that they map the same runs; what
    // they would write is the same, and must not race with rank 0's files.
    std::string pattern = (std::filesystem::temp_directory_path() / "canal-rank-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) {
        ReportError(err, CString::Formatted(GetResourceText(IDS_RUN_ERR_MPI_SCRATCH),
                                            session.Rank(), std::strerror(errno))
                             .view());
        return ExitFailure;
    }
    std::ostringstream quiet;
    const int status = Main(WithOutputFolder(args, pattern), quiet, quiet);
    std::error_code ec;
    std::filesystem::remove_all(pattern, ec);
    return status;
}
#endif

} // namespace

int MainOfRank(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    if (!host::mpi::LaunchedWithSeveralRanks())
        return Main(args, out, err);
#if CANAL_MPI_BUILD
    return RunAsRank(args, out, err);
#else
    ReportError(err, host::mpi::NoMpiMessage());
    return ExitUsage;
#endif
}

} // namespace cli
