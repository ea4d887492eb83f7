// Formulas that several passes share.
#pragma once

#include "src/capture/stretch.h"
#include "tests/reference/formulas.h"

#include <algorithm>

namespace k274::reference {

inline uint8_t Gained(uint8_t value, uint32_t gain, int shift) {
    return static_cast<uint8_t>(std::min<uint32_t>(255, (value * gain) >> shift));
}

/// Lines of a block and of a scan, columns of line 0 (green) on the front and on the back.
struct LineGeometry {
    int lines, first, last, front, back;
};

/// Device lines (red, green, blue) to columns (blue, green, red), the colours four columns apart.
template <int Channels>
void LineStore(const uint8_t *block, int number, const LineGeometry &geometry,
               ImageView<uint8_t, Channels> raw) {
    const auto store = [&](int row, int64_t column, int k, const uint8_t *pixel) {
        if (column >= 0 && column < raw.columns)
            raw.Pixel(row, static_cast<int>(column))[k] = pixel[Channels - 1 - k];
    };
    for (int i = 0; i < geometry.lines; i++) {
        const int64_t n = int64_t{number} + i;
        if (n < geometry.first || n > geometry.last)
            continue;
        const uint8_t *line = block + i * 2720 * Channels;
        for (int p = 0; p < 1350; p++)
            for (int k = 0; k < Channels; k++) {
                const int shift = Channels == 3 ? 4 * (k - 1) : 0;
                store(p, geometry.front - n - shift, k, line + p * Channels);
                store(2699 - p, geometry.back + n + shift, k, line + (1328 + p) * Channels);
            }
    }
}

/// Two rows of a crop, weighted.
template <int Channels>
void Stretch(ImageView<uint8_t, Channels> crop, const StretchEntry *table, ImageView<uint8_t, Channels> out) {
    Fill(out, [&](int i, int c, int k) {
        const StretchEntry &e = table[i];
        return (crop.Pixel(e.a, c)[k] * e.wA + crop.Pixel(e.b, c)[k] * e.wB) >> 8;
    });
}

/// Sums along every sensor row.
using RowSums = int32_t[3][kSensorRows];
template <int Channels>
void SumRows(ImageView<const uint8_t, Channels> image, int first, int end, int step, RowSums &sums) {
    for (int r = 0; r < kSensorRows; r++)
        for (int k = 0; k < Channels; k++)
            sums[k][r] = 0;
    for (int r = 0; r < kSensorRows; r++)
        for (int c = first; c < end; c += step)
            for (int k = 0; k < Channels; k++)
                sums[k][r] += image.Pixel(r, c)[k];
}

/// Means over three neighbouring rows of 250 samples each, the middle one counted twice.
inline void Smooth(const int32_t (&sums)[kSensorRows], uint8_t (&means)[kSensorRows]) {
    for (int r = 1; r <= 2698; r++)
        means[r] = static_cast<uint8_t>((sums[r - 1] + 2 * sums[r] + sums[r + 1]) / 1000);
}

} // namespace k274::reference
