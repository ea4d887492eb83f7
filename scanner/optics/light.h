// The lights of the scanner, numbered like the tables of the white response.
#pragma once

#include <cstdint>

namespace scanner {

enum class Light : int {
    kBlue = 0,
    kGreen = 1,
    kRed = 2,
    kInfrared = 3,
    kUvRed = 4, // the colours of what glows under ultraviolet light
    kUvGreen = 5,
    kUvBlue = 6
};

enum class Side { kFront, kBack };

} // namespace scanner
