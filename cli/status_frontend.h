// The engine's status-bar texts on the tool's status line.
#pragma once

#include "cli/run.h"
#include "platform/frontend.h"

#include <cstdint>
#include <string>

namespace cli {

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
    /// 10019: shows the text (an empty text clears the line); 10118: keeps the state.
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
