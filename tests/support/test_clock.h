// The clock of tests that link the library's objects: a sleep takes no time but moves the clock on, unless
// the test holds sleeps of its length.
#pragma once

#include <cstdint>
#include <vector>

namespace test_clock {

void Reset();
int64_t Milliseconds();
void Advance(int64_t milliseconds);

/// The sleeps of the calling thread since Reset.
std::vector<uint32_t> Sleeps();
uint32_t TotalSlept();

/// From now on sleeps of this length last until Release.
void Hold(uint32_t milliseconds);
void Release();

} // namespace test_clock
