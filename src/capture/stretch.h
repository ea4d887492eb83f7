// Stretching of the infrared and ultraviolet images along the card's width: every row of an image is the
// weighted mean of two neighbouring rows of the crop.
#pragma once

#include "include/k274.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace k274 {

/// Two crop rows and their weights, which add up to 256.
struct StretchEntry {
    uint16_t a, wA, b, wB;
};

template <size_t Rows>
using StretchTable = std::array<StretchEntry, Rows>;

/// Spreads the crop's rows from `firstRow` to its last one, Rows - 1, over all rows of the image.
template <size_t Rows>
constexpr StretchTable<Rows> MakeStretchTable(int firstRow) {
    constexpr int kLast = static_cast<int>(Rows) - 1;
    StretchTable<Rows> table{};
    for (int i = 0; i <= kLast; i++) {
        const float position =
            static_cast<float>(i) * static_cast<float>(kLast - firstRow) / static_cast<float>(kLast) +
            static_cast<float>(firstRow);
        const auto a = static_cast<uint16_t>(position);
        const auto wB = static_cast<uint16_t>((position - static_cast<float>(a)) * 255.0F);
        table[static_cast<size_t>(i)] = {a, static_cast<uint16_t>(256 - wB), static_cast<uint16_t>(a + 1),
                                         wB};
    }
    // Behind the last row there is none.
    table[Rows - 1].b = static_cast<uint16_t>(kLast);
    table[Rows - 1].wB = 0;
    return table;
}

/// The card's 1180 or 590 rows end the crop.
inline constexpr StretchTable<K274_IR_HEIGHT> kIrStretch = MakeStretchTable<K274_IR_HEIGHT>(106);
inline constexpr StretchTable<K274_UV_HEIGHT> kUvStretch = MakeStretchTable<K274_UV_HEIGHT>(53);

/// Mean of the entry's two rows, byte by byte.
void StretchRow(const uint8_t *a, const uint8_t *b, const StretchEntry &entry, int bytes, uint8_t *out);

} // namespace k274
