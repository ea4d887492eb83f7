// What a scan file holds beside its header, and the one list of where each piece lies: writing and loading
// both go through it.
#pragma once

#include "src/common/geometry.h"
#include "src/state/barcode_record.h"
#include "src/state/image_set.h"
#include "src/state/magstripe_record.h"
#include "src/tiff/scan_layout.h"

namespace k274 {

/// The library's own images, records and tables. Writing a file leaves them as they are.
struct ScanContents {
    ImageSet *images;
    MagneticRecord *magnetic;
    BarcodeRecord *barcode;
    uint8_t *rawResponse, *correctedResponse, *whiteResponse; // kResponseBytes each
};

/// One data block: blue, green, red in memory means red, green, blue in the file.
struct ScanBlock {
    uint32_t at;
    uint8_t *data;
    size_t size;
    bool colour;
};

/// The blocks of one variant, in file order.
struct ScanBlocks {
    ScanBlock blocks[13];
    size_t count;

    const ScanBlock *begin() const { return blocks; }
    const ScanBlock *end() const { return blocks + count; }
};

ScanBlocks BlocksOf(const ScanContents &contents, ScanVariant variant);

} // namespace k274
