#include "src/analysis/ir_profiles.h"

#include "src/common/pixel_sums.h"

#include <algorithm>

namespace k274 {

namespace {

constexpr int kIrRow = 3;
constexpr int kIrColumn = 500, kIrColumnStep = 4, kIrSamples = 250;

void SumColumns(ConstGreyView image, int32_t (&sums)[kSensorRows]) {
    for (int row = 0; row < kSensorRows; row++) {
        FetchAhead(image.Pixel(std::min(row + 1, kSensorRows - 1), kIrColumn), kIrColumnStep * kIrSamples);
        sums[row] = SumBytes<kIrColumnStep>(image.Pixel(row, kIrColumn), kIrSamples);
    }
}

} // namespace

void IrResp(ConstGreyView irr, ConstGreyView irc, ResponseTable &raw, ResponseTable &corrected) {
    int32_t sums[kSensorRows];
    SumColumns(irr, sums);
    // The entries at both ends keep what they hold.
    for (int row = 1; row < kSensorRows - 1; row++)
        raw[kIrRow][row] =
            static_cast<uint8_t>((sums[row - 1] + 2 * sums[row] + sums[row + 1]) / (4 * kIrSamples));
    SumColumns(irc, sums);
    for (int row = 0; row < kSensorRows; row++)
        corrected[kIrRow][row] = static_cast<uint8_t>(sums[row] / kIrSamples);
}

} // namespace k274
