// Little-endian numbers at any address, in packets and in files.
#pragma once

#include <cstdint>

namespace wire {

inline uint16_t Load16(const uint8_t *bytes) { return static_cast<uint16_t>(bytes[0] | bytes[1] << 8); }

inline uint32_t Load32(const uint8_t *bytes) {
    return static_cast<uint32_t>(Load16(bytes)) | static_cast<uint32_t>(Load16(bytes + 2)) << 16;
}

inline uint64_t Load64(const uint8_t *bytes) {
    return static_cast<uint64_t>(Load32(bytes)) | static_cast<uint64_t>(Load32(bytes + 4)) << 32;
}

inline void Store16(uint8_t *bytes, uint16_t value) {
    bytes[0] = static_cast<uint8_t>(value);
    bytes[1] = static_cast<uint8_t>(value >> 8);
}

inline void Store32(uint8_t *bytes, uint32_t value) {
    Store16(bytes, static_cast<uint16_t>(value));
    Store16(bytes + 2, static_cast<uint16_t>(value >> 16));
}

inline void Store64(uint8_t *bytes, uint64_t value) {
    Store32(bytes, static_cast<uint32_t>(value));
    Store32(bytes + 4, static_cast<uint32_t>(value >> 32));
}

} // namespace wire
