// Levels of the infrared and ultraviolet images, and the card's length over all three passes.
#include "src/capture/measure.h"
#include "tests/support/grey_images.h"

#include <gtest/gtest.h>

namespace k274 {
namespace {

TEST(IrUvLevelsTest, TruncatedMeansOfTheSampledPixelsAlone) {
    GreyImage infrared(255);
    ColourImage ultraviolet = UvImage(255);
    for (const int side : {0, 1}) {
        const auto level = static_cast<uint8_t>(100 + side);
        for (int row = 25; row <= 1120; row += 5)
            for (int column = 200; column <= 2095; column += 5)
                infrared.At(row + 1350 * side, column) = level;
        for (int line = 200; line <= 996; line += 4)
            for (int pixel = 25; pixel <= 570; pixel += 5)
                ultraviolet.Fill(line, line, pixel + 750 * side, pixel + 750 * side, level);
    }
    infrared.At(1120, 2095) = ultraviolet.At(996, 570)[2] = 99;
    EXPECT_EQ(IrLevels(infrared.View()).front, 99);
    EXPECT_EQ(IrLevels(infrared.View()).back, 101);
    EXPECT_EQ(UvLevels(ultraviolet.View()).front, 99);
    EXPECT_EQ(UvLevels(ultraviolet.View()).back, 101);
}

TEST(LengthCheckTest, ThreePasses) {
    const struct {
        int ir[2], uv[2]; // bright columns or lines, both ends included
        float irLength, uvLength;
        bool mismatch;
    } cases[] = {
        // An edge is the first dark column or line. Visible light tells the nominal length.
        {{151, 2174}, {81, 1091}, 2025, 1012, false},
        {{151, 2124}, {81, 1091}, 1975, 1012, false}, // 2.5 percent short
        {{151, 2121}, {81, 1091}, 1972, 1012, true},  // 2.6 percent short
        {{151, 2174}, {61, 1098}, 2025, 1039, true},
        // No card at line 135 or 1040: a usual end is taken.
        {{151, 2174}, {500, 501}, 2025, 1005, false},
        {{151, 2174}, {0, 1199}, 2025, 1105, true},
    };
    ColourImage visible(10);
    visible.Fill(0, 1349, 201, 2055, 11);
    for (const auto &c : cases) {
        ColourImage ultraviolet = UvImage(5);
        GreyImage infrared(10);
        for (int row = 0; row < 1350; row++)
            std::fill(&infrared.At(row, c.ir[0]), &infrared.At(row, c.ir[1]) + 1, 11);
        ultraviolet.Fill(c.uv[0], c.uv[1], 0, 683, 6);
        const LengthResults result = LengthCheck(visible.View(), infrared.View(), ultraviolet.View());
        EXPECT_EQ(result.rgb, 0.0F);
        EXPECT_EQ(result.ir, c.irLength / 2025.0F * 100.0F - 100.0F);
        EXPECT_EQ(result.uv, c.uvLength / 1012.0F * 100.0F - 100.0F);
        EXPECT_EQ(result.mismatch, c.mismatch);
    }
    // A line is an edge when that 9 before it, or those 8 and 16 behind it, are dark, too.
    ColourImage ultraviolet = UvImage(200);
    for (const auto &[first, last] : {std::pair{0, 80}, {100, 108}, {1060, 1067}, {1076, 1083}, {1100, 1199}})
        ultraviolet.Fill(first, last, 0, 1367, 0);
    EXPECT_EQ(LengthCheck(visible.View(), GreyImage(10).View(), ultraviolet.View()).uv,
              (1100.0F - 80.0F) / 1012.0F * 100.0F - 100.0F);
}

} // namespace
} // namespace k274
