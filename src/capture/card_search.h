// Where the card lies on the raw colour image.
#pragma once

#include "src/common/view.h"

#include <cstdint>

namespace k274 {

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

} // namespace k274
