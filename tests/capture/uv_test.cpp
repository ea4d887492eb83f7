// White level, black table and lamp check of the ultraviolet image.
#include "src/capture/uv_crop.h"
#include "src/capture/uv_tones.h"
#include "tests/support/data.h"
#include "tests/support/images.h"

#include "include/k274.h"

#include <gtest/gtest.h>

#include <tuple>

namespace k274 {
namespace {

TEST(UvTest, WhiteLevelMedianAndGain) {
    for (const auto &row : Table("capture/uv_white.txt")) {
        const std::vector<int> shown = Ints(row[0]), levels = Ints(row[1]);
        ColourImage image = UvImage(255); // around the sampled pixels
        for (int line = 140, left = shown[2]; line < 1060; line += 4)
            for (int column = 40; column < 1328; column += 5)
                if (column < 651 || column > 759)
                    image.Fill(line, line, column, column, static_cast<uint8_t>(shown[left-- > 0 ? 0 : 1]));
        const UvMeasure measure = UvWhiteLevel(image.View());
        EXPECT_EQ(measure.uvWhite, levels[0]) << row[0];
        EXPECT_EQ(measure.medianLevel, levels[1]) << row[0];
        EXPECT_EQ(measure.whiteRatio, static_cast<float>(levels[0]) / 255.0F);
        EXPECT_NEAR(measure.gain, std::stof(row[2]), 0.0005) << row[0];
    }
}

// One bright line or column tells by itself whether it is sampled.
TEST(UvTest, WhiteLevelLooksBesideTheGapOfTheSensor) {
    const std::pair<int, bool> lines[] = {{136, false}, {140, true}, {1056, true}, {1060, false}};
    const std::pair<int, bool> columns[] = {{35, false},  {40, true},  {650, true},  {655, false},
                                            {755, false}, {760, true}, {1325, true}, {1330, false}};
    const auto expectLevel = [](int firstLine, int lastLine, int firstColumn, int lastColumn, bool sampled) {
        ColourImage image = UvImage(100);
        image.Fill(firstLine, lastLine, firstColumn, lastColumn, 200);
        EXPECT_EQ(UvWhiteLevel(image.View()).uvWhite, sampled ? 200 : 100) << firstLine << ' ' << firstColumn;
    };
    for (const auto &[line, sampled] : lines)
        expectLevel(line, line, 0, kUvPixels - 1, sampled);
    for (const auto &[column, sampled] : columns)
        expectLevel(0, kUvLines - 1, column, column, sampled);
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
