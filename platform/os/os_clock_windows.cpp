// The clock and the sleep of the library. Nothing else lives in this member of the archive, so that a test
// with its own pair of functions never pulls it in.
#include "platform/os/os.h"

#include <ctime>
#include <windows.h>

namespace os {

void SleepMs(uint32_t milliseconds) { Sleep(milliseconds); }

// The compiler's time_t has 32 bits here.
int64_t CalendarSeconds() { return _time64(nullptr); }

} // namespace os
