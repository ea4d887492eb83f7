// White-card test and response profiles of the visible-light pass.
#include "src/state/measures.h"

#include "src/common/find_from.h"
#include "src/common/pixel_sums.h"

namespace k274 {

namespace {

constexpr int kLastRow = kSensorRows - 1;

// ---- White-card test

constexpr int kWhiteRows[2] = {150, 1500}, kWhiteRowEnd[2] = {950, 2300}, kWhiteRowStep = 8;
constexpr int kWhiteColumn = 650, kWhiteColumnEnd = 1650, kWhiteColumnStep = 10;
constexpr int kWhiteChannels[2][2] = {{0, 2}, {1, 2}}; // front blue and red, back green and red
constexpr int kDark = 64;
constexpr int kDarkStop = 250;     // more dark samples end a side's count early
constexpr int kDarkOneSide = 26;   // one side must stay below
constexpr int kDarkBothSides = 75; // both together must not exceed
constexpr int kWhiteMinMean = 80;

// ---- Profiles

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

int32_t ImageProcessor::WhiteTest(ConstColourView rgbr) {
    for (int side = 0; side < 2; side++) {
        int32_t samples = 0, dark = 0, sum = 0;
        for (int row = kWhiteRows[side]; row < kWhiteRowEnd[side] && dark <= kDarkStop; row += kWhiteRowStep)
            for (int column = kWhiteColumn; column < kWhiteColumnEnd; column += kWhiteColumnStep) {
                const uint8_t *pixel = rgbr.Pixel(row, column);
                const uint8_t first = pixel[kWhiteChannels[side][0]], second = pixel[kWhiteChannels[side][1]];
                samples += 2;
                sum += first + second;
                if (first < kDark || second < kDark)
                    dark++;
            }
        whiteSamples[side] = samples;
        whiteDark[side] = dark;
        whiteMean[side] = sum / samples;
    }
    cardVariant = 0;
    const bool white = (whiteDark[0] < kDarkOneSide || whiteDark[1] < kDarkOneSide) &&
                       whiteDark[0] + whiteDark[1] <= kDarkBothSides && whiteMean[0] >= kWhiteMinMean &&
                       whiteMean[1] >= kWhiteMinMean;
    if (white) {
        // The code stays until the card's barcode has been read.
        cardClass = 0;
        return 0;
    }
    cardClass = -1;
    cardCode = 0;
    return -1;
}

void ImageProcessor::RgbResp(ConstColourView rgbr, ResponseTable &raw) {
    // At most column 1719 is read, whatever the leading edge.
    const int firstColumn = CardColumn(rgbr) + kRawColumnOffset;
    for (int row = 0; row < kSensorRows; row++) {
        const PixelSums sums =
            SumPixels(rgbr.Pixel(row, firstColumn), kRawColumnStep, kRawSamples, ToNextRow(rgbr, row));
        for (int k = 0; k < 3; k++)
            responseSums[k][row] = sums.channel[k];
    }
    for (int k = 0; k < 3; k++) {
        const int32_t *sums = responseSums[k];
        for (int row = 1; row < kLastRow; row++)
            raw[k][row] =
                static_cast<uint8_t>((sums[row - 1] + 2 * sums[row] + sums[row + 1]) / (4 * kRawSamples));
        raw[k][0] = static_cast<uint8_t>(sums[0] / kRawSamples);
        raw[k][kLastRow] = static_cast<uint8_t>(sums[kLastRow] / kRawSamples);
    }
}

void ImageProcessor::RgbCorResp(ConstColourView rgbc, ResponseTable &corrected) {
    for (int row = 0; row < kSensorRows; row++) {
        const PixelSums sums =
            SumPixels(rgbc.Pixel(row, kCorColumn), kCorColumnStep, kCorSamples, ToNextRow(rgbc, row));
        for (int k = 0; k < 3; k++)
            corrected[k][row] = static_cast<uint8_t>(sums.channel[2 - k] / kCorSamples);
    }
}

} // namespace k274
