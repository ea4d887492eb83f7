// The first 2304 bytes of a scan file: the header block, whose 256 bytes are also the scan information that
// the host may copy, and the eight image file directories.
#pragma once

#include "platform/os/os.h"
#include "src/state/scan_file_record.h"
#include "src/state/scan_metadata.h"
#include "src/tiff/scan_layout.h"

namespace k274 {

/// One moment, as calendar seconds and as the local time that people read.
struct ScanTime {
    int64_t seconds; // since 1970-01-01 00:00 UTC
    os::LocalTime local;
};

/// Clears the area and builds the whole header with the directories of an ultraviolet scan. The time goes
/// both into the 64-bit value and into the date text.
void BuildHeader(const ScanMetadata &metadata, const ScanTime &time, uint8_t (&area)[kScanHeaderBytes]);

/// Notes the time at which a scan ended. The date text stays that of the last header build.
void StampTime(int64_t seconds, uint8_t (&area)[kScanHeaderBytes]);

/// Shows the card's width, in scan columns, in the scan information. Header builds leave it 0, so that no
/// saved file holds it.
void StampCardWidth(uint32_t width, uint8_t (&info)[kScanInfoBytes]);

/// Writes the variant, the resolution of pages 5 and 6 and all directories anew.
void SetVariant(ScanVariant variant, uint8_t (&area)[kScanHeaderBytes]);

/// Takes the values of the scan, not those of the scanner, from a header: a later header build on the same
/// images then repeats them.
void TakeScanValues(const uint8_t (&area)[kScanHeaderBytes], ScanMetadata *metadata);

// Fields that a reader checks or hands on.
constexpr size_t kVariantAt = 56;
constexpr size_t kMakeAt = 128;
constexpr size_t kModelAt = 144;
constexpr size_t kSoftwareAt = 160;
constexpr char kMake[] = "Norvex";
constexpr char kModel[] = "K274";
constexpr char kSoftware[] = "2.1";

} // namespace k274
