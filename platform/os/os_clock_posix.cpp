// The clock and the sleep of the library. Nothing else lives in this member of the archive, so that a test
// with its own pair of functions never pulls it in.
#include "platform/os/os.h"

#include <chrono>
#include <ctime>
#include <thread>

namespace os {

void SleepMs(uint32_t milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

int64_t CalendarSeconds() { return std::time(nullptr); }

} // namespace os
