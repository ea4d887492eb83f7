// The header of the scan as the next saved file will carry it, the information text that the host reads, and
// the buffer in which a scan file is put together or taken apart.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>

namespace k274 {

constexpr size_t kScanInfoBytes = 256;
constexpr size_t kScanHeaderBytes = 2304;
constexpr size_t kMaxScanFileBytes = 36715520; // of a scan with 1200-dpi images

using ScanFileBuffer = uint8_t[kMaxScanFileBytes];

struct ScanFileRecord {
    // recordLock guards both.
    uint8_t header[kScanHeaderBytes];
    uint8_t information[kScanInfoBytes];

    std::mutex lock; // one save or open at a time; guards the buffer
    ScanFileBuffer buffer;
};
extern ScanFileRecord scanFile;

} // namespace k274
