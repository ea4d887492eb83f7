// The monitor thread: follows the link, watches the card slot and runs every scan.
#pragma once

namespace k274 {

/// Starts the thread of a new session. An earlier session's thread, if it has not ended yet, ends first.
void StartMonitor();

/// Ends the session's thread at its next check, also one that has not begun yet. Waits for nothing.
void StopMonitor();

} // namespace k274
