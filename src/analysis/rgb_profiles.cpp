#include "src/analysis/rgb_profiles.h"

#include "src/common/find_from.h"
#include "src/common/pixel_sums.h"

namespace k274 {

namespace {

constexpr int kLastRow = kSensorRows - 1;

constexpr int kRawSamples = 250, kRawColumnStep = 4, kRawColumnOffset = 400;
constexpr int kEdgeFirstColumn = 60, kEdgeEndColumn = 320; // where the card's leading edge is looked for
constexpr int kEdgeRows[2] = {100, 200};
constexpr int kEdgeMin = 24;

constexpr int kCorColumn = 1155, kCorColumnEnd = 1735, kCorColumnStep = 6;
constexpr int kCorSamples = (kCorColumnEnd - kCorColumn + kCorColumnStep - 1) / kCorColumnStep;

int CardColumn(ConstColourView rgbr) {
    return FindFrom(kEdgeFirstColumn, kEdgeEndColumn, [&](int column) {
        return rgbr.Pixel(kEdgeRows[0], column)[0] > kEdgeMin &&
               rgbr.Pixel(kEdgeRows[1], column)[0] > kEdgeMin;
    });
}

// Bytes to the next row, 0 in the last one.
ptrdiff_t ToNextRow(ConstColourView image, int row) { return row < kLastRow ? image.Stride() : 0; }

} // namespace

void RgbResp(ConstColourView rgbr, ResponseTable &raw) {
    int32_t sums[3][kSensorRows];
    // At most column 1719 is read, whatever the leading edge.
    const int firstColumn = CardColumn(rgbr) + kRawColumnOffset;
    for (int row = 0; row < kSensorRows; row++) {
        const PixelSums pixels =
            SumPixels(rgbr.Pixel(row, firstColumn), kRawColumnStep, kRawSamples, ToNextRow(rgbr, row));
        for (int k = 0; k < 3; k++)
            sums[k][row] = pixels.channel[k];
    }
    for (int k = 0; k < 3; k++) {
        const int32_t(&of)[kSensorRows] = sums[k];
        for (int row = 1; row < kLastRow; row++)
            raw[k][row] = static_cast<uint8_t>((of[row - 1] + 2 * of[row] + of[row + 1]) / (4 * kRawSamples));
        raw[k][0] = static_cast<uint8_t>(of[0] / kRawSamples);
        raw[k][kLastRow] = static_cast<uint8_t>(of[kLastRow] / kRawSamples);
    }
}

void RgbCorResp(ConstColourView rgbc, ResponseTable &corrected) {
    for (int row = 0; row < kSensorRows; row++) {
        const PixelSums sums =
            SumPixels(rgbc.Pixel(row, kCorColumn), kCorColumnStep, kCorSamples, ToNextRow(rgbc, row));
        for (int k = 0; k < 3; k++)
            corrected[k][row] = static_cast<uint8_t>(sums.channel[2 - k] / kCorSamples);
    }
}

} // namespace k274
