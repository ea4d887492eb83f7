// The visible-light pass: device lines into the raw colour image, the gains that make the corrected one,
// the search for the card and the images cut from it. The transfer loop calls these in this order.
#pragma once

#include "src/common/geometry.h"
#include "src/common/view.h"

#include <array>
#include <cstdint>

namespace k274 {

constexpr int kRgbBlockBytes = kRgbLinesPerPacket * kRgbLineBytes;

/// Places one block of device lines (red, green, blue pixels) into the raw image. The front fills columns
/// from the left as the line numbers fall, the back, which is mirrored, from the right. Lines outside 4 to
/// 2296 and bytes that would fall outside the image are skipped; no other byte of the image changes.
/// @param block      kRgbBlockBytes readable bytes, the first line's first pixel foremost
/// @param linesLeft  number of the block's first line; any value
void RgbLineStore(const uint8_t *block, int linesLeft, ColourView raw);

/// Gains x 128 of every sensor row: blue, green, red.
using RgbGains = uint16_t[kSensorRows][3];

/// Writes min(255, (byte x gain) >> 7) of every raw byte. The two images may be the same one.
void RgbIllumGain(ConstColourView raw, const RgbGains &gains, ColourView corrected);

/// Copies a whole image onto another one of the same size.
void CopyImage(ConstColourView from, ColourView to);

/// Gain of a reversed white card, in place over the card's columns.
/// @param kind  'V' for a calibration card, anything else for a factory card
void RgbWccGain(char kind, const RgbGains &gains, ColourView corrected);

/// Where the card lies. Kept for the infrared and ultraviolet images of the same scan.
struct CardPosition {
    int32_t frontLeadCol; ///< last column before the leading edge, 39 to 319
    int32_t frontEdgeRow; ///< row just past the card's edge, 1134 to 1234
    int32_t backLeadCol;
    int32_t backEdgeRow; ///< 2499 to 2599
    bool greyBandFound;
};

/// Finds the card and marks in the raw image what it went by.
CardPosition FindCard(ColourView raw);

/// Finds the card, then cuts the front and back images out of the corrected image and the strip across
/// the back edge out of the raw one. Row 0 of an image is the card's edge; row 45 of the strip is the row
/// just past it.
void RgbCrop(ColourView raw, ConstColourView corrected, CardPosition &position, ColourView natFr,
             ColourView natBk, ColourView edge);

using ContrastTable = std::array<uint8_t, 256>;
ContrastTable BuildContrastTable();

/// Smooths the red image along the sensor and stretches its contrast, for the barcode reader. The border
/// and the rows between the two sensor halves are copied as they are.
void RedContrast(const ContrastTable &table, ConstGreyView red0, GreyView red1);

} // namespace k274
