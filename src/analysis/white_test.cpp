#include "src/analysis/white_test.h"

namespace k274 {

namespace {

constexpr int kWhiteRows[2] = {150, 1500}, kWhiteRowEnd[2] = {950, 2300}, kWhiteRowStep = 8;
constexpr int kWhiteColumn = 650, kWhiteColumnEnd = 1650, kWhiteColumnStep = 10;
constexpr int kWhiteChannels[2][2] = {{0, 2}, {1, 2}}; // front blue and red, back green and red
constexpr int kDark = 64;
constexpr int kDarkStop = 250;     // more dark samples end a side's count early
constexpr int kDarkOneSide = 26;   // one side must stay below
constexpr int kDarkBothSides = 75; // both together must not exceed
constexpr int kWhiteMinMean = 80;

} // namespace

bool WhiteTest(ConstColourView rgbr, ScanMeasures &measures) {
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
        measures.whiteSamples[side] = samples;
        measures.whiteDark[side] = dark;
        measures.whiteMean[side] = sum / samples;
    }
    const int32_t(&dark)[2] = measures.whiteDark, (&mean)[2] = measures.whiteMean;
    const bool white = (dark[0] < kDarkOneSide || dark[1] < kDarkOneSide) &&
                       dark[0] + dark[1] <= kDarkBothSides && mean[0] >= kWhiteMinMean &&
                       mean[1] >= kWhiteMinMean;
    measures.cardVariant = 0;
    measures.cardClass = white ? 0 : -1;
    // The code of a white card stays until its barcode has been read.
    if (!white)
        measures.cardCode = 0;
    return white;
}

} // namespace k274
