// Geometry between sensor and card. Lengths on the card are in sensor pixels (550 to the inch, rows and
// columns alike) until they become pixels of the art.
#include "scanner/optics/art_path.h"

#include <algorithm>
#include <cmath>

namespace scanner {
namespace {

constexpr int64_t kOne = 65536;
constexpr int kSensorDotsPerInch = 550;

int64_t DivideDown(int64_t a, int64_t b) { return a / b - ((a % b != 0 && (a < 0) != (b < 0)) ? 1 : 0); }

} // namespace

ArtPath PathOnSide(const Card &card, const Placement &placement, Side side, int64_t travel) {
    const bool front = side == Side::kFront;
    const Picture &art = front ? card.front : card.back;

    // From the card's upper leading corner: along the travel, and down from the upper edge at position 0.
    // On the back, rows count against device pixels.
    const int64_t along = travel - int64_t{placement.leadColumn} * 256;
    const int64_t edge = int64_t{front ? placement.frontEdgeRow : placement.backEdgeRow} * 256;
    const int64_t down = edge - kOne - (front ? 0 : kBackTurn * kOne);
    const int64_t stepDown = front ? -kOne : kOne;

    // A small turn: the edge rises by the skew for every column, and the card's columns lean as much.
    const int64_t skew = placement.skew;
    const int64_t x = along - DivideDown(skew * down, kOne), y = down + DivideDown(skew * along, kOne);
    const int64_t stepX = front ? skew : -skew;

    // Into pixels of the art, whose first pixel's middle is half a pixel from the edge.
    const int64_t scale = (card.dotsPerInch * kOne + kSensorDotsPerInch / 2) / kSensorDotsPerInch;
    const auto scaled = [scale](int64_t v) { return DivideDown(v * scale, kOne); };
    const int64_t half = (scale - kOne) / 2;
    ArtPath path{scaled(x) + half, scaled(y) + half, scaled(stepX), scaled(stepDown)};
    if (!front) { // seen from behind, the leading edge is on the right
        path.x0 = (art.width - 1) * kOne - path.x0;
        path.stepX = -path.stepX;
    }
    return path;
}

PositionRange WhereY(const ArtPath &path, PositionRange range, int64_t low, int64_t high) {
    const auto inside = [range](int64_t position) {
        return static_cast<int>(std::clamp(position, int64_t{range.first}, int64_t{range.end}));
    };
    if (path.stepY > 0) // from the first position at or above a bound
        return {inside(-DivideDown(path.y0 - low, path.stepY)),
                inside(-DivideDown(path.y0 - high, path.stepY))};
    // y falls: behind the last position at or above a bound
    return {inside(DivideDown(path.y0 - high, -path.stepY) + 1),
            inside(DivideDown(path.y0 - low, -path.stepY) + 1)};
}

int Coverage(int width, int height, int cornerRadius, int64_t x, int64_t y) {
    const int64_t kFull = 256; // from here on in 1/256 pixels
    const auto filled = [kFull](int64_t v) { return std::clamp(v, int64_t{0}, kFull); };
    // Distances from the nearest edges, which lie half a pixel outside the middle of the outermost pixels.
    const int64_t inX = std::min(x, (width - 1) * kOne - x) / 256 + kFull / 2;
    const int64_t inY = std::min(y, (height - 1) * kOne - y) / 256 + kFull / 2;
    const int64_t radius = cornerRadius * kFull;
    if (inX > -kFull && inY > -kFull && inX < radius && inY < radius) {
        const int64_t dx = radius - inX, dy = radius - inY;
        const auto distance = static_cast<int64_t>(std::sqrt(static_cast<double>(dx * dx + dy * dy)));
        return static_cast<int>(filled(radius - distance + kFull / 2));
    }
    return static_cast<int>(filled(inX + kFull / 2) * filled(inY + kFull / 2) / kFull);
}

} // namespace scanner
