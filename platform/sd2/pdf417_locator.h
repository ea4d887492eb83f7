// Finds PDF417 symbols in the edges of the line images by their start and stop patterns, which run straight
// through all rows: lines that show one form a track, tracks pair up into an area.
#pragma once

#include "platform/sd2/edges.h"
#include "platform/sd2/line_images.h"

namespace sd2 {

constexpr int kStartModules = 17, kStopModules = 18, kCodewordModules = 17;
constexpr int kMaxDataColumns = 30;
// Bars and spaces in turn, in modules.
constexpr int kStartRuns[] = {8, 1, 1, 1, 1, 1, 1, 3};
constexpr int kStopRuns[] = {7, 1, 1, 3, 1, 1, 1, 2, 1};

/// A symbol's place in the image. The way its rows are numbered is not known yet: `down` may point up.
struct SymbolArea {
    Point origin;      // corner on the start pattern's outer edge
    Point right, down; // one module in reading direction, and across
    double width = 0;  // modules; for a full symbol 69 + 17 x columns
    double height = 0; // modules
    int columns = 0;   // data columns
    bool compact = false;
    bool forward = true; // read towards growing pixels, or lines when it lies along the lines
    int support = 0;     // line images that showed its patterns
};

/// Appends the areas found.
void LocatePdf417(const LineImages &lines, const Edges &edges, std::vector<SymbolArea> &areas);

} // namespace sd2
