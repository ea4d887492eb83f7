// The images that a host sees of the ultraviolet pass: turned, cut and stretched.
#include "src/capture/uv_crop.h"

#include "src/capture/stretch.h"

#include <array>
#include <cstring>

namespace k274 {

namespace {

constexpr int kWidth = K274_UV_WIDTH, kHeight = K274_UV_HEIGHT;
constexpr int kUvFrontLine = 1095, kUvBackLine = 80; // scan lines of the card's two ends
constexpr int kBackColumn = 1337;                    // of the card's edge on the back
constexpr uint8_t kNoPixel = 5;                      // fill of columns that the image does not have

// Where the crop lies: its columns are scan lines, its rows columns of the corrected image.
struct Place {
    int firstLine, lineStep;
    int firstColumn, columnStep;
};

// The crop is turned and stretched in strips that stay in the caches. A pixel is moved with the byte behind
// it: its image has one, as the crops end before the last scan line, and the strip's is written again.
constexpr int kStripPixels = 64;
constexpr int kStripBytes = 3 * kStripPixels;
static_assert(kWidth % kStripPixels == 0);
using Strip = std::array<uint8_t, kHeight * kStripBytes + 1>;

void TurnStrip(ConstColourView corrected, const Place &place, int firstPixel, Strip &strip) {
    std::array<const uint8_t *, kStripPixels> lines;
    for (int i = 0; i < kStripPixels; i++)
        lines[static_cast<size_t>(i)] = corrected.Row(place.firstLine + place.lineStep * (firstPixel + i));
    uint8_t *out = strip.data();
    for (int row = 0; row < kHeight; row++, out += kStripBytes) {
        const int column = place.firstColumn + place.columnStep * row;
        if (column < 0 || column >= corrected.columns) {
            std::memset(out, kNoPixel, kStripBytes);
            continue;
        }
        for (int i = 0; i < kStripPixels; i++)
            std::memcpy(out + 3 * i, lines[static_cast<size_t>(i)] + 3 * column, 4);
    }
}

void CutSide(ConstColourView corrected, const Place &place, ColourView image) {
    Strip strip;
    for (int pixel = 0; pixel < kWidth; pixel += kStripPixels) {
        TurnStrip(corrected, place, pixel, strip);
        for (int i = 0; i < kHeight; i++) {
            const StretchEntry &entry = kUvStretch[static_cast<size_t>(i)];
            StretchRow(strip.data() + entry.a * kStripBytes, strip.data() + entry.b * kStripBytes, entry,
                       kStripBytes, image.Pixel(i, pixel));
        }
    }
}

// ---- Lamp

constexpr int kLedRow = 80, kLedLastRow = 560, kLedColumn = 40, kLedLastColumn = 976, kLedStep = 8;
constexpr int kLedDark = 4;

} // namespace

void UvCropFront(ConstColourView corrected, int32_t frontEdgeRow, ColourView uvFr) {
    const int edge = frontEdgeRow / 2 + 10;
    CutSide(corrected, {kUvFrontLine + 1, -1, edge + kHeight - 1 - 600, -1}, uvFr);
}

void UvCropBack(ConstColourView corrected, ColourView uvBk) {
    CutSide(corrected, {kUvBackLine + 2, 1, kBackColumn - (kHeight - 1), 1}, uvBk);
}

float UvLedCheck(ConstColourView uvBk) {
    int count = 0, samples = 0;
    for (int row = kLedRow; row <= kLedLastRow; row += kLedStep)
        for (int column = kLedColumn; column <= kLedLastColumn; column += kLedStep, samples++)
            count += uvBk.Pixel(row, column)[0] > kLedDark;
    return static_cast<float>(count * 100) / static_cast<float>(samples);
}

} // namespace k274
