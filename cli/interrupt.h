// Ctrl-C during a run: the first asks the running analysis to stop, the second ends the tool.
#pragma once

#include <atomic>
#include <csignal>

namespace cli {

/// While one lives, SIGINT sets a flag instead of ending the process, so that a long run can
/// stop after its current simulation and still write what it computed. The handler resets
/// itself when it fires: a second Ctrl-C ends the process as usual. The previous handler comes
/// back when the guard goes. One guard at a time (the flag is process-wide).
class InterruptGuard {
public:
    InterruptGuard();
    ~InterruptGuard();
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

    /// Set by the first SIGINT since the guard was made; borrowed by the engine's stop poll,
    /// valid while the guard lives.
    const std::atomic<bool>& Flag() const;
    bool Interrupted() const { return Flag().load(); }

private:
    struct sigaction previous_ {};
    bool installed_ = false;
};

} // namespace cli
