// Brightness, size and length of the card on the raw images.
#include "src/capture/measure.h"

#include "src/capture/scan_length.h"
#include "src/common/find_from.h"
#include "src/common/geometry.h"
#include "src/common/pixel_sums.h"

#include <algorithm>

namespace k274 {

namespace {

// ---- Levels

constexpr int kLevelRow = 25, kLevelLastRow = 1120, kLevelRowStep = 5;
constexpr int kLevelColumn = 200, kLevelLastColumn = 2095, kLevelColumnStep = 5;
constexpr int kLevelRows = (kLevelLastRow - kLevelRow) / kLevelRowStep + 1;
constexpr int kLevelColumns = (kLevelLastColumn - kLevelColumn) / kLevelColumnStep + 1;

uint8_t Level(ConstColourView raw, int sideRow) {
    int32_t total = 0;
    for (int i = 0; i < kLevelRows; i++) {
        const uint8_t *first = raw.Pixel(sideRow + kLevelRow + i * kLevelRowStep, kLevelColumn);
        const PixelSums sums =
            SumPixels(first, kLevelColumnStep, kLevelColumns, kLevelRowStep * raw.Stride());
        total += sums.channel[0] + sums.channel[1] + sums.channel[2];
    }
    return static_cast<uint8_t>(total / (3 * kLevelRows * kLevelColumns));
}

uint8_t Level(ConstGreyView raw, int sideRow) {
    int32_t total = 0;
    for (int i = 0; i < kLevelRows; i++)
        total += SumBytes<kLevelColumnStep>(raw.Pixel(sideRow + kLevelRow + i * kLevelRowStep, kLevelColumn),
                                            kLevelColumns);
    return static_cast<uint8_t>(total / (kLevelRows * kLevelColumns));
}

constexpr int kUvLevelLine = 200, kUvLevelLines = 200, kUvLevelLineStep = 4;
constexpr int kUvLevelPixels = 110, kUvLevelPixelStep = 5, kUvFrontPixel = 25, kUvBackPixel = 775;

uint8_t UvLevel(ConstColourView raw, int firstPixel) {
    int32_t total = 0;
    for (int i = 0; i < kUvLevelLines; i++) {
        const PixelSums sums = SumPixels(raw.Pixel(kUvLevelLine + i * kUvLevelLineStep, firstPixel),
                                         kUvLevelPixelStep, kUvLevelPixels);
        total += sums.channel[0] + sums.channel[1] + sums.channel[2];
    }
    return static_cast<uint8_t>(total / (3 * kUvLevelLines * kUvLevelPixels));
}

// ---- Size

constexpr int kBlue = 0, kGreen = 1, kRed = 2;
constexpr int kBorderColumn = 800; // the card's long edges are looked for here
constexpr int kBorderDark = 96;

int GreenSum(ConstColourView raw, int column) {
    int sum = 0;
    for (const int row : {100, 300, 500, 700, 900, 1100})
        sum += raw.Pixel(row, column)[kGreen];
    return sum;
}

bool AboveCard(ConstColourView raw, int row) {
    return raw.Pixel(row, kBorderColumn)[kBlue] < kBorderDark &&
           raw.Pixel(row, kBorderColumn - 1)[kRed] < kBorderDark;
}

bool BelowCard(ConstColourView raw, int row) {
    const uint8_t *pixel = raw.Pixel(row, kBorderColumn);
    return pixel[kBlue] < kBorderDark && pixel[kGreen] < kBorderDark;
}

// ---- Length

constexpr int32_t kNominalRgbLength = 1856; // scan columns
constexpr int32_t kNominalIrLength = 2025, kNominalUvLength = 1012;
constexpr float kMaxRgbDeviation = 2.0F; // percent
constexpr float kMaxDifference = 2.5F;   // percent, between any two passes

// The card's length in scan lines of the ultraviolet image.
int32_t UvLength(ConstColourView raw) {
    constexpr int kPixel = 20, kPixelStep = 5, kPixels = 104, kDarkMean = 6;
    const auto dark = [&](int line) {
        const PixelSums sums = SumPixels(raw.Pixel(line, kPixel), kPixelStep, kPixels);
        return sums.channel[0] + sums.channel[1] + sums.channel[2] < kDarkMean * 3 * kPixels;
    };
    // Dark where the search begins, so that no card is seen there: a usual end stands in.
    constexpr int kLeftFrom = 135, kUsualLeft = 85, kRightFrom = 1040, kUsualRight = 1090;
    const int left = FindFrom(kLeftFrom, 35, [&](int l) { return dark(l) && dark(l - 9); });
    const int right =
        FindFrom(kRightFrom, 1140, [&](int l) { return dark(l) && dark(l + 8) && dark(l + 16); });
    return (right == kRightFrom ? kUsualRight : right) - (left == kLeftFrom ? kUsualLeft : left);
}

} // namespace

Levels RgbLevels(ConstColourView raw) { return {Level(raw, 0), Level(raw, kBackFirstRow)}; }

Levels IrLevels(ConstGreyView raw) { return {Level(raw, 0), Level(raw, kBackFirstRow)}; }

Levels UvLevels(ConstColourView raw) { return {UvLevel(raw, kUvFrontPixel), UvLevel(raw, kUvBackPixel)}; }

CardMeasure MeasureCard(ConstColourView raw) {
    const auto above = [&](int row) { return AboveCard(raw, row); };
    const auto below = [&](int row) { return BelowCard(raw, row); };
    const int leading = FindFrom(50, 350, [&](int column) { return GreenSum(raw, column) > 90; });
    const int trailing = FindFrom(2250, 1950, [&](int column) { return GreenSum(raw, column) > 75; });
    const int frontTop = FindFrom(60, 0, above), frontBottom = FindFrom(1140, 1200, below);
    const int backTop = FindFrom(1410, kBackFirstRow, above), backBottom = FindFrom(2500, 2560, below);

    CardMeasure card{};
    card.top = frontTop;
    card.backOffset = backTop - kBackFirstRow;
    card.width = trailing - leading;
    card.frontHeight = frontBottom - frontTop;
    card.backHeight = backBottom - backTop;
    card.aspectDeviation =
        (static_cast<float>(card.frontHeight) / 2.125F) / (static_cast<float>(card.width) / 3.375F) - 1.0F;
    return card;
}

LengthResult RgbLengthCheck(ConstColourView raw) {
    const float deviation = LengthDeviation(ScanLength(raw), kNominalRgbLength);
    return {deviation, deviation > kMaxRgbDeviation};
}

LengthResults LengthCheck(ConstColourView rgbr, ConstGreyView irr, ConstColourView uvr) {
    const float rgb = LengthDeviation(ScanLength(rgbr), kNominalRgbLength),
                ir = LengthDeviation(ScanLength(irr), kNominalIrLength),
                uv = LengthDeviation(UvLength(uvr), kNominalUvLength);
    return {rgb, ir, uv, std::max({rgb, ir, uv}) - std::min({rgb, ir, uv}) > kMaxDifference};
}

} // namespace k274
