// Independent runs of a compound analysis handed out to whatever executes them: this process,
// forked workers or MPI ranks. The deciding process always merges in run order, so results do not
// depend on how many processes computed them.
#pragma once

#include "canal/export.h"

#include <cstddef>
#include <exception>
#include <functional>
#include <string>

/// What one run sent back: its bytes, or why it produced none.
struct CANAL_EXPORT CRunOutcome {
    bool ok = false;
    std::string bytes; ///< the run's result as its job encoded it (ok only)
    std::string error; ///< the simulator's message or how the worker ended (not ok)
};

/// Executes `count` independent jobs and hands their outcomes, in index order, to the deciding
/// process. A job must not depend on any job before it: it may run in another process that has
/// made other jobs (or none) before.
class CANAL_EXPORT CRunDistributor {
public:
    /// Runs job `index` wherever it executes and returns its result bytes; throwing marks the
    /// run failed with the exception's text.
    using Job = std::function<std::string(size_t index)>;
    /// Receives outcome `index` in the deciding process, indices 0, 1, 2, ... in order; returning
    /// false ends the map (no later outcome is taken).
    using Take = std::function<bool(size_t index, const CRunOutcome& outcome)>;

    virtual ~CRunDistributor() = default;

    /// Runs jobs 0..count-1 and takes their outcomes in order. Returns false when a stop
    /// request ended it early (outcomes taken so far stay taken), true otherwise.
    virtual bool Map(size_t count, const Job& job, const Take& take) = 0;
    /// How many jobs may run at once (1 for in-process).
    virtual int Width() const { return 1; }
};

/// Runs every job here, one after the other, taking each outcome as soon as it is made.
class CANAL_EXPORT CInProcessDistributor final : public CRunDistributor {
public:
    bool Map(size_t count, const Job& job, const Take& take) override {
        for (size_t i = 0; i < count; ++i) {
            CRunOutcome outcome;
            try {
                outcome.bytes = job(i);
                outcome.ok = true;
            } catch (const std::exception& e) {
                outcome.error = e.what();
            }
            if (!take(i, outcome))
                return true;
        }
        return true;
    }
};
