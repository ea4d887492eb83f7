// Dumps of the scan's working images, chosen by the number that the host gives.
#pragma once

#include "src/common/view.h"

namespace k274 {

/// The working images by their names. RED0 and RED1 are the barcode images.
struct WorkImages {
    ColourView RGBr, RGBc, UVr, UVc;
    GreyView IRr, IRc, RED0, RED1, MSIr;
};

/// Marks where the back sensor's half begins, in RGBr, RGBc, IRr, UVr and UVc; the marks stay.
void MarkBackHalf(const WorkImages &images);

/// Marks the images whatever the selector, then writes the one that it names: 1 MSIr, 11 RGBr, 12 RGBc,
/// 13 RED0, 14 RED1, 21 IRr, 22 IRc, 31 UVr, 32 UVc. Failures are not told.
void SaveWorkImage(const WorkImages &images, uint16_t selector);

/// The same with the images of the last scan. Takes the barcode lock.
void DumpWorkImage(uint16_t selector);

} // namespace k274
