// Where everything lies in a scan file. All places are fixed, so that other programs may read the images
// and records without following the directories.
#pragma once

#include "include/k274.h"
#include "src/state/scan_file_record.h"

#include <cstddef>
#include <cstdint>

namespace k274 {

constexpr size_t kNatBytes = size_t{K274_NAT_WIDTH} * K274_NAT_HEIGHT * 3;
constexpr size_t kIrBytes = size_t{K274_IR_WIDTH} * K274_IR_HEIGHT;
constexpr size_t kUvBytes = size_t{K274_UV_WIDTH} * K274_UV_HEIGHT * 3;
constexpr size_t kSliBytes = size_t{K274_SLI_WIDTH} * K274_SLI_HEIGHT * 3;
constexpr size_t kBleedBytes = size_t{K274_MSBL_WIDTH} * K274_MSBL_HEIGHT;

// Offsets of the data blocks, in file order.
constexpr uint32_t kMagneticAt = 4096;
constexpr uint32_t kLinearCodeAt = 4864;
constexpr uint32_t kPdfCodeAt = 5120;
constexpr uint32_t kRawResponseAt = 8192;
constexpr uint32_t kCorrectedResponseAt = 27136;
constexpr uint32_t kWhiteResponseAt = 46080;
constexpr uint32_t kBleedAt = 131072;
constexpr uint32_t kNatFrAt = 387072;
constexpr uint32_t kNatBkAt = kNatFrAt + kNatBytes;
constexpr uint32_t kIrFrAt = kNatBkAt + kNatBytes;
constexpr uint32_t kIrBkAt = kIrFrAt + kIrBytes;
constexpr uint32_t kUvFrAt = kIrBkAt + kIrBytes;
constexpr uint32_t kUvBkAt = kUvFrAt + kUvBytes;
constexpr uint32_t kSliFrAt = kUvBkAt + kUvBytes;
constexpr uint32_t kSliBkAt = kSliFrAt + kSliBytes;

// The barcode record lies in two pieces: the linear code, and the PDF417 code up to the decoder's own fields,
// which the file does not keep.
constexpr size_t kLinearCodeBytes = 112;
constexpr size_t kPdfCodeBytes = 3056;

// Pages 5 and 6 of a scan.
enum class ScanVariant : uint16_t { Ultraviolet = 0, HighResolution = 1, NoImage = 2 };

/// The variant that a last-scan mode leaves behind.
constexpr ScanVariant VariantOfLastScan(int32_t mode) {
    return mode == 0   ? ScanVariant::Ultraviolet
           : mode == 1 ? ScanVariant::HighResolution
                       : ScanVariant::NoImage;
}

constexpr size_t kUltravioletFileBytes = kSliFrAt;
constexpr size_t kHighResolutionFileBytes = kSliBkAt + kSliBytes;
constexpr size_t kNoImageFileBytes = kUvFrAt;
static_assert(kMaxScanFileBytes == kHighResolutionFileBytes);

constexpr size_t ScanFileBytes(ScanVariant variant) {
    return variant == ScanVariant::Ultraviolet      ? kUltravioletFileBytes
           : variant == ScanVariant::HighResolution ? kHighResolutionFileBytes
                                                    : kNoImageFileBytes;
}

static_assert(kUltravioletFileBytes == 22915520 && kHighResolutionFileBytes == 36715520 &&
                  kNoImageFileBytes == 18964928,
              "length of the scan files");

} // namespace k274
