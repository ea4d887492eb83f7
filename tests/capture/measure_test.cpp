// Levels, card size and card length on drawn images.
#include "src/capture/measure.h"

#include "tests/reference/formulas.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <tuple>

namespace k274 {
namespace {

TEST(LevelsTest, TruncatedMeansOfTheSampledPixelsAlone) {
    ColourImage visible = ColourImage().Randomize(5);
    const Levels expected = reference::RgbLevels(visible.View());
    EXPECT_EQ(RgbLevels(visible.View()).front, expected.front);
    EXPECT_EQ(RgbLevels(visible.View()).back, expected.back);

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

void ExpectCard(const CardMeasure &card, int top, int backOffset, int width, int frontHeight,
                int backHeight) {
    EXPECT_EQ(card.top, top);
    EXPECT_EQ(card.backOffset, backOffset);
    EXPECT_EQ(card.width, width);
    EXPECT_EQ(card.frontHeight, frontHeight);
    EXPECT_EQ(card.backHeight, backHeight);
}

TEST(MeasureCardTest, CardsAndSearchesThatRunOut) {
    ColourImage image(5);
    ExpectCard(MeasureCard(image.View()), 60, 60, 1950 - 350, 1140 - 60, 2500 - 1410);
    image.Fill(21, 1179, 101, 1970, 150);
    image.Fill(1371, 2529, 101, 1970, 150);
    const CardMeasure card = MeasureCard(image.View());
    ExpectCard(card, 20, 20, 1970 - 101, 1160, 1160);
    EXPECT_FLOAT_EQ(card.aspectDeviation, (1160 / 2.125F) / (1869 / 3.375F) - 1.0F);
    ExpectCard(MeasureCard(ColourImage(200).View()), 0, 0, 2250 - 50, 1200, 2560 - 1350);
}

TEST(MeasureCardTest, ThresholdsAndChannels) {
    ColourImage image(200);
    const auto set = [&](int row, int column, int channel, uint8_t value) {
        image.At(row, column)[channel] = value;
    };
    // Above the card: blue at column 800 and red at column 799, both below 96.
    set(40, 800, 0, 95), set(40, 799, 2, 96);
    set(30, 800, 0, 95), set(30, 799, 2, 95);
    // Below it: blue and green at column 800.
    set(1150, 800, 0, 95), set(1150, 800, 2, 95);
    set(1160, 800, 0, 95), set(1160, 800, 1, 95);
    set(1360, 800, 0, 0), set(1360, 799, 2, 0);
    set(2555, 800, 0, 0), set(2555, 800, 1, 0);
    // Columns: six greens of 15 are not enough for the leading edge, of 12.5 for the trailing one.
    for (const int row : {100, 300, 500, 700, 900, 1100}) {
        for (int column = 50; column < 350; column++)
            set(row, column, 1, 15);
        for (int column = 2250; column > 1950; column--)
            set(row, column, 1, row > 500 ? 13 : 12);
    }
    set(1100, 120, 1, 16), set(300, 2000, 1, 13);
    ExpectCard(MeasureCard(image.View()), 30, 10, 2000 - 120, 1160 - 30, 2555 - 1360);
}

struct Span {
    int first, last; // both ends included
};

TEST(LengthCheckTest, VisibleLightAlone) {
    const std::tuple<const char *, std::vector<Span>, float, bool> cases[] = {
        // The edge is the first dark column whose partner nine columns further out is dark as well.
        {"nominal", {{201, 2055}}, 1856, false},
        {"short", {{301, 2000}}, 1701, false},
        {"2.0 percent is allowed", {{201, 2092}}, 1893, false},
        {"1,900 columns", {{151, 2049}}, 1900, true},
        {"dark image", {{1000, 1001}}, 1700, false},
        {"bright image", {{0, 2299}}, 2200, true},
        {"nine dark columns are no edge", {{161, 230}, {240, 2099}, {2109, 2199}}, 2040, true},
    };
    for (const auto &[name, bright, length, mismatch] : cases) {
        ColourImage image(10);
        for (const auto &[first, last] : bright)
            image.Fill(0, 1349, first, last, 11);
        const LengthResult result = RgbLengthCheck(image.View());
        EXPECT_EQ(result.deviation, length / 1856.0F * 100.0F - 100.0F) << name;
        EXPECT_EQ(result.mismatch, mismatch) << name;
    }
    // 105 rows of three channels at 11 make no dark column; one count less does.
    ColourImage image(11);
    image.Fill(0, 1349, 200, 200, 0);
    EXPECT_FLOAT_EQ(RgbLengthCheck(image.View()).deviation, 2200.0F / 1856.0F * 100.0F - 100.0F);
    image.At(500, 191)[1] = 10;
    EXPECT_FLOAT_EQ(RgbLengthCheck(image.View()).deviation, 2050.0F / 1856.0F * 100.0F - 100.0F);
}

TEST(LengthCheckTest, ThreePasses) {
    // Bright columns and lines; an edge is the first dark one. Visible light tells the nominal length.
    const std::tuple<Span, std::vector<Span>, float, float, bool> cases[] = {
        {{151, 2174}, {{81, 1091}}, 2025, 1012, false},
        {{151, 2124}, {{81, 1091}}, 1975, 1012, false}, // 2.5 percent short
        {{151, 2121}, {{81, 1091}}, 1972, 1012, true},  // 2.6 percent short
        {{151, 2174}, {{61, 1098}}, 2025, 1039, true},
        // No card at line 135 or 1040: a usual end is taken.
        {{151, 2174}, {{500, 501}}, 2025, 1005, false},
        {{151, 2174}, {{0, 1199}}, 2025, 1105, true},
        // A line is an edge when that 9 before it, or those 8 and 16 behind it, are dark, too.
        {{151, 2174}, {{81, 99}, {109, 1059}, {1068, 1075}, {1084, 1099}}, 2025, 1020, false}};
    ColourImage visible(10);
    visible.Fill(0, 1349, 201, 2055, 11);
    for (const auto &[columns, lines, irLength, uvLength, mismatch] : cases) {
        ColourImage ultraviolet = UvImage(5);
        GreyImage infrared(10);
        infrared.Fill(0, 1349, columns.first, columns.last, 11);
        for (const Span &span : lines)
            ultraviolet.Fill(span.first, span.last, 0, 683, 6);
        const LengthResults result = LengthCheck(visible.View(), infrared.View(), ultraviolet.View());
        EXPECT_EQ(result.rgb, 0.0F);
        EXPECT_EQ(result.ir, irLength / 2025.0F * 100.0F - 100.0F);
        EXPECT_EQ(result.uv, uvLength / 1012.0F * 100.0F - 100.0F) << uvLength;
        EXPECT_EQ(result.mismatch, mismatch) << uvLength;
    }
}

} // namespace
} // namespace k274
