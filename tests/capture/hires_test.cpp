// The steps of the 1200-dpi passes.
#include "src/capture/hires.h"

#include "tests/reference/formulas.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace k274 {
namespace {

// Line store and turned image of 120 MB, filled with a long piece of noise over and over.
class Store {
public:
    explicit Store(uint32_t seed) {
        std::vector<uint8_t> noise(999'983);
        FillRandom(noise, seed);
        for (size_t at = 0; at < kBytes; at += noise.size())
            std::memcpy(&bytes_[at], noise.data(), std::min(noise.size(), kBytes - at));
    }
    ColourView Lines() { return {bytes_.get(), kHrLines, kHrPixels}; }
    ColourView Turned() { return {bytes_.get() + kHrImageBytes, kHrPixels, kHrLines}; }
    bool operator==(const Store &other) const {
        return std::memcmp(bytes_.get(), other.bytes_.get(), kBytes) == 0;
    }

private:
    static constexpr size_t kBytes = 2 * kHrImageBytes;
    std::unique_ptr<uint8_t[]> bytes_{new uint8_t[kBytes]};
};

struct HiresTest : testing::Test {
    HiresTest() {
        std::mt19937 random(3);
        for (auto &gain : gains)
            for (uint16_t &channel : gain)
                channel = static_cast<uint16_t>(random() % 4 ? random() % 400 : random() % 65536);
    }
    RgbGains gains;
    ColourImage front{2300, 1000, 9}, back{2300, 1000, 9};
};

TEST_F(HiresTest, EveryStepEqualsTheLiteralLoops) {
    Store store(1), plain(1);
    ColourImage plainFront = front, plainBack = back;
    for (const HrMode mode : {HrMode::Short, HrMode::Full}) {
        SCOPED_TRACE(mode == HrMode::Full);
        HrRealign(mode, store.Lines());
        reference::HrRealign(mode, plain.Lines());
        ASSERT_TRUE(store == plain);
        HrGain(mode, gains, store.Lines());
        reference::HrGain(mode, gains, plain.Lines());
        ASSERT_TRUE(store == plain);
        HrTurn(mode, store.Lines(), store.Turned());
        reference::HrTurn(mode, plain.Lines(), plain.Turned());
        ASSERT_TRUE(store == plain);
    }
    HrSplit(store.Turned(), front.View(), back.View());
    reference::HrSplit(plain.Turned(), plainFront.View(), plainBack.View());
    EXPECT_TRUE(front.bytes == plainFront.bytes);
    EXPECT_TRUE(back.bytes == plainBack.bytes);
}

// Where single bytes go, from the line that the scanner sent to the image that the host shows.
TEST_F(HiresTest, PixelsFindTheirPlaces) {
    Store store(2);
    const ColourView lines = store.Lines(), turned = store.Turned();
    std::memset(lines.data, 0, lines.Size());
    for (auto &gain : gains)
        std::fill(gain, gain + 3, uint16_t{64});
    gains[1249][0] = 32;    // pixels 2498 and 2499
    gains[2607][1] = 128;   // pixels 2500 and 2501
    gains[1358][2] = 65535; // pixels 4998 and 4999
    const struct {
        int line, pixel, channel;
        uint8_t sent;
        int row, column, shownChannel; // in the turned image of the short pass
        uint8_t shown;
    } cases[] = {
        {116, 2513, 2, 201, 2499, 939, 0, 100}, {108, 2514, 1, 200, 2500, 939, 1, 255},
        {100, 1014, 0, 77, 1000, 939, 2, 77},   {100, 13, 0, 78, 13, 939, 0, 78},
        {100, 4999, 2, 1, 4999, 939, 2, 255},   {16, 28, 2, 79, 14, 1039, 0, 79},
        {1038, 28, 0, 80, 14, 1, 2, 80},        {1017, 4999, 2, 1, 4999, 22, 2, 255},
        {1018, 4999, 2, 1, 4999, 21, 2, 1}, // no gain from here on
    };
    for (const auto &c : cases)
        lines.Pixel(c.line, c.pixel)[c.channel] = c.sent;
    for (int row = 0; row < kHrPixels; row++)
        for (const int column : {0, 1040})
            turned.Pixel(row, column)[0] = 9;
    HrRealign(HrMode::Short, lines);
    HrGain(HrMode::Short, gains, lines);
    HrTurn(HrMode::Short, lines, turned);
    for (const auto &c : cases)
        EXPECT_EQ(turned.Pixel(c.row, c.column)[c.shownChannel], c.shown) << c.line << ' ' << c.pixel;
    EXPECT_EQ(turned.Pixel(4321, 0)[0], 9) << "beside the short pass";
    EXPECT_EQ(turned.Pixel(4321, 1040)[0], 9);

    HrSplit(turned, front.View(), back.View());
    EXPECT_EQ(front.At(2289 - 1000, 939 - 30)[2], 77);
    EXPECT_EQ(front.At(2290, 0)[0] + front.At(2299, 999)[2], 0) << "black below the sensor's end";
    EXPECT_EQ(back.At(0, 0)[0] + back.At(2299, 0)[2], 0) << "black before the first line";

    lines.Pixel(0, 0)[0] = 81;
    HrTurn(HrMode::Full, lines, turned);
    EXPECT_EQ(turned.Pixel(0, 3999)[0], 81);
}

} // namespace
} // namespace k274
