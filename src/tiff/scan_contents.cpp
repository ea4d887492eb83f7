// The list of data blocks of a scan file.
#include "src/tiff/scan_contents.h"

namespace k274 {

ScanBlocks BlocksOf(const ScanContents &contents, ScanVariant variant) {
    ImageSet &images = *contents.images;
    auto *barcode = reinterpret_cast<uint8_t *>(contents.barcode);
    ScanBlocks list = {
        {
            {kMagneticAt, reinterpret_cast<uint8_t *>(contents.magnetic), sizeof *contents.magnetic, false},
            {kLinearCodeAt, barcode, kLinearCodeBytes, false},
            {kPdfCodeAt, barcode + kLinearCodeBytes, kPdfCodeBytes, false},
            {kRawResponseAt, contents.rawResponse, kResponseBytes, false},
            {kCorrectedResponseAt, contents.correctedResponse, kResponseBytes, false},
            {kWhiteResponseAt, contents.whiteResponse, kResponseBytes, false},
            {kBleedAt, images.MsBl, sizeof images.MsBl, false},
            {kNatFrAt, images.NatFr, sizeof images.NatFr, true},
            {kNatBkAt, images.NatBk, sizeof images.NatBk, true},
            {kIrFrAt, images.IrFr, sizeof images.IrFr, false},
            {kIrBkAt, images.IrBk, sizeof images.IrBk, false},
        },
        11};
    if (variant == ScanVariant::Ultraviolet) {
        list.blocks[list.count++] = {kUvFrAt, images.UvFr, sizeof images.UvFr, true};
        list.blocks[list.count++] = {kUvBkAt, images.UvBk, sizeof images.UvBk, true};
    } else if (variant == ScanVariant::HighResolution) {
        list.blocks[list.count++] = {kSliFrAt, images.SliFr, sizeof images.SliFr, true};
        list.blocks[list.count++] = {kSliBkAt, images.SliBk, sizeof images.SliBk, true};
    }
    return list;
}

} // namespace k274
