#include "src/capture/rgb_gain.h"

#include "src/capture/gain_rows.h"

#include <cstring>

namespace k274 {

namespace {

// Columns of the white card that the reversed passes correct.
constexpr int kCalibrationColumns[2] = {1150, 2249}, kFactoryColumns[2] = {540, 1759};

} // namespace

void RgbIllumGain(ConstColourView raw, const RgbGains &gains, ColourView corrected) {
    for (int row = 0; row < kSensorRows; row++)
        GainRow(raw.Row(row), corrected.Row(row), 3 * raw.columns, GainPattern(gains[row]));
}

void CopyImage(ConstColourView from, ColourView to) { std::memcpy(to.data, from.data, from.Size()); }

void RgbWccGain(char kind, const RgbGains &gains, ColourView corrected) {
    const auto &columns = kind == 'V' ? kCalibrationColumns : kFactoryColumns;
    for (int row = 0; row < kSensorRows; row++) {
        uint8_t *span = corrected.Pixel(row, columns[0]);
        GainRow(span, span, 3 * (columns[1] - columns[0] + 1), GainPattern(gains[row]));
    }
}

} // namespace k274
