// Corrections, crops and lamp check of the ultraviolet image.
#include "tests/reference/formulas.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <tuple>

namespace k274 {
namespace {

uint16_t gains[kSensorRows];

TEST(UvTest, EveryCombinationOfOptionsEqualsTheLiteralLoops) {
    std::mt19937 random(8);
    for (uint16_t &gain : gains)
        gain = static_cast<uint16_t>(random() % 164);
    gains[700] = 65535;
    ColourImage source = UvImage().Randomize(6), before = UvImage().Randomize(7), plainSource = source;
    UvBrighten(source.View());
    reference::UvBrighten(plainSource.View());
    EXPECT_TRUE(source.bytes == plainSource.bytes);
    // So dark between the halves that black is no more than 40, and in one channel so bright that it is
    // 255.
    for (int row = 0; row < kUvLines; row++)
        for (int i = 0; i < 3 * 10; i++) {
            uint8_t &byte = source.At(row, 640)[i];
            byte = static_cast<uint8_t>(i % 3 == 2 ? 254 : byte % (20 + i % 3 * 20));
        }
    for (int bits = 0; bits < 16; bits++) {
        SCOPED_TRACE(bits);
        const UvOptions options{(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0, (bits & 8) != 0};
        ColourImage raw = source, plainRaw = source, corrected = before, plainCorrected = before;
        const UvMeasure measure = UvCorrect(options, gains, raw.View(), corrected.View());
        const UvMeasure plain = reference::UvCorrect(options, gains, plainRaw.View(), plainCorrected.View());
        EXPECT_TRUE(raw.bytes == plainRaw.bytes);
        EXPECT_TRUE(corrected.bytes == plainCorrected.bytes);
        EXPECT_EQ(measure.whiteRatio, plain.whiteRatio);
        EXPECT_EQ(measure.medianLevel, plain.medianLevel);
        EXPECT_EQ(measure.gain, plain.gain);
    }
}

TEST(UvTest, WhiteLevelMedianAndGain) {
    const std::tuple<uint8_t, uint8_t, int, int, int, float> cases[] = {
        {255, 100, 54510, 255, 255, 1.0F},
        {0, 76, 0, 76, 76, 2.9727F},
        {0, 75, 0, 75, 75, 3.0F},
        {0, 0, 0, 0, 0, 3.0F},
        // Of 163,530 bytes more than 32, 81 and 163 must be as bright: 11, 28 and 55 pixels.
        {200, 100, 10, 100, 100, 2.3222F},
        {200, 100, 27, 125, 100, 1.8998F},
        {200, 100, 28, 175, 100, 1.4034F},
        {200, 100, 55, 200, 100, 1.2444F}};
    for (const auto &[white, ground, whitePixels, uvWhite, median, gain] : cases) {
        ColourImage image = UvImage(255); // around the sampled pixels
        for (int row = 140, left = whitePixels; row < 1060; row += 4)
            for (int column = 40; column < 1328; column += 5)
                if (column < 651 || column > 759)
                    image.Fill(row, row, column, column, left-- > 0 ? white : ground);
        const UvMeasure measure = UvWhiteLevel(image.View());
        EXPECT_EQ(measure.uvWhite, uvWhite) << whitePixels;
        EXPECT_EQ(measure.medianLevel, median) << whitePixels;
        EXPECT_NEAR(measure.gain, gain, 0.0005) << whitePixels;
    }
}

TEST(UvTest, BlackTable) {
    const std::tuple<int, float, std::vector<std::pair<size_t, int>>> cases[] = {
        {1, 1.9F, {{0, 0}, {1, 0}, {254, 253}, {255, 255}}},
        {10, 2.0F, {{9, 2}, {10, 2}, {11, 3}, {254, 252}, {255, 255}}},
        {200, 3.0F, {{23, 5}, {24, 6}, {25, 7}, {254, 252}, {255, 255}}}};
    for (const auto &[median, gain, tones] : cases)
        for (const auto &[from, to] : tones)
            EXPECT_EQ(UvBlackTable(median, gain)[from], to) << median << ' ' << from;
}

TEST(UvTest, CropsAtEveryEdgeRow) {
    ColourImage corrected = UvImage().Randomize(9), image(K274_UV_HEIGHT, K274_UV_WIDTH, 77), plain = image;
    for (const int frontEdgeRow : {1134, 1168, 1234, 0, -1, -900, 2599, 4000}) {
        UvCropFront(corrected.View(), frontEdgeRow, image.View());
        reference::UvCropFront(corrected.View(), frontEdgeRow, plain.View());
        EXPECT_TRUE(image.bytes == plain.bytes) << frontEdgeRow;
    }
    UvCropBack(corrected.View(), image.View());
    reference::UvCropBack(corrected.View(), plain.View());
    EXPECT_TRUE(image.bytes == plain.bytes);
}

TEST(UvTest, LampCheckCountsLitPixels) {
    ColourImage image(K274_UV_HEIGHT, K274_UV_WIDTH, 4);
    EXPECT_EQ(UvLedCheck(image.View()), 0.0F);
    for (int i = 0; i < 118; i++)
        image.At(80, 40 + 8 * i)[0] = 5;
    image.At(560, 976)[0] = 255;
    image.At(561, 976)[0] = 255;
    EXPECT_EQ(UvLedCheck(image.View()), 119 * 100.0F / (61 * 118));
}

} // namespace
} // namespace k274
