// Response profiles of the visible-light pass: mean brightness of the card at every sensor position.
#pragma once

#include "src/state/scan_measures.h"

namespace k274 {

/// Rows 0 to 2 (blue, green, red) of the raw response: smoothed means over the card.
void RgbResp(ConstColourView rgbr, ResponseTable &raw);

/// Rows 0 to 2 (red, green, blue) of the corrected response.
void RgbCorResp(ConstColourView rgbc, ResponseTable &corrected);

} // namespace k274
