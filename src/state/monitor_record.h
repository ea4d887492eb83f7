// What the monitor thread keeps from pass to pass, and the values of the link state.
#pragma once

#include <cstdint>
#include <mutex>

namespace k274 {

/// State of the monitor thread; nobody else touches it.
struct Monitor {
    int64_t startTime = 0;  // calendar seconds
    double uptime = 0;      // whole seconds since then, taken at the top of every pass
    bool cancelled = false; // an event of the scanner ended the card's scan
};
extern Monitor monitor;

/// Who may monitor; also of a session that has just begun or ended.
struct MonitorTurn {
    std::mutex sessionLock; // guards the number: every start and stop opens a new session
    uint32_t currentSession = 0;
    std::mutex slot; // held by the one thread that monitors
};
extern MonitorTurn monitorTurn;

inline double Uptime() { return monitor.uptime; }

// Values of the link state.
enum LinkState : int32_t { // 0 before the first poll
    kLinkDisconnected = -1,
    kLinkOnline = 1,
    kLinkFirstError = 2,
    kLinkSecondError = 3
};

} // namespace k274
