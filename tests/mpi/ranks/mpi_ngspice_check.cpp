// Runs under mpirun: every rank loads the same circuit into its own libngspice and the MPI
// distributor spreads transient runs over the ranks; every rank must take the bytes that one
// process makes running the same jobs in order. Exit status 0 when all checks pass.
#include "engine/run_distributor.h"
#include "host/mpi/mpi_distributor.h"
#include "host/ngspice/session.h"

#include <mpi.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

const std::vector<std::string> kCircuit = {
    "rc stage with a diode clamp",
    "v1 in 0 pulse(0 5 0 10u 10u 200u 500u)",
    "r1 in out 1k",
    "c1 out 0 100n",
    "d1 out 0 dmod",
    ".model dmod d is=1e-14",
    ".end",
};

int g_failures = 0;
int g_rank = 0;

void Check(bool ok, const std::string& what) {
    if (!ok) {
        std::fprintf(stderr, "rank %d: FAILED: %s\n", g_rank, what.c_str());
        ++g_failures;
    }
}

// One run: every parameter it changes is set by the run itself, so it does not matter which
// runs this rank's libngspice made before. Returns the time and v(out) as raw doubles.
std::string Transient(size_t index) {
    host::NgSpiceSession& spice = host::NgSpiceSession::Get();
    const double r1 = 500.0 + 97.0 * static_cast<double>(index);
    for (const std::string& command :
         {"alter @r1[resistance] = " + std::to_string(r1), std::string("tran 5u 1m")}) {
        const host::CommandResult result = spice.Command(command);
        if (!result.ok)
            throw std::runtime_error(command + ": " + result.error);
    }
    host::VectorData time, out;
    if (!spice.ReadVector("time", time) || !spice.ReadVector("v(out)", out))
        throw std::runtime_error("no v(out) after run " + std::to_string(index));
    (void)spice.Command("destroy all");
    std::string bytes(reinterpret_cast<const char*>(time.re.data()), time.re.size() * 8);
    bytes.append(reinterpret_cast<const char*>(out.re.data()), out.re.size() * 8);
    return bytes;
}

std::vector<CRunOutcome> MapAll(CRunDistributor& distributor, size_t count) {
    std::vector<CRunOutcome> taken;
    distributor.Map(count, Transient, [&](size_t i, const CRunOutcome& outcome) {
        Check(i == taken.size(), "outcomes in order");
        taken.push_back(outcome);
        return true;
    });
    return taken;
}

} // namespace

int main(int argc, char** argv) {
    host::mpi::CMpiSession session(&argc, &argv);
    g_rank = session.Rank();
    host::NgSpiceSession& spice = host::NgSpiceSession::Get();
    const host::CommandResult loaded = spice.LoadCircuit(kCircuit);
    Check(loaded.ok, "circuit loads: " + loaded.error);

    constexpr size_t kCount = 24;
    auto distributor = host::mpi::MakeMpiDistributor(session);
    const std::vector<CRunOutcome> spread = MapAll(*distributor, kCount);
    // The same jobs in this process, in order, after the spread ones: the reference bytes.
    CInProcessDistributor here;
    const std::vector<CRunOutcome> reference = MapAll(here, kCount);

    Check(spread.size() == kCount && reference.size() == kCount, "every run taken");
    for (size_t i = 0; i < spread.size() && i < reference.size(); ++i)
        Check(reference[i].ok && reference[i].bytes.size() > 100 * 16 && spread[i].ok &&
                  spread[i].bytes == reference[i].bytes,
              "run " + std::to_string(i) + " simulated with the bytes of the in-process run: " +
                  reference[i].error + spread[i].error);
    // Different resistances must give different curves, or the check above proves nothing.
    Check(spread.size() == kCount && spread[0].bytes != spread[kCount - 1].bytes,
          "runs differ from each other");

    int failures = g_failures, total = 0;
    MPI_Allreduce(&failures, &total, 1, MPI_INT, MPI_SUM, MPI_COMM_WORLD);
    if (total == 0 && session.IsRoot())
        std::printf("transient runs over %d rank(s) match the in-process runs\n", session.Size());
    return total == 0 ? 0 : 1;
}
