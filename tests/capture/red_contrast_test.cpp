// The contrast table and the image made with it.
#include "src/capture/rgb_lines.h"
#include "tests/support/reference_rgb.h"
#include "tests/support/rgb_images.h"

#include <gtest/gtest.h>

namespace k274 {
namespace {

TEST(RedContrastTest, TableStretches16To96) {
    const ContrastTable table = BuildContrastTable();
    const struct {
        size_t value;
        int stretched;
    } cases[] = {{0, 0},    {15, 0},   {16, 1},   {17, 3},   {18, 6},
                 {56, 127}, {95, 251}, {96, 255}, {97, 255}, {255, 255}};
    for (const auto &c : cases)
        EXPECT_EQ(table[c.value], c.stretched) << c.value;
}

TEST(RedContrastTest, ImageEqualsThePlainLoops) {
    const size_t size = size_t{kSensorRows} * kRgbColumns;
    std::vector<uint8_t> red0(size), red1(size, 9), expected(size, 8);
    FillRandom(red0, 4);
    for (uint8_t &byte : red0)
        byte = static_cast<uint8_t>(byte >> 1); // most within the table's slope
    const ConstGreyView from{red0.data(), kSensorRows, kRgbColumns};
    const ContrastTable table = BuildContrastTable();
    RedContrast(table, from, {red1.data(), kSensorRows, kRgbColumns});
    reference::RedContrast(table, from, {expected.data(), kSensorRows, kRgbColumns});
    EXPECT_TRUE(red1 == expected);
}

} // namespace
} // namespace k274
