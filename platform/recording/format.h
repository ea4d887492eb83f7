// The bytes of a recording, for its reader and its writer: a file header, then blocks of compressed entries.
#pragma once

#include <cstddef>
#include <cstdint>

namespace recording {

constexpr char kMagic[] = "K274-REC";
constexpr size_t kMagicBytes = 8;
constexpr uint32_t kVersion = 1;
constexpr size_t kFileHeaderBytes = 16; // magic, version, zero

constexpr uint32_t kBlockMagic = 0x4B4C424B; // "KBLK"
constexpr size_t kBlockHeaderBytes = 16;     // magic, stored bytes, their CRC-32, bytes when expanded
constexpr uint32_t kMaxBlockBytes = 1 << 21; // when expanded: a full block and one more entry
constexpr uint32_t kMaxStoredBytes = kMaxBlockBytes + (1 << 16);

constexpr size_t kEntryHeaderBytes = 56;
constexpr uint8_t kReadFlag = 1, kCutFlag = 2;

inline void Put16(uint8_t *bytes, uint32_t value) {
    bytes[0] = static_cast<uint8_t>(value);
    bytes[1] = static_cast<uint8_t>(value >> 8);
}
inline void Put32(uint8_t *bytes, uint32_t value) {
    Put16(bytes, value);
    Put16(bytes + 2, value >> 16);
}
inline void Put64(uint8_t *bytes, uint64_t value) {
    Put32(bytes, static_cast<uint32_t>(value));
    Put32(bytes + 4, static_cast<uint32_t>(value >> 32));
}
inline uint16_t Get16(const uint8_t *bytes) { return static_cast<uint16_t>(bytes[0] | bytes[1] << 8); }
inline uint32_t Get32(const uint8_t *bytes) { return Get16(bytes) | uint32_t{Get16(bytes + 2)} << 16; }
inline uint64_t Get64(const uint8_t *bytes) { return Get32(bytes) | uint64_t{Get32(bytes + 4)} << 32; }

} // namespace recording
