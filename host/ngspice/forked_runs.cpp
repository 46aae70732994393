// Forked workers for independent runs: job numbers out, framed results and stderr lines back.
#include "host/ngspice/forked_runs.h"

#include "host/ngspice/session.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

// Frames a worker sends: a kind byte, the payload's length, the payload.
enum Frame : char { LineFrame = 'L', ResultFrame = 'R' };

// The lines of ngspice's stderr kept for a failed job's message.
constexpr size_t kKeptLines = 8;

// What the parent asks of a worker: a job and how many times it failed before.
struct Request {
    uint64_t index;
    uint32_t attempt;
};

bool WriteAll(int fd, const void* data, size_t size) {
    const char* p = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t n = ::send(fd, p, size, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        p += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool ReadAll(int fd, void* data, size_t size) {
    char* p = static_cast<char*>(data);
    while (size > 0) {
        const ssize_t n = ::read(fd, p, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        p += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool SendFrame(int fd, Frame kind, std::string_view payload) {
    std::string frame(1, kind);
    const auto size = static_cast<uint32_t>(payload.size());
    frame.append(reinterpret_cast<const char*>(&size), sizeof size);
    frame.append(payload);
    return WriteAll(fd, frame.data(), frame.size());
}

// The job that tests make the worker kill itself on: "INDEX" on its first attempt only,
// "INDEX:always" on every attempt. A worker that dies is what these workers are built to
// survive; nothing else makes one die on purpose.
bool KillForTest(uint64_t index, uint32_t attempt) {
    const char* hook = std::getenv("CANAL_TEST_WORKER_KILL");
    if (!hook || !*hook)
        return false;
    char* end = nullptr;
    const unsigned long long target = std::strtoull(hook, &end, 10);
    if (end == hook || target != index)
        return false;
    return attempt == 0 || std::string_view(end) == ":always";
}

// The worker: jobs until the parent closes its end. Never returns.
[[noreturn]] void WorkerLoop(int fd, const CRunDistributor::Job& job, NgSpiceSession* session) {
    ::signal(SIGINT, SIG_IGN);
    ::signal(SIGPIPE, SIG_DFL);
    // What the C library or a sanitizer prints about a crash is noise; ngspice's lines travel
    // in frames.
    if (const int null = ::open("/dev/null", O_WRONLY); null >= 0)
        ::dup2(null, STDERR_FILENO);
    if (session)
        session->SetErrorLineTap([fd](std::string_view line) { SendFrame(fd, LineFrame, line); });
    Request request{};
    while (ReadAll(fd, &request, sizeof request)) {
        if (KillForTest(request.index, request.attempt))
            ::raise(SIGKILL);
        std::string payload(reinterpret_cast<const char*>(&request.index), sizeof request.index);
        try {
            const std::string bytes = job(static_cast<size_t>(request.index));
            payload += '\1';
            payload += bytes;
        } catch (const std::exception& e) {
            payload += '\0';
            payload += e.what();
        } catch (...) {
            payload += '\0';
        }
        if (!SendFrame(fd, ResultFrame, payload))
            ::_exit(1);
    }
    ::_exit(0);
}

struct Worker {
    pid_t pid = -1;
    int fd = -1;
    bool busy = false;
    size_t job = 0;
    Clock::time_point started;
    std::string input;              ///< bytes received, not yet a whole frame
    std::deque<std::string> errors; ///< ngspice's last stderr lines during the current job
};

// How a worker that is gone ended, from its status.
std::string Ending(int status) {
    if (WIFSIGNALED(status)) {
        const int sig = WTERMSIG(status);
        const char* name = ::strsignal(sig);
        return "signal " + std::to_string(sig) + (name ? std::string(" (") + name + ")" : "");
    }
    if (WIFEXITED(status))
        return "exit status " + std::to_string(WEXITSTATUS(status));
    return "an unknown end";
}

} // namespace

ForkedRunDistributor::ForkedRunDistributor(int workers, NgSpiceSession* session,
                                           std::function<bool()> stop)
    : workers_(std::max(workers, 1)), session_(session), stop_(std::move(stop)) {
}

bool ForkedRunDistributor::Map(size_t count, const Job& job, const Take& take) {
    if (count == 0)
        return true;
    std::deque<Worker> workers; // references stay valid as workers are added
    std::deque<size_t> pending;
    std::deque<size_t> retries; // jobs whose worker was lost, each for a fresh worker
    for (size_t i = 0; i < count; ++i)
        pending.push_back(i);
    std::vector<uint32_t> attempts(count, 0);
    std::map<size_t, CRunOutcome> arrived; // outcomes ahead of the next one to take
    size_t next = 0;

    const auto spawn = [&]() -> Worker* {
        int fds[2];
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0)
            return nullptr;
        const pid_t pid = ::fork();
        if (pid < 0) {
            ::close(fds[0]);
            ::close(fds[1]);
            return nullptr;
        }
        if (pid == 0) {
            ::close(fds[0]);
            // The other workers' ends stay with the parent: a worker told to end must see it.
            for (const Worker& w : workers)
                if (w.fd >= 0)
                    ::close(w.fd);
            WorkerLoop(fds[1], job, session_);
        }
        ::close(fds[1]);
        Worker w;
        w.pid = pid;
        w.fd = fds[0];
        workers.push_back(std::move(w));
        return &workers.back();
    };
    const auto assign = [&](Worker& w, size_t index) {
        const Request request{index, attempts[index]};
        w.busy = true;
        w.job = index;
        w.started = Clock::now();
        w.errors.clear();
        // A worker that cannot be reached is found dead at the next poll.
        (void)WriteAll(w.fd, &request, sizeof request);
    };
    const auto reap = [](Worker& w, bool kill) {
        if (w.fd >= 0)
            ::close(w.fd);
        w.fd = -1;
        if (kill)
            ::kill(w.pid, SIGKILL);
        int status = 0;
        while (::waitpid(w.pid, &status, 0) < 0 && errno == EINTR) {
        }
        return status;
    };
    const auto shutdown = [&] {
        for (Worker& w : workers)
            if (w.fd >= 0)
                (void)reap(w, true);
    };
    // No worker outlives the map, whatever ends it (a take that throws, say).
    struct Reaper {
        const decltype(shutdown)& end;
        ~Reaper() { end(); }
    } const reaper{shutdown};
    // A worker gone with its job: the job is made again in a fresh worker, once.
    const auto lost = [&](Worker& w, const std::string& how) {
        if (!w.busy)
            return;
        w.busy = false;
        const size_t index = w.job;
        if (++attempts[index] < 2) {
            retries.push_back(index);
            return;
        }
        CRunOutcome outcome;
        outcome.error = "The worker making run " + std::to_string(index + 1) + " ended by " + how;
        for (const std::string& line : w.errors)
            outcome.error += "\n" + line;
        arrived[index] = std::move(outcome);
    };
    const auto frames = [&](Worker& w) {
        for (;;) {
            constexpr size_t head = 1 + sizeof(uint32_t);
            if (w.input.size() < head)
                return;
            uint32_t size = 0;
            std::memcpy(&size, w.input.data() + 1, sizeof size);
            if (w.input.size() < head + size)
                return;
            const char kind = w.input[0];
            std::string_view payload(w.input.data() + head, size);
            if (kind == LineFrame) {
                w.errors.emplace_back(payload);
                if (w.errors.size() > kKeptLines)
                    w.errors.pop_front();
            } else if (kind == ResultFrame && payload.size() > sizeof(uint64_t)) {
                uint64_t index = 0;
                std::memcpy(&index, payload.data(), sizeof index);
                CRunOutcome outcome;
                outcome.ok = payload[sizeof index] == '\1';
                (outcome.ok ? outcome.bytes : outcome.error) = payload.substr(sizeof index + 1);
                if (index < count && w.busy && w.job == index)
                    arrived[index] = std::move(outcome);
                w.busy = false;
            }
            w.input.erase(0, head + size);
        }
    };

    const size_t width = std::min(static_cast<size_t>(workers_), count);
    for (size_t i = 0; i < width; ++i)
        if (!spawn())
            break;
    if (workers.empty()) {
        // No process could be made: the jobs are made here, which is slower but the same.
        return CInProcessDistributor().Map(count, job, take);
    }

    std::vector<pollfd> polls;
    std::vector<size_t> polled;
    char buffer[1 << 16];
    for (;;) {
        while (!retries.empty()) {
            const size_t index = retries.front();
            retries.pop_front();
            if (Worker* fresh = spawn())
                assign(*fresh, index);
            else
                pending.push_front(index);
        }
        for (Worker& w : workers)
            if (w.fd >= 0 && !w.busy && !pending.empty()) {
                const size_t index = pending.front();
                pending.pop_front();
                assign(w, index);
            }
        while (true) {
            const auto it = arrived.find(next);
            if (it == arrived.end())
                break;
            const CRunOutcome outcome = std::move(it->second);
            arrived.erase(it);
            if (!take(next++, outcome))
                return true;
        }
        if (next == count)
            break;
        if (stop_ && stop_())
            return false;
        // Workers lost without a replacement (fork failed) leave jobs waiting: make more.
        const bool anyAlive =
            std::any_of(workers.begin(), workers.end(), [](const Worker& w) { return w.fd >= 0; });
        if (!anyAlive && !spawn()) {
            for (const size_t index : pending) {
                CRunOutcome outcome;
                outcome.error =
                    std::string("No worker process could be made: ") + std::strerror(errno);
                arrived[index] = std::move(outcome);
            }
            pending.clear();
            continue;
        }

        polls.clear();
        polled.clear();
        for (size_t i = 0; i < workers.size(); ++i)
            if (workers[i].fd >= 0) {
                polls.push_back(pollfd{workers[i].fd, POLLIN, 0});
                polled.push_back(i);
            }
        const int ready = ::poll(polls.data(), polls.size(), 100);
        if (ready < 0 && errno != EINTR) {
            // The workers cannot be heard any more: every job not yet back has failed.
            const std::string why =
                std::string("Waiting for the workers failed: ") + std::strerror(errno);
            for (Worker& w : workers)
                if (w.fd >= 0)
                    (void)reap(w, true);
            for (size_t index = next; index < count; ++index)
                if (!arrived.count(index))
                    arrived[index] = CRunOutcome{false, {}, why};
            pending.clear();
            retries.clear();
            continue;
        }
        for (size_t p = 0; p < polls.size() && ready > 0; ++p) {
            if (!(polls[p].revents & (POLLIN | POLLHUP | POLLERR)))
                continue;
            Worker& w = workers[polled[p]];
            const ssize_t n = ::read(w.fd, buffer, sizeof buffer);
            if (n < 0 && errno == EINTR)
                continue;
            if (n > 0) {
                w.input.append(buffer, static_cast<size_t>(n));
                frames(w);
                continue;
            }
            const int status = reap(w, false);
            lost(w, Ending(status));
        }
        const auto now = Clock::now();
        for (Worker& w : workers)
            if (w.fd >= 0 && w.busy &&
                std::chrono::duration<double>(now - w.started).count() > timeout_) {
                (void)reap(w, true);
                char limit[32];
                std::snprintf(limit, sizeof limit, "%g", timeout_);
                lost(w, std::string("a timeout after ") + limit + " s (CANAL_RUN_TIMEOUT)");
            }
    }
    return true;
}

} // namespace host
