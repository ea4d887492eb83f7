// Length of the card along its travel, told by where the columns of a raw image turn dark on either side.
// The same for every light whose image has one column a scan line.
#pragma once

#include "src/common/find_from.h"
#include "src/common/view.h"

#include <array>
#include <cstdint>

namespace k274 {

/// The card's length in scan columns, 1700 to 2200 about; 2200 when the image never turns dark.
template <int Channels>
int32_t ScanLength(ImageView<const uint8_t, Channels> raw) {
    constexpr int kFirstRow = 50, kLastRow = 1090, kRowStep = 10;
    constexpr int kLeftFrom = 300, kLeftNone = 50, kRightFrom = 2000, kRightNone = 2250;
    constexpr int kPartner = 9; // the column so much further out must be dark too
    constexpr int kDarkMean = 11;
    constexpr int kSamples = ((kLastRow - kFirstRow) / kRowStep + 1) * Channels;

    // Row by row, as the image lies in memory; of the columns only those that the searches reach.
    std::array<int32_t, kRightNone + kPartner> sums{};
    for (int row = kFirstRow; row <= kLastRow; row += kRowStep) {
        const uint8_t *bytes = raw.Row(row);
        const auto addColumns = [&](int first, int last) {
            for (int column = first; column <= last; column++)
                for (int channel = 0; channel < Channels; channel++)
                    sums[static_cast<size_t>(column)] += bytes[column * Channels + channel];
        };
        addColumns(kLeftNone + 1 - kPartner, kLeftFrom);
        addColumns(kRightFrom, kRightNone - 1 + kPartner);
    }
    const auto dark = [&](int column) { return sums[static_cast<size_t>(column)] < kDarkMean * kSamples; };

    const int left = FindFrom(kLeftFrom, kLeftNone, [&](int c) { return dark(c) && dark(c - kPartner); });
    const int right = FindFrom(kRightFrom, kRightNone, [&](int c) { return dark(c) && dark(c + kPartner); });
    return right - left;
}

/// Deviation of a length from the nominal one, percent.
inline float LengthDeviation(int32_t length, int32_t nominal) {
    return static_cast<float>(length) / static_cast<float>(nominal) * 100.0F - 100.0F;
}

} // namespace k274
