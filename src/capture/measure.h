// Measures of the raw visible-light image that the transfer and the status record need: brightness, card
// size, card length against the nominal one.
#pragma once

#include "src/common/view.h"

#include <cstdint>

namespace k274 {

/// Mean brightness of the two sides, truncated.
struct Levels {
    uint8_t front, back;
};
Levels RgbLevels(ConstColourView raw);
Levels IrLevels(ConstGreyView raw);
Levels UvLevels(ConstColourView raw);

/// Card size in scan columns and sensor rows.
struct CardMeasure {
    int32_t top;        ///< upper edge on the front
    int32_t backOffset; ///< upper edge on the back, from the back sensor's first row
    int32_t width, frontHeight, backHeight;
    float aspectDeviation; ///< 0 for a card of 3.375 by 2.125 inches
};
CardMeasure MeasureCard(ConstColourView raw);

struct LengthResult {
    float deviation; ///< from the nominal length, percent
    bool mismatch;
};
/// Whether the visible pass alone tells that the card slipped.
LengthResult RgbLengthCheck(ConstColourView raw);

struct LengthResults {
    float rgb, ir, uv; ///< deviations, percent
    bool mismatch;
};
/// Whether the three passes tell different lengths.
LengthResults LengthCheck(ConstColourView rgbr, ConstGreyView irr, ConstColourView uvr);

} // namespace k274
