// The SIGINT guard: a flag set from the signal handler, nothing else done there.
#include "cli/interrupt.h"

namespace cli {

namespace {

// Lock-free, so that the handler may set it.
std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void OnInterrupt(int) {
    g_interrupted.store(true);
}

} // namespace

InterruptGuard::InterruptGuard() {
    g_interrupted.store(false);
    struct sigaction action {};
    action.sa_handler = &OnInterrupt;
    sigemptyset(&action.sa_mask);
    // The handler fires once; the default action is back for the second Ctrl-C.
    action.sa_flags = SA_RESETHAND | SA_RESTART;
    installed_ = sigaction(SIGINT, &action, &previous_) == 0;
}

InterruptGuard::~InterruptGuard() {
    if (installed_)
        sigaction(SIGINT, &previous_, nullptr);
}

const std::atomic<bool>& InterruptGuard::Flag() const {
    return g_interrupted;
}

} // namespace cli
