// The scanner's own events.
#pragma once

namespace k274 {

/// One event exchange and its handling; part of a poll.
/// @return whether there was an event
bool ReadEvent();

} // namespace k274
