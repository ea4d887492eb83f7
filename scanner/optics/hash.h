// Randomness without state: a counter goes in, 32 well-mixed bits come out, the same on every system.
#pragma once

#include <cstdint>

namespace scanner {

constexpr uint32_t Hash(uint32_t x) {
    x ^= x >> 16;
    x *= 0x7FEB352Du;
    x ^= x >> 15;
    x *= 0x846CA68Bu;
    x ^= x >> 16;
    return x;
}

/// A stream of its own for every pair of numbers.
constexpr uint32_t Hash(uint32_t a, uint32_t b) { return Hash(Hash(a) + 0x9E3779B9u * (b + 1)); }

/// A number from low to high, both included.
constexpr int Pick(uint32_t random, int low, int high) {
    return low + static_cast<int>((uint64_t{random} * static_cast<uint64_t>(high - low + 1)) >> 32);
}

} // namespace scanner
