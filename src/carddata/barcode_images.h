// The grey images that the barcode decoders read, made from the working images of a scan.
#pragma once

#include "src/common/view.h"
#include "src/state/white_card_record.h"

namespace k274 {

/// The red channel of the corrected colour image, its borders black.
void BuildRedImage(ConstColourView corrected, GreyView red0);

/// The corrected infrared image at half size, on a dark ground as large as the red image.
void BuildIrBarcodeImage(ConstGreyView corrected, GreyView red1);

/// Where a white card carries its barcode, as it was read forward or backward; contrast stretched.
void BuildForwardRegion(ConstColourView raw, GreyView region);
void BuildBackwardRegion(ConstColourView raw, GreyView region);

} // namespace k274
