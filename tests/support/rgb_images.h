// Images of the visible-light pass for tests: owned, filled with a value or with random bytes.
#pragma once

#include "src/common/geometry.h"
#include "src/common/view.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace k274 {

struct ColourImage {
    std::vector<uint8_t> bytes;
    int rows, columns;

    ColourImage(int imageRows, int imageColumns, uint8_t fill)
        : bytes(static_cast<size_t>(imageRows) * static_cast<size_t>(imageColumns) * 3, fill),
          rows(imageRows), columns(imageColumns) {}
    /// A sensor image.
    explicit ColourImage(uint8_t fill = 0) : ColourImage(kSensorRows, kRgbColumns, fill) {}

    ColourView View() { return {bytes.data(), rows, columns}; }
    uint8_t *At(int row, int column) { return View().Pixel(row, column); }

    /// Sets all three channels of a box, both ends included.
    void Fill(int firstRow, int lastRow, int firstColumn, int lastColumn, uint8_t value) {
        for (int row = firstRow; row <= lastRow; row++)
            std::fill(At(row, firstColumn), At(row, lastColumn) + 3, value);
    }
};

inline void FillRandom(std::vector<uint8_t> &bytes, uint32_t seed) {
    std::mt19937 random(seed);
    for (uint8_t &byte : bytes)
        byte = static_cast<uint8_t>(random() >> 8);
}

} // namespace k274
