// The straight path that one sensor line cuts through the art of one side, and the art seen along it.
#pragma once

#include "scanner/optics/light.h"
#include "scanner/optics/optics.h"

namespace scanner {

// Device pixel d of the back sensor, which is turned round, is sensor row 4027 - d: pixel 1328 is row 2699.
constexpr int kBackTurn = 4027;

/// Device pixel p sees the art at (x, y) = (x0 + p * stepX, y0 + p * stepY), in 1/65536 pixels of the art.
struct ArtPath {
    int64_t x0, y0;
    int64_t stepX, stepY;

    int64_t X(int position) const { return x0 + position * stepX; }
    int64_t Y(int position) const { return y0 + position * stepY; }
};

/// @param travel  how far the card has moved when the line is seen: the front's scan column, 1/65536 columns
ArtPath PathOnSide(const Card &card, const Placement &placement, Side side, int64_t travel);

/// Device pixels first to end - 1.
struct PositionRange {
    int first, end;
    bool Empty() const { return first >= end; }
};

/// The positions of a range where y lies from low up to but not including high.
PositionRange WhereY(const ArtPath &path, PositionRange range, int64_t low, int64_t high);

/// How much of a sensor position the card fills, 0 to 256: less than 256 at its edges and rounded corners.
int Coverage(int width, int height, int cornerRadius, int64_t x, int64_t y);

} // namespace scanner
