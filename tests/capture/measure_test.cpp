// Levels, card size and card length on drawn images.
#include "src/capture/measure.h"

#include "tests/support/reference_rgb.h"
#include "tests/support/rgb_images.h"

#include <gtest/gtest.h>

namespace k274 {
namespace {

TEST(RgbLevelsTest, MeansAreTruncatedAndEqualThePlainLoops) {
    ColourImage image;
    FillRandom(image.bytes, 5);
    for (int round = 0; round < 2; round++) {
        int front = 0, back = 0;
        reference::RgbLevels(image.View(), front, back);
        const Levels levels = RgbLevels(image.View());
        EXPECT_EQ(levels.front, front);
        EXPECT_EQ(levels.back, back);
        std::fill(image.bytes.begin() + static_cast<ptrdiff_t>(image.bytes.size() / 2), image.bytes.end(),
                  255);
    }
    image.Fill(0, kSensorRows - 1, 0, kRgbColumns - 1, 100);
    image.At(25, 200)[0] = 99; // the first sample of the front
    image.At(2470, 2095)[2] = 101;
    EXPECT_EQ(RgbLevels(image.View()).front, 99);
    EXPECT_EQ(RgbLevels(image.View()).back, 100);
}

TEST(MeasureCardTest, BrightCardOnDarkGround) {
    ColourImage image(5);
    image.Fill(21, 1179, 101, 1970, 150);   // front, rows 21 to 1179
    image.Fill(1371, 2529, 101, 1970, 150); // back
    const CardMeasure card = MeasureCard(image.View());
    EXPECT_EQ(card.top, 20);
    EXPECT_EQ(card.backOffset, 20);
    EXPECT_EQ(card.width, 1970 - 101);
    EXPECT_EQ(card.frontHeight, 1160);
    EXPECT_EQ(card.backHeight, 1160);
    EXPECT_FLOAT_EQ(card.aspectDeviation, (1160 / 2.125F) / (1869 / 3.375F) - 1.0F);
}

TEST(MeasureCardTest, WithoutEdgesTheSearchesRunOut) {
    ColourImage dark(5), bright(200);
    const CardMeasure none = MeasureCard(dark.View());
    EXPECT_EQ(none.top, 60);
    EXPECT_EQ(none.backOffset, 60);
    EXPECT_EQ(none.width, 1950 - 350);
    EXPECT_EQ(none.frontHeight, 1140 - 60);
    EXPECT_EQ(none.backHeight, 2500 - 1410);
    const CardMeasure all = MeasureCard(bright.View());
    EXPECT_EQ(all.top, 0);
    EXPECT_EQ(all.backOffset, 0);
    EXPECT_EQ(all.width, 2250 - 50);
    EXPECT_EQ(all.frontHeight, 1200);
    EXPECT_EQ(all.backHeight, 2560 - 1350);
}

TEST(MeasureCardTest, ThresholdsAndChannels) {
    ColourImage image(200);
    // Above the card: blue at column 800 and red at column 799, both below 96.
    image.At(40, 800)[0] = 95;
    image.At(40, 799)[2] = 96;
    image.At(30, 800)[0] = 95;
    image.At(30, 799)[2] = 95;
    // Below it: blue and green at column 800.
    image.At(1150, 800)[0] = 95;
    image.At(1150, 800)[2] = 95;
    image.At(1160, 800)[0] = 95;
    image.At(1160, 800)[1] = 95;
    image.At(1360, 800)[0] = image.At(1360, 799)[2] = 0;
    image.At(2555, 800)[0] = image.At(2555, 800)[1] = 0;
    // Columns: six greens of 15 are not enough for the leading edge, of 12.5 for the trailing one.
    for (int column = 50; column < 350; column++)
        for (const int row : {100, 300, 500, 700, 900, 1100})
            image.At(row, column)[1] = 15;
    image.At(1100, 120)[1] = 16;
    for (int column = 2250; column > 1950; column--)
        for (const int row : {100, 300, 500, 700, 900, 1100})
            image.At(row, column)[1] = row > 500 ? 13 : 12;
    image.At(300, 2000)[1] = 13;
    const CardMeasure card = MeasureCard(image.View());
    EXPECT_EQ(card.top, 30);
    EXPECT_EQ(card.frontHeight, 1160 - 30);
    EXPECT_EQ(card.backOffset, 10);
    EXPECT_EQ(card.backHeight, 2555 - 1360);
    EXPECT_EQ(card.width, 2000 - 120);
}

TEST(LengthCheckTest, DeviationAndVerdict) {
    const struct {
        const char *name;
        int first, last; // bright columns, both ends included
        float length;
        bool mismatch;
    } cases[] = {
        // The edge is the first dark column whose partner nine columns further out is dark as well.
        {"nominal", 201, 2055, 1856, false},
        {"short", 301, 2000, 1701, false},
        {"2.0 percent is allowed", 201, 2092, 1893, false},
        {"1,890 columns", 151, 2039, 1890, false},
        {"1,900 columns", 151, 2049, 1900, true},
        {"dark image", 1000, 1001, 1700, false},
        {"bright image", 0, 2299, 2200, true},
    };
    for (const auto &c : cases) {
        ColourImage image(10);
        image.Fill(0, 1349, c.first, c.last, 11);
        const LengthResult result = RgbLengthCheck(image.View());
        EXPECT_EQ(result.deviation, c.length / 1856.0F * 100.0F - 100.0F) << c.name;
        EXPECT_EQ(result.mismatch, c.mismatch) << c.name;
    }
}

TEST(LengthCheckTest, DarkColumnsWithABrightPartnerAreNoEdge) {
    ColourImage image(200);
    image.Fill(0, 1349, 0, 160, 0);
    image.Fill(0, 1349, 231, 239, 0); // a dark stripe of nine columns
    image.Fill(0, 1349, 2100, 2108, 0);
    image.Fill(0, 1349, 2200, 2299, 0);
    EXPECT_FLOAT_EQ(RgbLengthCheck(image.View()).deviation, (2200.0F - 160.0F) / 1856.0F * 100.0F - 100.0F);
    image.At(1090, 240)[1] = 0; // one sample is not a column
    image.At(50, 240)[0] = 0;
    EXPECT_FLOAT_EQ(RgbLengthCheck(image.View()).deviation, (2200.0F - 160.0F) / 1856.0F * 100.0F - 100.0F);
}

TEST(LengthCheckTest, MeanOfAllSamplesBelowEleven) {
    // 105 rows of three channels at 11 make no dark column; one count less does.
    ColourImage image(11);
    image.Fill(0, 1349, 200, 200, 0);
    image.Fill(0, 1349, 191, 191, 11);
    EXPECT_FLOAT_EQ(RgbLengthCheck(image.View()).deviation, 2200.0F / 1856.0F * 100.0F - 100.0F);
    image.At(500, 191)[1] = 10;
    EXPECT_FLOAT_EQ(RgbLengthCheck(image.View()).deviation, 2050.0F / 1856.0F * 100.0F - 100.0F);
}

} // namespace
} // namespace k274
