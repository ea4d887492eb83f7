// The images that a host sees of the visible-light pass, cut where the card lies.
#pragma once

#include "src/capture/card_search.h"
#include "src/common/view.h"

namespace k274 {

/// Finds the card, then cuts the front and back images out of the corrected image and the strip across
/// the back edge out of the raw one. Row 0 of an image is the card's edge; row 45 of the strip is the row
/// just past it.
void RgbCrop(ColourView raw, ConstColourView corrected, CardPosition &position, ColourView natFr,
             ColourView natBk, ColourView edge);

} // namespace k274
