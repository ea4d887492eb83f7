// The images that a host sees of the ultraviolet pass: turned, cut and stretched.
#pragma once

#include "src/common/view.h"

#include <cstdint>

namespace k274 {

/// Cuts and stretches one side.
/// @param frontEdgeRow  as the visible-light pass found it
void UvCropFront(ConstColourView corrected, int32_t frontEdgeRow, ColourView uvFr);
void UvCropBack(ConstColourView corrected, ColourView uvBk);

/// Share of the back image that shows any light at all, percent.
float UvLedCheck(ConstColourView uvBk);
constexpr float kUvLedMinPercent = 5.0F; ///< the lamp is suspect below

} // namespace k274
