// The fixed, process-wide buffers of the line transfer. Written by the monitor thread alone.
#pragma once

#include "src/capture/rgb_lines.h"
#include "src/common/geometry.h"
#include "src/common/view.h"

namespace k274 {

/// Raw colour image: one row per sensor position, one column per scan line.
extern uint8_t RGBr[kSensorRows * kRgbColumns * 3];
/// Corrected colour image: a copy of RGBr made after the pass, then corrected.
extern uint8_t RGBc[kSensorRows * kRgbColumns * 3];

inline ColourView RawColour() { return {RGBr, kSensorRows, kRgbColumns}; }
inline ColourView CorrectedColour() { return {RGBc, kSensorRows, kRgbColumns}; }

/// Contrast of the red-channel barcode image; built when the session starts.
extern ContrastTable contrastTable;

} // namespace k274
