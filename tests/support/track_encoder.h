// Records tracks of a magnetic stripe as the scanner's head would read them, faults included.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace k274::test {

enum class LrcFault { None, WrongValue, EvenParity };

struct Recording {
    std::string text; // with both sentinels; empty for a blank track
    bool fiveBit = false;
    int zerosBefore = 24, zerosBehind = 24;
    int evenParityAt = -1; // character recorded with the wrong parity
    LrcFault lrc = LrcFault::None;
};

/// The track's bits in the order in which the start sentinel comes first, clocking zeros included.
std::vector<uint8_t> RecordedBits(const Recording &recording);

/// The scanner's block of 1024 bytes for one track: bits last first, inverted, and their count. A card swiped
/// backward passes the head with its last bit first.
/// @param spare  what the scanner leaves behind the bits
std::vector<uint8_t> TrackBlock(std::vector<uint8_t> bits, bool backward, uint8_t spare = 1);

} // namespace k274::test
