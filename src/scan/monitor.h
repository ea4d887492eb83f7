// The monitor thread: follows the link, watches the card slot and runs every scan.
#pragma once

#include <cstdint>

namespace k274 {

/// Starts the thread of a new session. An earlier session's thread, if it has not ended yet, ends first.
void StartMonitor();

/// Ends the session's thread at its next check, also one that has not begun yet. Waits for nothing.
void StopMonitor();

/// One step of the link state after a poll.
/// @param sendGood  whether the last send went out
void LinkStep(bool sendGood);

/// Sets the link state by the outcome of the first poll.
void LinkStart(bool answered);

} // namespace k274
