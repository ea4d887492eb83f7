// A whole scan in memory with bytes that differ everywhere, for the tests of the scan file.
#pragma once

#include "src/tiff/scan_reader.h"

#include <cstring>
#include <memory>
#include <vector>

namespace k274::test {

using Bytes = std::vector<uint8_t>;

struct Scan {
    ImageSet images;
    MagneticRecord magnetic;
    BarcodeRecord barcode;
    uint8_t responses[3][kResponseBytes];

    ScanContents Contents() {
        return {&images, &magnetic, &barcode, responses[0], responses[1], responses[2]};
    }
};

inline std::unique_ptr<Scan> MakeScan(uint32_t seed) {
    auto scan = std::make_unique<Scan>();
    static_assert(sizeof *scan % sizeof seed == 0);
    auto *bytes = reinterpret_cast<uint8_t *>(scan.get());
    for (size_t i = 0; i < sizeof *scan; i += sizeof seed) {
        seed ^= seed << 13;
        seed ^= seed >> 17;
        seed ^= seed << 5;
        std::memcpy(bytes + i, &seed, sizeof seed);
    }
    return scan;
}

struct ScanFile {
    ScanFileBuffer bytes;
};

/// A buffer as an earlier, unrelated file would leave it.
inline std::unique_ptr<ScanFile> MakeUsedBuffer() {
    auto file = std::make_unique<ScanFile>();
    std::memset(file->bytes, 0xEE, sizeof file->bytes);
    return file;
}

constexpr ScanMetadata kMetadata = {0x11,         {0x21, 0x22, 0x23},
                                    {0x31, 0x32}, 0x4847464544434241,
                                    0x54535251,   0x64636261,
                                    0x74737271,   0x0182,
                                    0.75f,        0.5f,
                                    1.25f};
constexpr ScanTime kTime = {0x1817161514131211, {2024, 3, 7, 4, 9, 5, 2, 87}};

} // namespace k274::test
