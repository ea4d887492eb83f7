// Visible-light lines. The three colour rows of the sensor see the card at three places of its travel; each
// sensor position then turns the light from there into a byte, with its own dark level and noise.
#include "scanner/optics/art_path.h"
#include "scanner/optics/hash.h"
#include "scanner/optics/light.h"
#include "scanner/optics/optics.h"

#include <algorithm>

namespace scanner {
namespace {

constexpr int64_t kOne = 65536;

// The device's pixels: the front sensor first, the back sensor turned round behind it.
constexpr PositionRange kFrontPixels{0, 1350}, kBackPixels{1350, 2678};

// What is round the card, as a level of art: nearly black, not quite.
constexpr int kSurroundings = 3 * 256;

/// One colour row of the sensor: its place in a device pixel, its light, and where it looks.
struct ColourRow {
    int byte;
    Light light;
    int travelOffset; // columns
};
constexpr ColourRow kColourRows[] = {
    {0, Light::kRed, -4},
    {1, Light::kGreen, 0},
    {2, Light::kBlue, 4},
};

/// What is fixed for one line: the sensitivity of each position (257 times the white response, so that
/// a product with art in 1/256 levels comes out in 1/256 after 16 bits) and the line's noise bits.
struct LineState {
    std::array<std::array<uint16_t, kLinePixels>, 3> sensitivity;
    std::array<uint32_t, kLinePixels> noise;
};

constexpr std::array<uint16_t, kRgbLineBytes> MakeDarkLevels() {
    std::array<uint16_t, kRgbLineBytes> levels{};
    for (size_t i = 0; i < levels.size(); ++i)
        levels[i] = static_cast<uint16_t>(Pick(Hash(0xDA2Cu, static_cast<uint32_t>(i)), 2 * 256, 4 * 256));
    return levels;
}
// Level of every byte of a line without light, 2 to 4, in 1/256; half a level for rounding is added in.
constexpr std::array<uint16_t, kRgbLineBytes> kDarkLevels = MakeDarkLevels();

/// The byte that a colour row reads at a position for a level of art, 0 to 255 in 1/256.
inline uint8_t Expose(const LineState &state, int byte, int position, uint32_t level) {
    constexpr int kNoiseStep = 20; // makes a standard deviation of one level
    const auto p = static_cast<size_t>(position);
    const auto k = static_cast<size_t>(byte);
    const uint32_t bits = state.noise[p] >> (10 * k);
    const int noise = (static_cast<int>(bits & 31) - static_cast<int>((bits >> 5) & 31)) * kNoiseStep;
    const auto light = static_cast<int>((level * state.sensitivity[k][p]) >> 16);
    return static_cast<uint8_t>(std::clamp((light + kDarkLevels[3 * p + k] + noise + 128) >> 8, 0, 255));
}

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
uint32_t LevelNearEdge(const Picture &art, int cornerRadius, int channel, int64_t x, int64_t y) {
    const auto covered = static_cast<uint32_t>(Coverage(art, cornerRadius, x, y));
    if (covered == 0)
        return kSurroundings;
    x = std::clamp(x, int64_t{0}, (art.width - 1) * kOne);
    y = std::clamp(y, int64_t{0}, (art.height - 1) * kOne);
    const auto column = static_cast<ptrdiff_t>(x / kOne), row = static_cast<ptrdiff_t>(y / kOne);
    const uint8_t *pixel = art.rgb.data() + 3 * (row * art.width + column) + channel;
    const uint32_t level = Between(pixel, row + 1 < art.height ? 3 * ptrdiff_t{art.width} : 0,
                                   column + 1 < art.width ? 3 : 0, Fraction(x), Fraction(y));
    return (level * covered + kSurroundings * (256 - covered)) >> 8;
}

void ReadSurroundings(const LineState &state, const ColourRow &row, PositionRange range, uint8_t *bytes) {
    for (int p = range.first; p < range.end; ++p)
        bytes[3 * p + row.byte] = Expose(state, row.byte, p, kSurroundings);
}

void ReadNearEdge(const LineState &state, const ColourRow &row, const Picture &art, int cornerRadius,
                  const ArtPath &path, PositionRange range, uint8_t *bytes) {
    for (int p = range.first; p < range.end; ++p)
        bytes[3 * p + row.byte] =
            Expose(state, row.byte, p, LevelNearEdge(art, cornerRadius, row.byte, path.X(p), path.Y(p)));
}

/// Positions whose four pixels of art all exist and that the card fills.
void ReadInside(const LineState &state, const ColourRow &row, const Picture &art, const ArtPath &path,
                PositionRange range, uint8_t *bytes) {
    const ptrdiff_t nextRow = 3 * ptrdiff_t{art.width};
    const uint8_t *origin = art.rgb.data() + row.byte;
    // Inside the art, 1/65536 pixels fit in 32 bits.
    auto x = static_cast<int32_t>(path.X(range.first)), y = static_cast<int32_t>(path.Y(range.first));
    const auto stepX = static_cast<int32_t>(path.stepX), stepY = static_cast<int32_t>(path.stepY);
    for (int p = range.first; p < range.end; ++p, x += stepX, y += stepY) {
        const uint8_t *pixel = origin + (y >> 16) * nextRow + 3 * ptrdiff_t{x >> 16};
        bytes[3 * p + row.byte] =
            Expose(state, row.byte, p, Between(pixel, nextRow, 3, Fraction(x), Fraction(y)));
    }
}

/// One colour row along one side.
void ReadSide(const Scene &scene, const LineState &state, const ColourRow &row, Side side, int64_t travel,
              uint8_t *bytes) {
    const PositionRange all = side == Side::kFront ? kFrontPixels : kBackPixels;
    if (scene.card == nullptr) {
        ReadSurroundings(state, row, all, bytes);
        return;
    }
    const Card &card = *scene.card;
    const Picture &art = side == Side::kFront ? card.front : card.back;
    const ArtPath path = PathOnSide(card, scene.placement, side, travel);

    const PositionRange touched = WhereY(path, all, -kOne, art.height * kOne);
    const int64_t xA = path.X(touched.first), xB = path.X(touched.end);
    const int64_t left = std::min(xA, xB), right = std::max(xA, xB);
    if (touched.Empty() || right < -kOne || left > art.width * kOne) {
        ReadSurroundings(state, row, all, bytes);
        return;
    }
    // Between the corners the card fills whole positions from its first to its last row of pixels.
    const int64_t corner = card.cornerRadius * kOne;
    PositionRange inside{touched.first, touched.first};
    if (left >= corner && right < (art.width - 1) * kOne - corner)
        inside = WhereY(path, touched, 0, (art.height - 1) * kOne);

    ReadSurroundings(state, row, {all.first, touched.first}, bytes);
    ReadNearEdge(state, row, art, card.cornerRadius, path, {touched.first, inside.first}, bytes);
    ReadInside(state, row, art, path, inside, bytes);
    ReadNearEdge(state, row, art, card.cornerRadius, path, {inside.end, touched.end}, bytes);
    ReadSurroundings(state, row, {touched.end, all.end}, bytes);
}

/// A few grains of dust on the glass, each taking a little light from one to three positions.
void LayDust(uint32_t seed, LineState &state) {
    constexpr int kGrains = 5;
    for (uint32_t grain = 0; grain < kGrains; ++grain) {
        const uint32_t stream = Hash(seed, grain);
        const bool front = (Hash(stream, 0) & 1) != 0;
        const int first = front ? Pick(Hash(stream, 1), 60, 1120) : Pick(Hash(stream, 1), 1550, 2600);
        const int width = Pick(Hash(stream, 2), 1, 3);
        const int taken = Pick(Hash(stream, 3), 8, 24); // of 256
        for (int p = first; p < first + width; ++p) {
            for (auto &row : state.sensitivity) {
                uint16_t &value = row[static_cast<size_t>(p)];
                value = static_cast<uint16_t>(value - value * taken / 256);
            }
        }
    }
}

void PrepareLine(const Scene &scene, int line, LineState &state) {
    for (const ColourRow &row : kColourRows) {
        const uint8_t *response = scene.lamps->data() + static_cast<int>(row.light) * kSensorRows;
        auto &sensitivity = state.sensitivity[static_cast<size_t>(row.byte)];
        for (int p = 0; p < kLinePixels; ++p) {
            const int sensorRow = p < kFrontPixels.end ? p : kBackTurn - p;
            const int white = p < kBackPixels.end ? response[sensorRow] : 0; // the line's tail sees nothing
            sensitivity[static_cast<size_t>(p)] = static_cast<uint16_t>(257 * white);
        }
    }
    if (scene.dustSeed != 0)
        LayDust(scene.dustSeed, state);
    const uint32_t stream = Hash(scene.noiseSeed, static_cast<uint32_t>(line));
    for (size_t p = 0; p < state.noise.size(); ++p)
        state.noise[p] = Hash(stream + static_cast<uint32_t>(p));
}

} // namespace

void RenderRgbLine(const Scene &scene, int line, uint8_t *bytes) {
    LineState state;
    PrepareLine(scene, line, state);
    for (const ColourRow &row : kColourRows) {
        const int64_t travel = (kScanLines - 1 - line + row.travelOffset) * kOne;
        ReadSide(scene, state, row, Side::kFront, travel, bytes);
        ReadSide(scene, state, row, Side::kBack, travel, bytes);
        ReadSurroundings(state, row, {kBackPixels.end, kLinePixels}, bytes);
    }
}

} // namespace scanner
