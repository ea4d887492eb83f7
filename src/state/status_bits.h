// Bits of the scanner's status word.
#pragma once

#include <cstdint>

namespace k274 {

constexpr uint32_t kStatusFirst = 0x0002; // the first stage is ready
constexpr uint32_t STE_SCAN_RGB = 0x0004; // visible-light lines are ready
constexpr uint32_t STE_SCAN_IR = 0x0010;  // infrared lines are ready
constexpr uint32_t STE_SCAN_LST = 0x0040; // the last pass's lines are ready
constexpr uint32_t kStatusJam = 0x1000;
constexpr uint32_t kStatusCleaning = 0x2000;
constexpr uint32_t kStatusEnd = 0x8000; // ends every wait

} // namespace k274
