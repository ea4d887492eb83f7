// The clock of tests that link the library's objects: a sleep takes no time but moves the clock on.
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

} // namespace test_clock
