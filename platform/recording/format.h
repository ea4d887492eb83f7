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

} // namespace recording
