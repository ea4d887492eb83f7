// The corrected infrared image: the raw one times the gain of every sensor row.
#pragma once

#include "src/common/geometry.h"
#include "src/common/view.h"

#include <cstdint>

namespace k274 {

/// Writes min(255, (byte x gain) >> 7) of every raw byte, with the gain of its row. The two images may be
/// the same one.
void IrIllumGain(ConstGreyView raw, const uint16_t (&gains)[kSensorRows], GreyView corrected);

} // namespace k274
