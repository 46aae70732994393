// Work that may crash the simulator, run in a forked child that inherits the loaded circuit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// Builds the byte stream a child sends to its parent: numbers in native byte order (both ends
/// are the same program), texts and arrays prefixed by their length.
class ByteWriter {
public:
    /// Writes to `fd` (borrowed) whenever Flush is called; -1 keeps everything in memory.
    explicit ByteWriter(int fd = -1) : fd_(fd) {}

    void U32(uint32_t v) { Raw(&v, sizeof v); }
    void F64(double v) { Raw(&v, sizeof v); }
    void Text(std::string_view s);
    void Doubles(const std::vector<double>& v);
    /// Sends what was written since the last flush; false when the pipe is gone.
    bool Flush();
    const std::string& Buffer() const { return buffer_; }

private:
    void Raw(const void* p, std::size_t n);
    int fd_;
    std::string buffer_;
};

/// Reads what a ByteWriter wrote. Every read of a truncated stream fails from then on and
/// yields zeros, so a child that died mid-record costs that record only.
class ByteReader {
public:
    explicit ByteReader(std::string_view data) : data_(data) {}

    uint32_t U32();
    double F64();
    std::string Text();
    std::vector<double> Doubles();
    bool Ok() const { return ok_; }
    bool AtEnd() const { return pos_ >= data_.size(); }

private:
    bool Take(void* out, std::size_t n);
    std::string_view data_;
    std::size_t pos_ = 0;
    bool ok_ = true;
};

/// How a forked child ended and what it sent.
struct ForkOutcome {
    bool started = false; ///< false when no child could be made (`error` says why)
    bool exitedNormally = false;
    int exitStatus = 0;
    int signal = 0;       ///< the signal that ended the child, 0 when it exited
    bool stopped = false; ///< the parent asked for a stop and killed the child
    std::string data;     ///< everything the child wrote before it ended
    std::string error;
    bool Completed() const { return exitedNormally && exitStatus == 0; }
    /// The child ended before finishing its work: a signal, or (under a sanitizer, which turns
    /// a crash into an exit) a non-zero status.
    bool Crashed() const { return started && !stopped && !Completed(); }
    /// "signal 11" or "exit status 1": how the child ended.
    std::string Ending() const;
};

/// Runs `work` in a child process, a copy of this one taken now: ngspice's loaded circuit and
/// every setting come along, and whatever the child does to them (or whatever crashes it)
/// leaves this process untouched. The child writes its results with the writer it is given and
/// ends without running destructors or exit handlers. The parent waits, polling `stop` (may be
/// empty) a few times a second; a true answer kills the child.
///
/// Call it only when no other thread holds a lock the child might need (the simulator session's
/// lock in particular): only the calling thread exists in the child.
ForkOutcome RunForked(const std::function<void(ByteWriter&)>& work,
                      const std::function<bool()>& stop = {});

} // namespace host
