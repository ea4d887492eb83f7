// The monitor thread: follows the link, watches the card slot and runs every scan.
#pragma once

#include <cstdint>

namespace k274 {

/// State of the monitor thread; nobody else touches it.
struct Monitor {
    int64_t startTime = 0;  // calendar seconds
    double uptime = 0;      // whole seconds since then, taken at the top of every pass
    bool cancelled = false; // an event of the scanner ended the card's scan
};
extern Monitor monitor;

inline double Uptime() { return monitor.uptime; }

/// Starts the thread of a new session. An earlier session's thread, if it has not ended yet, ends first.
void StartMonitor();

/// Ends the session's thread at its next check, also one that has not begun yet. Waits for nothing.
void StopMonitor();

// Values of the link state.
enum LinkState : int32_t {
    kLinkDisconnected = -1,
    kLinkUnknown = 0, // before the first poll
    kLinkOnline = 1,
    kLinkFirstError = 2,
    kLinkSecondError = 3
};

/// One step of the link state after a poll.
/// @param sendGood  whether the last send went out
void LinkStep(bool sendGood);

/// Sets the link state by the outcome of the first poll.
void LinkStart(bool answered);

} // namespace k274
