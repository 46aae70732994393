// A forked child with a pipe back to the parent, and the byte stream they share.
#include "host/ngspice/forked.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace host {

void ByteWriter::Raw(const void* p, std::size_t n) {
    if (n > 0)
        buffer_.append(static_cast<const char*>(p), n);
}

void ByteWriter::Text(std::string_view s) {
    U32(static_cast<uint32_t>(s.size()));
    buffer_.append(s.data(), s.size());
}

void ByteWriter::Doubles(const std::vector<double>& v) {
    U32(static_cast<uint32_t>(v.size()));
    Raw(v.data(), v.size() * sizeof(double));
}

bool ByteWriter::Flush() {
    if (fd_ < 0)
        return true;
    std::size_t done = 0;
    while (done < buffer_.size()) {
        const ssize_t n = ::write(fd_, buffer_.data() + done, buffer_.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        done += static_cast<std::size_t>(n);
    }
    buffer_.clear();
    return true;
}

bool ByteReader::Take(void* out, std::size_t n) {
    if (n == 0)
        return ok_;
    if (!ok_ || data_.size() - pos_ < n) {
        ok_ = false;
        std::memset(out, 0, n);
        return false;
    }
    std::memcpy(out, data_.data() + pos_, n);
    pos_ += n;
    return true;
}

uint32_t ByteReader::U32() {
    uint32_t v = 0;
    Take(&v, sizeof v);
    return v;
}

double ByteReader::F64() {
    double v = 0;
    Take(&v, sizeof v);
    return v;
}

std::string ByteReader::Text() {
    const uint32_t n = U32();
    if (!ok_ || data_.size() - pos_ < n) {
        ok_ = false;
        return {};
    }
    std::string s(data_.substr(pos_, n));
    pos_ += n;
    return s;
}

std::vector<double> ByteReader::Doubles() {
    const uint32_t n = U32();
    if (!ok_ || (data_.size() - pos_) / sizeof(double) < n) {
        ok_ = false;
        return {};
    }
    std::vector<double> v(n);
    Take(v.data(), n * sizeof(double));
    return v;
}

std::string ForkOutcome::Ending() const {
    return signal ? "signal " + std::to_string(signal)
                  : "exit status " + std::to_string(exitStatus);
}

ForkOutcome RunForked(const std::function<void(ByteWriter&)>& work,
                      const std::function<bool()>& stop) {
    ForkOutcome outcome;
    int fds[2];
    if (::pipe(fds) != 0) {
        outcome.error = std::strerror(errno);
        return outcome;
    }
    const pid_t pid = ::fork();
    if (pid < 0) {
        outcome.error = std::strerror(errno);
        ::close(fds[0]);
        ::close(fds[1]);
        return outcome;
    }
    if (pid == 0) {
        // The child: a parent that gave up must not leave it blocked on a full pipe.
        ::close(fds[0]);
        ::signal(SIGPIPE, SIG_DFL);
        // A crash is reported by its signal; what the C library prints about it is noise.
        if (const int null = ::open("/dev/null", O_WRONLY); null >= 0)
            ::dup2(null, STDERR_FILENO);
        int status = 0;
        try {
            ByteWriter writer(fds[1]);
            work(writer);
            if (!writer.Flush())
                status = 3;
        } catch (...) {
            status = 2;
        }
        ::_exit(status);
    }

    outcome.started = true;
    ::close(fds[1]);
    char buffer[1 << 15];
    for (;;) {
        pollfd p{fds[0], POLLIN, 0};
        const int ready = ::poll(&p, 1, 200);
        if (ready < 0 && errno != EINTR)
            break;
        if (ready <= 0) {
            if (stop && stop()) {
                outcome.stopped = true;
                ::kill(pid, SIGKILL);
                break;
            }
            continue;
        }
        const ssize_t n = ::read(fds[0], buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        outcome.data.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fds[0]);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status)) {
        outcome.exitedNormally = true;
        outcome.exitStatus = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        outcome.signal = WTERMSIG(status);
    }
    return outcome;
}

} // namespace host
