// The tool's status line, and the engine's status-bar texts on it.
#pragma once

#include "platform/frontend.h"

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <string>

namespace cli {

/// A status line on the error stream. On a terminal it is rewritten in place with a carriage
/// return. Elsewhere (a log file, a pipe) the texts go as whole lines, at most one a second and
/// only once the work has taken longer than `quiet`, so quick runs in scripts stay silent and a
/// log of a long run shows its progress without control characters.
class StatusLine {
public:
    StatusLine(std::ostream& err, bool terminal,
               std::chrono::milliseconds quiet = std::chrono::milliseconds(500));
    ~StatusLine();
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    void Update(const std::string& text);
    /// Blanks the line so that the next message starts clean.
    void Clear();
    /// Runs of known count: `done` of `total` made. On a terminal the line then starts with a
    /// bar, the count, the rate and the time left (from the rate since the count began); a
    /// total of 0 ends the bar. Nothing is shown when the stream is not a terminal.
    void SetProgress(size_t done, size_t total);
    /// The bar as it would be shown after `seconds` since the count began ("" without one).
    std::string ProgressText(double seconds) const;

    /// True when `err` is the process's standard error and that is a terminal.
    static bool IsTerminal(const std::ostream& err);

private:
    std::ostream& err_;
    bool terminal_;
    std::chrono::milliseconds quiet_;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point lastLine_; ///< of a whole line, for its throttle
    size_t shown_ = 0;                               ///< length of the text on the line now
    std::string text_;                               ///< the last status text, shown after the bar
    size_t done_ = 0;
    size_t total_ = 0;
    std::chrono::steady_clock::time_point countStart_;
    std::chrono::steady_clock::time_point lastDrawn_; ///< of the bar, for its throttle
};

/// The front end the tool gives its engine: the status text (property 10019) goes to the
/// status line, the simulation state (10118) is kept, and the current text is what 10113
/// answers. The status line is borrowed and may be null (the texts are then only kept).
class StatusFrontEnd : public CGuiFE {
public:
    explicit StatusFrontEnd(StatusLine* line);

    /// The tick count (milliseconds) when this front end was made: the start of the run.
    uint32_t GetStartTickCount() const override { return start_; }
    /// 10113: the text shown now; 10118: the state. 0 for other ids.
    int GetProperty(long id, IITVariant& out, const IITVariant* index,
                    CTreeInstance* instance) override;
    /// 10019: shows the text (an empty text clears the line); 10118: keeps the state; 10120:
    /// the runs made (value) of all (index) go to the line's bar.
    int SetProperty(long id, const IITVariant& value, const IITVariant* index,
                    CTreeInstance* instance) override;

    const std::string& Text() const { return text_; }
    /// 1 while simulating, 2 when done, 0 before.
    long State() const { return state_; }

private:
    StatusLine* line_;
    uint32_t start_;
    std::string text_;
    long state_ = 0;
};

} // namespace cli
