// The visible-light pass: device lines into the raw colour image.
#pragma once

#include "src/common/geometry.h"
#include "src/common/view.h"

#include <cstdint>

namespace k274 {

constexpr int kRgbBlockBytes = kRgbLinesPerPacket * kRgbLineBytes;

/// Places one block of device lines (red, green, blue pixels) into the raw image. The front fills columns
/// from the left as the line numbers fall, the back, which is mirrored, from the right. Lines outside 4 to
/// 2296 and bytes that would fall outside the image are skipped; no other byte of the image changes.
/// @param block      kRgbBlockBytes readable bytes, the first line's first pixel foremost
/// @param linesLeft  number of the block's first line; any value
void RgbLineStore(const uint8_t *block, int linesLeft, ColourView raw);

} // namespace k274
