// Grey images for tests: owned, filled with a value or with random bytes.
#pragma once

#include "tests/support/rgb_images.h"

namespace k274 {

struct GreyImage {
    std::vector<uint8_t> bytes;
    int rows, columns;

    GreyImage(int imageRows, int imageColumns, uint8_t fill)
        : bytes(static_cast<size_t>(imageRows) * static_cast<size_t>(imageColumns), fill), rows(imageRows),
          columns(imageColumns) {}
    /// An infrared sensor image.
    explicit GreyImage(uint8_t fill = 0) : GreyImage(kSensorRows, kIrColumns, fill) {}

    GreyView View() { return {bytes.data(), rows, columns}; }
    uint8_t &At(int row, int column) { return *View().Pixel(row, column); }
};

/// An ultraviolet image as it is scanned.
inline ColourImage UvImage(uint8_t fill = 0) { return {kUvLines, kUvPixels, fill}; }

} // namespace k274
