// Bytes through a table of 256, the one operation on images that vectors do not help with.
#pragma once

#include "wire/bytes.h"

#include <array>
#include <cstdint>

namespace k274 {

using ByteMap = std::array<uint8_t, 256>;

/// The rows may be the same one. Bytes are loaded by fours, which saves a quarter of the time.
inline void MapBytes(const ByteMap &map, const uint8_t *from, int count, uint8_t *to) {
    int i = 0;
    for (; i + 4 <= count; i += 4) {
        const uint32_t four = wire::Load32(from + i);
        to[i] = map[four & 255];
        to[i + 1] = map[four >> 8 & 255];
        to[i + 2] = map[four >> 16 & 255];
        to[i + 3] = map[four >> 24];
    }
    for (; i < count; i++)
        to[i] = map[from[i]];
}

} // namespace k274
