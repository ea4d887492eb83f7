// The lights of the scanner, numbered like the tables of the white response.
#pragma once

#include <cstdint>

namespace scanner {

enum class Light : int { kBlue = 0, kGreen = 1, kRed = 2, kInfrared = 3, kUltraviolet = 6 };

enum class Side { kFront, kBack };

} // namespace scanner
