// What the monitor thread keeps from pass to pass, and the values of the link state.
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

// Values of the link state.
enum LinkState : int32_t {
    kLinkDisconnected = -1,
    kLinkUnknown = 0, // before the first poll
    kLinkOnline = 1,
    kLinkFirstError = 2,
    kLinkSecondError = 3
};

} // namespace k274
