#include "src/analysis/dust.h"

#include "src/common/pixel_sums.h"

#include <algorithm>
#include <iterator>

namespace k274 {

namespace {

constexpr int kDustRows[2][2] = {{80, 1125}, {1400, 2500}}; // front and back, ends excluded
constexpr int kDustColumn = 50, kDustColumns = 50;
constexpr int kDustBlack = 2, kDustWhite = 24; // dust lies strictly between
constexpr int kDustSum = 100;                  // what a row must exceed

int DustOf(uint8_t value) { return value > kDustBlack && value < kDustWhite ? value : 0; }

} // namespace

void DustCheck(ConstColourView rgbr, ConstGreyView irr, ScanMeasures &measures) {
    int32_t(&counts)[4] = measures.dustPerChannel;
    std::fill(std::begin(counts), std::end(counts), 0);
    for (const auto &rows : kDustRows)
        for (int row = rows[0]; row < rows[1]; row++) {
            const uint8_t *colours = rgbr.Pixel(row, kDustColumn), *infrared = irr.Pixel(row, kDustColumn);
            // Some rows further on; the last ones are still within the image.
            constexpr int kRowsAhead = 8;
            FetchAhead(rgbr.Pixel(row + kRowsAhead, kDustColumn), 3 * kDustColumns);
            FetchAhead(irr.Pixel(row + kRowsAhead, kDustColumn), kDustColumns);
            int sums[4] = {};
            for (int i = 0; i < kDustColumns; i++) {
                for (int k = 0; k < 3; k++)
                    sums[k] += DustOf(colours[3 * i + k]);
                sums[3] += DustOf(infrared[i]);
            }
            for (int k = 0; k < 4; k++)
                counts[k] += sums[k] > kDustSum;
        }
    for (int32_t &count : counts)
        count = std::min(count, 255);
    measures.dustCount = *std::max_element(std::begin(counts), std::end(counts));
}

} // namespace k274
