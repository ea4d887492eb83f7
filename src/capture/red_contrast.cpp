// The red image as the barcode reader wants it: smoothed along the sensor, contrast stretched.
#include "src/capture/red_contrast.h"

#include "src/common/byte_map.h"

#include <algorithm>
#include <cstring>

namespace k274 {

namespace {

constexpr int kLow = 16, kHigh = 96; // brightness that becomes black and white
constexpr int kFirstRow = 2, kEndRow = 2560, kGapFirstRow = 1175, kGapEndRow = 1350;
constexpr int kFirstColumn = 150, kEndColumn = 2150;

void StretchRows(const ContrastTable &table, ConstGreyView red0, GreyView red1, int firstRow, int endRow) {
    for (int row = firstRow; row < endRow; row++) {
        const uint8_t *above = red0.Row(row - 1), *here = red0.Row(row), *below = red0.Row(row + 1);
        uint8_t *out = red1.Row(row);
        for (int c = kFirstColumn; c < kEndColumn; c++)
            out[c] = static_cast<uint8_t>(static_cast<uint16_t>(above[c] + 2 * here[c] + below[c]) >> 2);
        MapBytes(table, out + kFirstColumn, kEndColumn - kFirstColumn, out + kFirstColumn);
    }
}

} // namespace

ContrastTable BuildContrastTable() {
    constexpr float kFactor = 255.0F / (kHigh - kLow);
    ContrastTable table{};
    for (int v = kLow; v < 256; v++)
        table[static_cast<size_t>(v)] =
            static_cast<uint8_t>(std::min(255.0F, static_cast<float>(v - kLow) * kFactor));
    table[kLow] = 1;
    return table;
}

void RedContrast(const ContrastTable &table, ConstGreyView red0, GreyView red1) {
    std::memcpy(red1.data, red0.data, red0.Size());
    StretchRows(table, red0, red1, kFirstRow, kGapFirstRow);
    StretchRows(table, red0, red1, kGapEndRow, kEndRow);
}

} // namespace k274
