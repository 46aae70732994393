// The tool's status line and its front end: status texts forwarded to the line.
#include "cli/status_frontend.h"

#include "platform/helpers.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <unistd.h>

namespace cli {

StatusLine::StatusLine(std::ostream& err, bool terminal, std::chrono::milliseconds quiet)
    : err_(err), terminal_(terminal), quiet_(quiet), start_(std::chrono::steady_clock::now()) {
}

StatusLine::~StatusLine() {
    Clear();
}

bool StatusLine::IsTerminal(const std::ostream& err) {
    return &err == &std::cerr && ::isatty(STDERR_FILENO) == 1;
}

void StatusLine::Update(const std::string& text) {
    text_ = text;
    if (!terminal_) {
        // A carriage return would glue the status to whatever the log holds next.
        const auto now = std::chrono::steady_clock::now();
        if (now - start_ < quiet_ ||
            (lastLine_ != decltype(lastLine_){} && now - lastLine_ < std::chrono::seconds(1)))
            return;
        lastLine_ = now;
        std::string line = text;
        std::replace(line.begin(), line.end(), '\n', ' ');
        err_ << line << '\n' << std::flush;
        return;
    }
    std::string line = text;
    if (total_ > 0) {
        const std::chrono::duration<double> since = std::chrono::steady_clock::now() - countStart_;
        line = ProgressText(since.count()) + "  " + text;
    }
    line = line.substr(0, 78);
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::string pad(shown_ > line.size() ? shown_ - line.size() : 0, ' ');
    err_ << '\r' << line << pad << std::flush;
    shown_ = line.size();
}

void StatusLine::Clear() {
    if (shown_ == 0)
        return;
    err_ << '\r' << std::string(shown_, ' ') << '\r' << std::flush;
    shown_ = 0;
}

void StatusLine::SetProgress(size_t done, size_t total) {
    const auto now = std::chrono::steady_clock::now();
    if (total > 0 && (total_ == 0 || done == 0))
        countStart_ = now;
    done_ = std::min(done, total);
    total_ = total;
    // Quick runs would redraw the line thousands of times a second: the first, the last and
    // one every 33 ms are enough to watch.
    if (!terminal_ || (total == 0 && shown_ == 0))
        return;
    if (done > 0 && done < total && now - lastDrawn_ < std::chrono::milliseconds(33))
        return;
    lastDrawn_ = now;
    Update(text_);
}

std::string StatusLine::ProgressText(double seconds) const {
    if (total_ == 0)
        return {};
    constexpr size_t kWidth = 20;
    const size_t filled = done_ * kWidth / total_;
    std::string text = "[" + std::string(filled, '#') + std::string(kWidth - filled, '.') + "] " +
                       std::to_string(done_) + "/" + std::to_string(total_);
    if (done_ == 0 || seconds <= 0.0)
        return text;
    const double rate = static_cast<double>(done_) / seconds;
    char tail[64];
    const auto left = static_cast<long>(static_cast<double>(total_ - done_) / rate + 0.5);
    std::snprintf(tail, sizeof tail, " %.1f/s %ld:%02ld left", rate, left / 60, left % 60);
    return text + tail;
}

StatusFrontEnd::StatusFrontEnd(StatusLine* line) : line_(line), start_(GetTickCount()) {
}

int StatusFrontEnd::GetProperty(long id, IITVariant& out, const IITVariant* /*index*/,
                                CTreeInstance* /*instance*/) {
    switch (id) {
    case GUIFE_CURRENT_STATUS:
        out = IITVariant(CString(text_));
        return 1;
    case GUIFE_SIMULATION_STATE:
        out = IITVariant(state_);
        return 1;
    default:
        return 0;
    }
}

int StatusFrontEnd::SetProperty(long id, const IITVariant& value, const IITVariant* index,
                                CTreeInstance* /*instance*/) {
    switch (id) {
    case GUIFE_STATUS_TEXT:
        text_ = value.GetString().str();
        if (line_) {
            if (text_.empty())
                line_->Clear();
            else
                line_->Update(text_);
        }
        return 1;
    case GUIFE_SIMULATION_STATE:
        state_ = value.GetLong();
        return 1;
    case GUIFE_RUN_PROGRESS:
        if (line_)
            line_->SetProgress(static_cast<size_t>(std::max(value.GetLong(), 0L)),
                               index ? static_cast<size_t>(std::max(index->GetLong(), 0L)) : 0);
        return 1;
    default:
        return 0;
    }
}

} // namespace cli
