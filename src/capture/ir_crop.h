// The images that a host sees of the infrared pass, cut where the visible-light pass found the card.
#pragma once

#include "src/capture/card_search.h"
#include "src/common/view.h"

#include <cstdint>

namespace k274 {

/// Columns of the card's leading edges.
struct IrPosition {
    int32_t frontLeadCol; ///< 40 to 260
    int32_t backLeadCol;  ///< 40 to 360
};
IrPosition FindIrEdges(ConstGreyView raw);

/// Finds the leading edges, then cuts the front and back images out of the corrected image, stretches them
/// and, when asked to, destripes them.
/// @param card  edge rows of the visible-light pass; any value
IrPosition IrCrop(ConstGreyView raw, ConstGreyView corrected, const CardPosition &card, bool enhance,
                  GreyView irFr, GreyView irBk);

} // namespace k274
