// Images for tests: owned, filled with a value or with random bytes.
#pragma once

#include "src/common/geometry.h"
#include "src/common/view.h"

#include <algorithm>
#include <random>
#include <vector>

namespace k274 {

inline void FillRandom(std::vector<uint8_t> &bytes, uint32_t seed) {
    std::mt19937 random(seed);
    for (uint8_t &byte : bytes)
        byte = static_cast<uint8_t>(random() >> 8);
}

/// A sensor image where no size is given.
template <typename ImageView, int kSensorColumns>
struct TestImage {
    std::vector<uint8_t> bytes;
    int rows, columns;

    TestImage(int imageRows, int imageColumns, uint8_t fill)
        : bytes(ImageView{nullptr, imageRows, imageColumns}.Size(), fill), rows(imageRows),
          columns(imageColumns) {}
    explicit TestImage(uint8_t fill = 0) : TestImage(kSensorRows, kSensorColumns, fill) {}

    ImageView View() { return {bytes.data(), rows, columns}; }
    uint8_t *At(int row, int column) { return View().Pixel(row, column); }

    /// Sets all channels of a box, both ends included.
    void Fill(int firstRow, int lastRow, int firstColumn, int lastColumn, uint8_t value) {
        for (int row = firstRow; row <= lastRow; row++)
            std::fill(At(row, firstColumn), At(row, lastColumn) + ImageView::kChannels, value);
    }
    TestImage &Randomize(uint32_t seed) {
        FillRandom(bytes, seed);
        return *this;
    }
    bool operator==(const TestImage &other) const { return bytes == other.bytes; }
};
using ColourImage = TestImage<ColourView, kRgbColumns>;
using GreyImage = TestImage<GreyView, kIrColumns>;

/// An ultraviolet image as it is scanned.
inline ColourImage UvImage(uint8_t fill = 0) { return {kUvLines, kUvPixels, fill}; }

} // namespace k274
