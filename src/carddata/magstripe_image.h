// The infrared image of the magnetic stripe: its contrast and the bleed image made from it.
#pragma once

#include "include/k274.h"
#include "src/common/view.h"

namespace k274 {

/// Brightness of the stripe's side of the image against the other, 0 when the other is black.
/// @param stripe  K274_MSIR_HEIGHT lines of K274_MSIR_WIDTH pixels
float StripeContrast(ConstGreyView stripe);

/// Turns the stripe so that its edge becomes the first row, and maps it through a tone table.
/// @param toneOption  1 or 2 selects a table, other values none
/// @param bleed       K274_MSBL_HEIGHT rows of K274_MSBL_WIDTH pixels; what the stripe does not reach is 0
void BuildBleedImage(ConstGreyView stripe, int32_t toneOption, GreyView bleed);

} // namespace k274
