// Blocks of device lines into the raw image, byte for byte what the plain loops leave.
#include "src/capture/rgb_lines.h"
#include "tests/support/reference_rgb.h"
#include "tests/support/rgb_images.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

namespace k274 {
namespace {

std::vector<uint8_t> RandomBlock(uint32_t seed) {
    std::vector<uint8_t> block(kRgbBlockBytes); // exactly: the address sanitizer sees any byte beyond
    FillRandom(block, seed);
    return block;
}

TEST(RgbStoreTest, EveryBlockNumberLeavesWhatThePlainLoopsLeave) {
    const int numbers[] = {INT_MIN, -12,  -8,   -7,   0,    3,    4,    5,    15,   16,   100,
                           1147,    1148, 2188, 2283, 2284, 2285, 2286, 2288, 2296, 2297, INT_MAX};
    ColourImage image, expected;
    FillRandom(image.bytes, 1);
    expected.bytes = image.bytes;
    for (const int linesLeft : numbers) {
        const std::vector<uint8_t> block = RandomBlock(static_cast<uint32_t>(linesLeft));
        RgbLineStore(block.data(), linesLeft, image.View());
        reference::RgbLineStore(block.data(), linesLeft, expected.View());
        ASSERT_TRUE(image.bytes == expected.bytes) << linesLeft;
    }
}

TEST(RgbStoreTest, WholePassLeavesWhatThePlainLoopsLeave) {
    ColourImage image(1), expected(1);
    for (int linesLeft = 2188; linesLeft >= 100; linesLeft -= kRgbLinesPerPacket) {
        const std::vector<uint8_t> block = RandomBlock(static_cast<uint32_t>(linesLeft));
        RgbLineStore(block.data(), linesLeft, image.View());
        reference::RgbLineStore(block.data(), linesLeft, expected.View());
    }
    EXPECT_TRUE(image.bytes == expected.bytes);
}

TEST(RgbStoreTest, ColoursOfOnePixelLandFourColumnsApart) {
    ColourImage image(1);
    std::vector<uint8_t> block(kRgbBlockBytes, 1);
    uint8_t *line2199 = block.data() + 11 * kRgbLineBytes;
    const uint8_t rgb[3] = {10, 20, 30};
    std::copy(rgb, rgb + 3, line2199);
    std::copy(rgb, rgb + 3, line2199 + 3 * 1328);
    RgbLineStore(block.data(), 2188, image.View());

    EXPECT_EQ(image.At(0, 96)[2], 10);
    EXPECT_EQ(image.At(0, 100)[1], 20);
    EXPECT_EQ(image.At(0, 104)[0], 30);
    EXPECT_EQ(image.At(2699, 2203)[2], 10);
    EXPECT_EQ(image.At(2699, 2199)[1], 20);
    EXPECT_EQ(image.At(2699, 2195)[0], 30);
    // Device pixel 1328 also is the front's row 1328: its bytes there, six in all.
    EXPECT_EQ(image.At(1328, 96)[2], 10);
    EXPECT_EQ(std::count(image.bytes.begin(), image.bytes.end(), 1),
              static_cast<ptrdiff_t>(image.bytes.size()) - 9);
}

} // namespace
} // namespace k274
