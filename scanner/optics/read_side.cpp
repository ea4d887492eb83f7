// Follows a path through card art and exposes every position of the sensor to what it sees there.
#include "scanner/optics/sensor.h"

namespace scanner {
namespace {

constexpr int64_t kOne = 65536;

/// The art between four of its pixels, in 1/256; the point lies inside the outermost pixels' middles.
/// @param nextRow, nextColumn  bytes to the pixel below and to the right
inline uint32_t Between(const uint8_t *pixel, ptrdiff_t nextRow, ptrdiff_t nextColumn, uint32_t fx,
                        uint32_t fy) {
    const uint32_t upper = pixel[0] * (256 - fx) + pixel[nextColumn] * fx;
    const uint32_t lower = pixel[nextRow] * (256 - fx) + pixel[nextRow + nextColumn] * fx;
    return (upper * (256 - fy) + lower * fy) >> 8;
}

constexpr uint32_t Fraction(int64_t v) { return static_cast<uint32_t>(v >> 8) & 255; }

/// The art at any point, with the surroundings where the card ends.
uint32_t LevelNearEdge(const ArtPlane &art, int cornerRadius, uint32_t surroundings, int64_t x, int64_t y) {
    const auto covered = static_cast<uint32_t>(Coverage(art.width, art.height, cornerRadius, x, y));
    if (covered == 0)
        return surroundings;
    x = std::clamp(x, int64_t{0}, (art.width - 1) * kOne);
    y = std::clamp(y, int64_t{0}, (art.height - 1) * kOne);
    const auto column = static_cast<ptrdiff_t>(x / kOne), row = static_cast<ptrdiff_t>(y / kOne);
    const uint8_t *pixel = art.bytes + art.pixelBytes * (row * art.width + column);
    const uint32_t level = Between(pixel, row + 1 < art.height ? art.pixelBytes * ptrdiff_t{art.width} : 0,
                                   column + 1 < art.width ? art.pixelBytes : 0, Fraction(x), Fraction(y));
    return (level * covered + surroundings * (256 - covered)) >> 8;
}

void ReadNearEdge(ElementRow row, const ArtPlane &art, int cornerRadius, const ArtPath &path,
                  PositionRange range) {
    for (int p = range.first; p < range.end; ++p)
        row.Write(p, LevelNearEdge(art, cornerRadius, row.surroundings, path.X(p), path.Y(p)));
}

/// Positions whose four pixels of art all exist and that the card fills.
void ReadInside(ElementRow row, const ArtPlane &art, const ArtPath &path, PositionRange range) {
    const ptrdiff_t nextColumn = art.pixelBytes, nextRow = nextColumn * art.width;
    // Inside the art, 1/65536 pixels fit in 32 bits.
    auto x = static_cast<int32_t>(path.X(range.first)), y = static_cast<int32_t>(path.Y(range.first));
    const auto stepX = static_cast<int32_t>(path.stepX), stepY = static_cast<int32_t>(path.stepY);
    for (int p = range.first; p < range.end; ++p, x += stepX, y += stepY) {
        const uint8_t *pixel = art.bytes + (y >> 16) * nextRow + nextColumn * (x >> 16);
        row.Write(p, Between(pixel, nextRow, nextColumn, Fraction(x), Fraction(y)));
    }
}

} // namespace

void ReadSurroundings(ElementRow row, PositionRange range) {
    for (int p = range.first; p < range.end; ++p)
        row.Write(p, row.surroundings);
}

void ReadSide(ElementRow row, const ArtPlane &art, int cornerRadius, const ArtPath &path,
              PositionRange range) {
    const PositionRange touched = WhereY(path, range, -kOne, art.height * kOne);
    const int64_t xA = path.X(touched.first), xB = path.X(touched.end);
    const int64_t left = std::min(xA, xB), right = std::max(xA, xB);
    if (art.width == 0 || touched.Empty() || right < -kOne || left > art.width * kOne) {
        ReadSurroundings(row, range);
        return;
    }
    // Between the corners the card fills whole positions from its first to its last row of pixels.
    const int64_t corner = cornerRadius * kOne;
    PositionRange inside{touched.first, touched.first};
    if (left >= corner && right < (art.width - 1) * kOne - corner)
        inside = WhereY(path, touched, 0, (art.height - 1) * kOne);

    ReadSurroundings(row, {range.first, touched.first});
    ReadNearEdge(row, art, cornerRadius, path, {touched.first, inside.first});
    ReadInside(row, art, path, inside);
    ReadNearEdge(row, art, cornerRadius, path, {inside.end, touched.end});
    ReadSurroundings(row, {touched.end, range.end});
}

} // namespace scanner
