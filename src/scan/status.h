// The status poll: sends the host's posted requests, asks the scanner for its status, fills the status
// record and fetches a waiting event. Everything the library learns between transfers comes through here.
#pragma once

#include <cstdint>

namespace k274 {

constexpr int32_t kPollFailed = -1; // has every bit, so that a wait ends at once

/// One poll under the device lock; states of an event that it brought are delivered after it. Stores and
/// returns the status word: 0 to 65535; kPollFailed without a scanner or a reply; 0 when the send failed
/// otherwise.
int32_t PollStatus();

/// Copies the last card measurement into the status record.
void PublishMeasure();

} // namespace k274
