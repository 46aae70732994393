// A run's conversation with the simulator, recorded where the run was made and played back
// where the runs are merged, so that the merge sees exactly what the run saw.
#pragma once

#include "canal/export.h"
#include "platform/events.h"
#include "platform/spice.h"

#include <functional>
#include <string>
#include <string_view>

/// What one run received from the simulator: per command the plot events (4004-4006) its
/// analysis was sent and the command's answer, with the simulator's failure messages between.
/// Stop polls are not kept: the deciding process stops runs itself. The bytes are native
/// doubles, so a played-back run computes bit for bit what the recorded one did.
class CANAL_EXPORT CRunTape {
public:
    /// An empty tape, ready to record.
    CRunTape() = default;
    /// A tape to play back from bytes made by ToBytes (copied). A truncated tape plays what it
    /// holds; every command after that fails.
    static CRunTape FromBytes(std::string_view bytes);
    /// A tape of a run that produced nothing: its first command fails with `message`, and so
    /// does every later one.
    static CRunTape Failed(const std::string& message);
    const std::string& ToBytes() const { return bytes_; }

    /// Recording. Events other than 4004-4006, or without their payload, are not kept.
    void RecordEvent(const EventData& data);
    void RecordAnswer(int answer);
    void RecordMessage(const CString& message);

    /// Plays the next command: its events go to `sink` (may be null: dropped), its messages to
    /// `note` (may be empty), and its answer is returned; 0 once the tape is used up.
    int PlayCommand(CEventSink* sink, const std::function<void(const CString&)>& note);
    /// Whether everything recorded has been played.
    bool AtEnd() const { return pos_ >= bytes_.size(); }

private:
    void Put(const void* p, size_t n) { bytes_.append(static_cast<const char*>(p), n); }
    void PutText(const CString& text);
    bool Get(void* p, size_t n);
    bool GetText(CString& text);

    std::string bytes_;
    size_t pos_ = 0;
    // What the events being played point at; valid until the next command plays.
    CSpicePlotInfo plot_;
    CSpiceDataRow row_;
    CEventSource source_{"run tape"};
};
