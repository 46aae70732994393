// Independent runs in forked worker processes, each a copy of this one with the circuit loaded.
#pragma once

#include "canal/ngspice_export.h"
#include "engine/run_distributor.h"

#include <functional>

namespace host {

class NgSpiceSession;

/// Makes the jobs of every Map in worker processes forked at the call: each inherits ngspice
/// with the loaded circuit and the analysis as it stands, pulls job numbers from the parent one
/// at a time (a quick job does not wait for a slow one) and sends each job's bytes back. The
/// parent takes the outcomes in job order, keeping those that arrive early.
///
/// A worker that dies (ngspice can abort the process) or takes longer than the run timeout
/// costs only its job: the job is made once more in a freshly forked worker, and if that fails
/// too it is reported failed with the last lines ngspice printed on stderr, which workers stream
/// to the parent as they are printed. Workers ignore SIGINT; the stop poll (a few times a
/// second) ends the map: workers are killed and what was taken stays taken.
///
/// Map forks from the calling thread; call it when no other thread holds a lock a worker might
/// need (the session's lock in particular). Not for use from several threads at once.
class CANAL_NGSPICE_EXPORT ForkedRunDistributor final : public CRunDistributor {
public:
    /// Seconds one job may take before its worker counts as hung: generous, since one run of a
    /// large circuit may take minutes. The tool reads another from CANAL_RUN_TIMEOUT.
    static constexpr double kDefaultRunTimeout = 600.0;

    /// `workers` is raised to at least 1. `session` (borrowed, may be null) is the session whose
    /// stderr lines the workers stream back. `stop` (may be empty) asks whether to stop.
    explicit ForkedRunDistributor(int workers, NgSpiceSession* session = nullptr,
                                  std::function<bool()> stop = {});

    bool Map(size_t count, const Job& job, const Take& take) override;
    int Width() const override { return workers_; }

    /// Seconds a job may take (above 0).
    void SetRunTimeout(double seconds) { timeout_ = seconds > 0.0 ? seconds : timeout_; }
    double GetRunTimeout() const { return timeout_; }

private:
    int workers_;
    NgSpiceSession* session_;
    std::function<bool()> stop_;
    double timeout_ = kDefaultRunTimeout;
};

} // namespace host
