// The infrared pass: device lines into the raw image.
#pragma once

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

} // namespace k274
