// The corrected colour image: the raw one times the gains of every sensor row.
#pragma once

#include "src/common/geometry.h"
#include "src/common/view.h"

#include <cstdint>

namespace k274 {

/// Gains x 128 of every sensor row: blue, green, red.
using RgbGains = uint16_t[kSensorRows][3];

/// Writes min(255, (byte x gain) >> 7) of every raw byte. The two images may be the same one.
void RgbIllumGain(ConstColourView raw, const RgbGains &gains, ColourView corrected);

/// Copies a whole image onto another one of the same size.
void CopyImage(ConstColourView from, ColourView to);

/// Gain of a reversed white card, in place over the card's columns.
/// @param kind  'V' for a calibration card, anything else for a factory card
void RgbWccGain(char kind, const RgbGains &gains, ColourView corrected);

} // namespace k274
