// The clock of tests that link the library's objects: a sleep takes no time but moves the clock on, unless
// the test holds sleeps of its length.
#pragma once

#include <cstdint>
#include <functional>

namespace test_clock {

void Reset();
/// Does something on the thread whose sleep brings the clock so many milliseconds on.
void After(int64_t milliseconds, std::function<void()> action);

/// From now on sleeps of this length last until Release.
void Hold(uint32_t milliseconds);
void Release();

} // namespace test_clock
