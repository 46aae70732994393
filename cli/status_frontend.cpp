// The tool's front end: status texts forwarded to the status line.
#include "cli/status_frontend.h"

#include "platform/helpers.h"

namespace cli {

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
