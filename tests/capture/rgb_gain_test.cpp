// Fixed-point gains over rows and whole images.
#include "src/capture/gain_rows.h"
#include "src/capture/rgb_lines.h"
#include "tests/support/reference_rgb.h"
#include "tests/support/rgb_images.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace k274 {
namespace {

struct Gains {
    RgbGains rows;
};

std::unique_ptr<Gains> RandomGains() {
    auto gains = std::make_unique<Gains>();
    std::mt19937 random(7);
    for (auto &row : gains->rows)
        for (uint16_t &gain : row)
            gain = static_cast<uint16_t>(random() % 327);
    return gains;
}

TEST(GainRowTest, EveryByteWithEveryGain) {
    // 256 pixels, and one more so that a part of a pattern is left over.
    std::vector<uint8_t> from(3 * 257), fast(from.size()), portable(from.size());
    for (size_t i = 0; i < from.size(); i++)
        from[i] = static_cast<uint8_t>(i / 3);
    for (uint32_t gain = 0; gain <= 65535; gain += 3) {
        const uint16_t gains[3] = {static_cast<uint16_t>(gain), static_cast<uint16_t>(gain + 1),
                                   static_cast<uint16_t>(gain + 2)};
        const GainPattern pattern(gains);
        GainRow(from.data(), fast.data(), static_cast<int>(from.size()), pattern);
        GainRowPortable(from.data(), portable.data(), static_cast<int>(from.size()), pattern);
        for (size_t i = 0; i < from.size(); i++) {
            const uint32_t expected = std::min<uint32_t>(255, (uint32_t{from[i]} * gains[i % 3]) >> 7);
            if (fast[i] != expected || portable[i] != expected)
                FAIL() << int{from[i]} << " x " << gains[i % 3] << ": " << int{fast[i]} << ", "
                       << int{portable[i]} << " instead of " << expected;
        }
    }
}

TEST(GainRowTest, WritesNothingBehindTheRow) {
    const uint16_t gains[3] = {326, 128, 64};
    std::vector<uint8_t> row(200, 100);
    for (int bytes = 0; bytes <= 150; bytes++) {
        std::vector<uint8_t> fast(200, 7), portable(200, 7);
        GainRow(row.data(), fast.data(), bytes, GainPattern(gains));
        GainRowPortable(row.data(), portable.data(), bytes, GainPattern(gains));
        ASSERT_EQ(std::count(fast.begin() + bytes, fast.end(), 7), 200 - bytes);
        ASSERT_EQ(fast, portable);
    }
}

TEST(RgbGainTest, ImageEqualsThePlainLoopsApartAndInPlace) {
    const auto gains = RandomGains();
    ColourImage raw, corrected, expected;
    FillRandom(raw.bytes, 2);
    reference::CopyImage(raw.View(), expected.View());
    reference::RgbIllumGain(gains->rows, expected.View());
    RgbIllumGain(raw.View(), gains->rows, corrected.View());
    EXPECT_TRUE(corrected.bytes == expected.bytes);

    CopyImage(raw.View(), corrected.View());
    ASSERT_TRUE(corrected.bytes == raw.bytes);
    RgbIllumGain(corrected.View(), gains->rows, corrected.View());
    EXPECT_TRUE(corrected.bytes == expected.bytes);
}

TEST(RgbGainTest, WhiteCardGainStaysWithinTheCardsColumns) {
    const auto gains = RandomGains();
    ColourImage corrected, expected;
    FillRandom(corrected.bytes, 3);
    expected.bytes = corrected.bytes;
    for (const char kind : {'V', 'f'}) {
        RgbWccGain(kind, gains->rows, corrected.View());
        reference::RgbWccGain(kind, gains->rows, expected.View());
        EXPECT_TRUE(corrected.bytes == expected.bytes) << kind;
    }
}

} // namespace
} // namespace k274
