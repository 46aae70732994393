// The tool's status line and its front end: status texts forwarded to the line.
#include "cli/status_frontend.h"

#include "platform/helpers.h"

#include <algorithm>
#include <iostream>
#include <unistd.h>

namespace cli {

StatusLine::StatusLine(std::ostream& err, bool terminal)
    : err_(err), terminal_(terminal), start_(std::chrono::steady_clock::now()) {
}

StatusLine::~StatusLine() {
    Clear();
}

bool StatusLine::IsTerminal(const std::ostream& err) {
    return &err == &std::cerr && ::isatty(STDERR_FILENO) == 1;
}

void StatusLine::Update(const std::string& text) {
    if (!terminal_ && std::chrono::steady_clock::now() - start_ < std::chrono::milliseconds(500))
        return;
    std::string line = text.substr(0, 78);
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

int StatusFrontEnd::SetProperty(long id, const IITVariant& value, const IITVariant* /*index*/,
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
    default:
        return 0;
    }
}

} // namespace cli
