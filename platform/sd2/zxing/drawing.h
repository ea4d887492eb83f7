// Pictures for the packaged engine: it finds a symbol by clean ends and quiet zones, so it gets both.
#pragma once

#include "platform/sd2/engine.h"

namespace sd2::zxing {

/// Every row of a symbol some lines high, in two levels, its ends drawn as they should be.
void DrawRows(const SymbolRows &rows, OwnImage &out);

/// The symbol straightened but grey, without knowledge of its rows.
void DrawArea(const GreyImage &image, const SymbolArea &area, OwnImage &out);

constexpr int kLinearScale =
    2; // pixels drawn per pixel of a line image: edges keep a part of their fractions
constexpr int kLinearQuiet = 64; // pixels of paper at both ends

/// Draws stretches where they lie along their lines, one line of the result for each line that has some.
/// @param lineOf  becomes the line of each line drawn
/// @return the end of the stretches drawn
size_t DrawStretches(const Edges &edges, const std::vector<Stretch> &stretches, size_t begin, OwnImage &out,
                     std::vector<int> &lineOf);

} // namespace sd2::zxing
