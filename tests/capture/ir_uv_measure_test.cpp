// Levels of the infrared and ultraviolet images, and the card's length over all three passes.
#include "src/capture/measure.h"
#include "tests/support/grey_images.h"
#include "tests/support/reference_ir_uv.h"

#include <gtest/gtest.h>

namespace k274 {
namespace {

TEST(IrUvLevelsTest, EqualThePlainLoops) {
    GreyImage infrared;
    ColourImage ultraviolet = UvImage();
    FillRandom(infrared.bytes, 10);
    FillRandom(ultraviolet.bytes, 11);
    std::fill(infrared.bytes.begin() + 1350 * 2400, infrared.bytes.end(), 200);
    for (int row = 0; row < kUvLines; row++)
        ultraviolet.Fill(row, row, 684, 1367, 99);
    int front = 0, back = 0;
    reference::IrLevels(infrared.View(), front, back);
    EXPECT_EQ(IrLevels(infrared.View()).front, front);
    EXPECT_EQ(IrLevels(infrared.View()).back, back);
    reference::UvLevels(ultraviolet.View(), front, back);
    EXPECT_EQ(UvLevels(ultraviolet.View()).front, front);
    EXPECT_EQ(UvLevels(ultraviolet.View()).back, back);
}

// Bright columns or lines on dark ground, both ends included.
TEST(LengthCheckTest, ThreePasses) {
    const struct {
        const char *name;
        int rgb[2], ir[2], uv[2];
        float lengths[3];
        bool mismatch;
    } cases[] = {
        // An edge is the first dark column or line.
        {"nominal", {201, 2055}, {151, 2174}, {81, 1091}, {1856, 2025, 1012}, false},
        {"infrared 2.5 percent short", {201, 2055}, {151, 2124}, {81, 1091}, {1856, 1975, 1012}, false},
        {"infrared 2.6 percent short", {201, 2055}, {151, 2121}, {81, 1091}, {1856, 1972, 1012}, true},
        {"ultraviolet long", {201, 2055}, {151, 2174}, {61, 1098}, {1856, 2025, 1039}, true},
        {"all short alike", {201, 2037}, {151, 2154}, {81, 1081}, {1838, 2005, 1002}, false},
        // No card at line 135 or 1040: a usual one is taken.
        {"ultraviolet dark", {201, 2055}, {151, 2174}, {500, 501}, {1856, 2025, 1005}, false},
        {"ultraviolet bright", {201, 2055}, {151, 2174}, {0, 1199}, {1856, 2025, 1105}, true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ColourImage visible(10), ultraviolet = UvImage(5);
        GreyImage infrared(10);
        visible.Fill(0, 1349, c.rgb[0], c.rgb[1], 11);
        for (int row = 0; row < 1350; row++)
            std::fill(&infrared.At(row, c.ir[0]), &infrared.At(row, c.ir[1]) + 1, 11);
        ultraviolet.Fill(c.uv[0], c.uv[1], 0, 683, 6);
        const LengthResults result = LengthCheck(visible.View(), infrared.View(), ultraviolet.View());
        EXPECT_EQ(result.rgb, c.lengths[0] / 1856.0F * 100.0F - 100.0F);
        EXPECT_EQ(result.ir, c.lengths[1] / 2025.0F * 100.0F - 100.0F);
        EXPECT_EQ(result.uv, c.lengths[2] / 1012.0F * 100.0F - 100.0F);
        EXPECT_EQ(result.mismatch, c.mismatch);
    }
}

// A line is an edge when those 9 before it, or 8 and 16 behind it, are dark, too.
TEST(LengthCheckTest, UltravioletPartners) {
    ColourImage visible(10), ultraviolet = UvImage(200);
    GreyImage infrared(10);
    ultraviolet.Fill(0, 80, 0, 1367, 0);
    ultraviolet.Fill(100, 108, 0, 1367, 0);
    ultraviolet.Fill(1060, 1067, 0, 1367, 0);
    ultraviolet.Fill(1076, 1083, 0, 1367, 0);
    ultraviolet.Fill(1100, 1199, 0, 1367, 0);
    EXPECT_EQ(LengthCheck(visible.View(), infrared.View(), ultraviolet.View()).uv,
              (1100.0F - 80.0F) / 1012.0F * 100.0F - 100.0F);
}

} // namespace
} // namespace k274
