// The clock by which k274 waits.
#pragma once

#include <chrono>

namespace host {

using Clock = std::chrono::steady_clock;

/// A moment `seconds` from now; the end of time for 0.
inline Clock::time_point Deadline(double seconds) {
    if (seconds <= 0)
        return Clock::time_point::max();
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

} // namespace host
