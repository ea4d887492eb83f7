// Levels, card size and card length on drawn images.
#include "src/capture/measure.h"

#include "tests/support/data.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

namespace k274 {
namespace {

TEST(LevelsTest, TruncatedMeansOfTheSampledPixelsAlone) {
    ColourImage visible = ColourImage().Randomize(5);
    GreyImage infrared(255);
    ColourImage ultraviolet = UvImage(255);
    for (const int side : {0, 1}) {
        const auto level = static_cast<uint8_t>(100 + side);
        for (int row = 25 + 1350 * side; row <= 1120 + 1350 * side; row += 5)
            for (int column = 200; column <= 2095; column += 5) {
                *infrared.At(row, column) = level;
                visible.Fill(row, row, column, column, level);
            }
        for (int line = 200; line <= 996; line += 4)
            for (int pixel = 25 + 750 * side; pixel <= 570 + 750 * side; pixel += 5)
                ultraviolet.Fill(line, line, pixel, pixel, level);
    }
    *visible.At(25, 200) = *infrared.At(1120, 2095) = ultraviolet.At(996, 570)[2] = 99;
    for (const Levels &levels :
         {RgbLevels(visible.View()), IrLevels(infrared.View()), UvLevels(ultraviolet.View())}) {
        EXPECT_EQ(levels.front, 99);
        EXPECT_EQ(levels.back, 101);
    }
}

// Upper edge, back offset, width, heights of front and back.
std::vector<int32_t> Measured(const CardMeasure &card) {
    return {card.top, card.backOffset, card.width, card.frontHeight, card.backHeight};
}
using Values = std::vector<int32_t>;

TEST(MeasureCardTest, CardsAndSearchesThatRunOut) {
    ColourImage image(5);
    EXPECT_EQ(Measured(MeasureCard(image.View())), (Values{60, 60, 1950 - 350, 1140 - 60, 2500 - 1410}));
    image.Fill(21, 1179, 101, 1970, 150);
    image.Fill(1371, 2529, 101, 1970, 150);
    const CardMeasure card = MeasureCard(image.View());
    EXPECT_EQ(Measured(card), (Values{20, 20, 1970 - 101, 1160, 1160}));
    EXPECT_FLOAT_EQ(card.aspectDeviation, (1160 / 2.125F) / (1869 / 3.375F) - 1.0F);
    EXPECT_EQ(Measured(MeasureCard(ColourImage(200).View())), (Values{0, 0, 2200, 1200, 2560 - 1350}));
}

TEST(MeasureCardTest, ThresholdsAndChannels) {
    ColourImage image(200);
    // Columns: six greens of 15 are not enough for the leading edge, of 12.5 for the trailing one.
    for (const int row : {100, 300, 500, 700, 900, 1100}) {
        image.FillChannel(row, row, 50, 349, 1, 15);
        image.FillChannel(row, row, 1951, 2250, 1, row > 500 ? 13 : 12);
    }
    // Above the card: blue at column 800 and red at column 799, both below 96; below it blue and green at
    // column 800.
    const int pixels[][4] = {{1100, 120, 1, 16}, {300, 2000, 1, 13}, {40, 800, 0, 95},   {40, 799, 2, 96},
                             {30, 800, 0, 95},   {30, 799, 2, 95},   {1150, 800, 0, 95}, {1150, 800, 2, 95},
                             {1160, 800, 0, 95}, {1160, 800, 1, 95}, {1360, 800, 0, 0},  {1360, 799, 2, 0},
                             {2555, 800, 0, 0},  {2555, 800, 1, 0}};
    for (const auto &[row, column, channel, value] : pixels)
        image.At(row, column)[channel] = static_cast<uint8_t>(value);
    EXPECT_EQ(Measured(MeasureCard(image.View())), (Values{30, 10, 2000 - 120, 1160 - 30, 2555 - 1360}));
}

float Deviation(int length, int nominal) {
    return static_cast<float>(length) / static_cast<float>(nominal) * 100.0F - 100.0F;
}

TEST(LengthCheckTest, VisibleLightAlone) {
    for (const auto &row : Table("capture/length_rgb.txt")) {
        ColourImage image(10);
        const std::vector<int> bright = Ints(row[1]);
        for (size_t i = 0; i < bright.size(); i += 2)
            image.Fill(0, 1349, bright[i], bright[i + 1], 11);
        const LengthResult result = RgbLengthCheck(image.View());
        EXPECT_EQ(result.deviation, Deviation(Ints(row[2])[0], 1856)) << row[0];
        EXPECT_EQ(result.mismatch, row[3] == "1") << row[0];
    }
    // 105 rows of three channels at 11 make no dark column; one count less does.
    ColourImage image(11);
    image.Fill(0, 1349, 200, 200, 0);
    EXPECT_FLOAT_EQ(RgbLengthCheck(image.View()).deviation, Deviation(2200, 1856));
    image.At(500, 191)[1] = 10;
    EXPECT_FLOAT_EQ(RgbLengthCheck(image.View()).deviation, Deviation(2050, 1856));
}

TEST(LengthCheckTest, ThreePasses) {
    ColourImage visible(10);
    visible.Fill(0, 1349, 201, 2055, 11);
    for (const auto &row : Table("capture/length_passes.txt")) {
        const std::vector<int> columns = Ints(row[0]), lines = Ints(row[1]), lengths = Ints(row[2]);
        ColourImage ultraviolet = UvImage(5);
        GreyImage infrared(10);
        infrared.Fill(0, 1349, columns[0], columns[1], 11);
        for (size_t i = 0; i < lines.size(); i += 2)
            ultraviolet.Fill(lines[i], lines[i + 1], 0, 683, 6);
        const LengthResults result = LengthCheck(visible.View(), infrared.View(), ultraviolet.View());
        EXPECT_EQ(result.rgb, 0.0F);
        EXPECT_EQ(result.ir, Deviation(lengths[0], 2025)) << row[0];
        EXPECT_EQ(result.uv, Deviation(lengths[1], 1012)) << row[1];
        EXPECT_EQ(result.mismatch, row[3] == "1") << row[0] << ", " << row[1];
    }
}

} // namespace
} // namespace k274
