// The 1200-dpi passes, step by step. Every step touches some 60 million bytes, so that the inner loops are
// of the kind that the compiler vectorises.
#include "src/capture/hires.h"

#include "src/capture/colour_rows.h"
#include "src/capture/gain_rows.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace k274 {

namespace {

// What a pass fills: so many lines from line 0 on are realigned, given gain and turned. The blue of the
// last realigned line comes from line 3995 or 1055: inside the store, though the short pass sends no more
// than 1050 lines. What the store holds there ends in columns that no image shows.
struct Extent {
    int realigned, gained, turned;
    int firstColumn; // of the turned image: that of line 0
};
constexpr Extent kFull = {3980, 3998, 4000, 3999}, kShort = {1040, 1018, 1039, 1039};

const Extent &ExtentOf(HrMode mode) { return mode == HrMode::Full ? kFull : kShort; }

// ---- Realignment

constexpr int kColourRowOffset = 8; // lines between two colour rows of the sensor
constexpr int kShift = 14;          // pixels
constexpr int kFirstPixel = 14, kLastPixel = 4985;

void RealignLine(const uint8_t *greenLine, const uint8_t *blueLine, uint8_t *line) {
    constexpr ColourGroup kNoLevel{};
    const ColourRows from = TurnedColours(blueLine + 3 * kShift, greenLine + 3 * kShift, line + 3 * kShift);
    MergeLine(from, 3 * kFirstPixel, 3 * (kLastPixel + 1), kNoLevel, line);
}

// ---- Gain

constexpr int kMirrorPixel = 2500, kMirrorPosition = 2607; // where the back sensor's half begins

int GainPosition(int pixel) {
    return pixel < kMirrorPixel ? pixel / 2 : kMirrorPosition - (pixel - kMirrorPixel) / 2;
}

using LineFactors = std::array<uint16_t, size_t{3} * kHrPixels>;

void FillFactors(const RgbGains &gains, LineFactors &factors) {
    for (int pixel = 0; pixel < kHrPixels; pixel++)
        for (int k = 0; k < 3; k++)
            factors[static_cast<size_t>(3 * pixel + k)] = GainFactor<6>(gains[GainPosition(pixel)][k]);
}

// ---- Turning

constexpr int kTile = 64; // lines and pixels, so that both sides of a tile fit the nearest cache

struct Tile {
    int firstLine, endLine, firstPixel, endPixel;
};

void TurnTile(const Tile &tile, int firstColumn, ConstColourView lines, ColourView turned) {
    for (int pixel = tile.firstPixel; pixel < tile.endPixel; pixel++) {
        uint8_t *to = turned.Pixel(pixel, firstColumn - (tile.endLine - 1));
        for (int line = tile.endLine - 1; line >= tile.firstLine; line--, to += 3)
            std::memcpy(to, lines.Pixel(line, pixel), 3);
    }
}

// ---- Front and back

constexpr int kFrontFirstRow = 2289, kFrontFirstColumn = 30;
constexpr int kBackFirstSensorRow = 2660, kBackFirstColumn = 1040;

} // namespace

void HrRealign(HrMode mode, ColourView lines) {
    for (int line = 0; line < ExtentOf(mode).realigned; line++)
        RealignLine(lines.Row(line + kColourRowOffset), lines.Row(line + 2 * kColourRowOffset),
                    lines.Row(line));
}

void HrGain(HrMode mode, const RgbGains &gains, ColourView lines) {
    LineFactors factors;
    FillFactors(gains, factors);
    for (int line = 0; line < ExtentOf(mode).gained; line++) {
        uint8_t *bytes = lines.Row(line);
        for (size_t i = 0; i < factors.size(); i++)
            bytes[i] = Gained(bytes[i], factors[i]);
    }
}

void HrTurn(HrMode mode, ConstColourView lines, ColourView turned) {
    const Extent &extent = ExtentOf(mode);
    for (int pixel = 0; pixel < kHrPixels; pixel += kTile)
        for (int line = 0; line < extent.turned; line += kTile)
            TurnTile({line, std::min(line + kTile, extent.turned), pixel, std::min(pixel + kTile, kHrPixels)},
                     extent.firstColumn, lines, turned);
}

void HrSplit(ConstColourView turned, ColourView sliFr, ColourView sliBk) {
    for (int row = 0; row < sliFr.rows; row++) {
        const int from = kFrontFirstRow - row;
        const auto rowBytes = static_cast<size_t>(sliFr.Stride());
        // The sensor ends before the image: the last rows are black.
        if (from >= 0)
            std::memcpy(sliFr.Row(row), turned.Pixel(from, kFrontFirstColumn), rowBytes);
        else
            std::memset(sliFr.Row(row), 0, rowBytes);
    }
    for (int row = 0; row < sliBk.rows; row++) {
        // Column 0 would show a column that the pass does not fill: it is black.
        std::memset(sliBk.Row(row), 0, 3);
        for (int column = 1; column < sliBk.columns; column++)
            std::memcpy(sliBk.Pixel(row, column),
                        turned.Pixel(kBackFirstSensorRow + row, kBackFirstColumn - column), 3);
    }
}

} // namespace k274
