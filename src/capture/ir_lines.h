// The infrared pass: device lines into the raw image, the gain that makes the corrected one, and the images
// cut from it where the visible-light pass found the card. The transfer loop calls these in this order.
#pragma once

#include "src/capture/rgb_lines.h"
#include "src/common/geometry.h"
#include "src/common/view.h"

#include <cstdint>

namespace k274 {

constexpr int kIrBlockBytes = kIrLinesPerPacket * kLinePixels;

/// Places one block of device lines into the raw image. The front fills columns from the right as the line
/// numbers rise, the back, which is mirrored, from the left. Lines outside 6 to 2394 and bytes that would
/// fall outside the image are skipped; no other byte of the image changes.
/// @param block      kIrBlockBytes readable bytes
/// @param firstLine  number of the block's first line; any value
void IrLineStore(const uint8_t *block, int firstLine, GreyView raw);

/// Writes min(255, (byte x gain) >> 7) of every raw byte, with the gain of its row. The two images may be
/// the same one.
void IrIllumGain(ConstGreyView raw, const uint16_t (&gains)[kSensorRows], GreyView corrected);

/// Columns of the card's leading edges.
struct IrPosition {
    int32_t frontLeadCol; ///< 40 to 260
    int32_t backLeadCol;  ///< 40 to 360
};
IrPosition FindIrEdges(ConstGreyView raw);

/// Replaces every second column, of those that are darker on the whole, by the mean of its neighbours.
void IrDestripe(GreyView image);

/// Finds the leading edges, then cuts the front and back images out of the corrected image, stretches them
/// and, when asked to, destripes them.
/// @param card  edge rows of the visible-light pass; any value
IrPosition IrCrop(ConstGreyView raw, ConstGreyView corrected, const CardPosition &card, bool enhance,
                  GreyView irFr, GreyView irBk);

} // namespace k274
