// Gain, leading edges, crops and destriping of the infrared image.
#include "src/capture/ir_lines.h"
#include "tests/support/grey_images.h"
#include "tests/support/reference_ir_uv.h"

#include <gtest/gtest.h>

namespace k274 {
namespace {

constexpr int kWidth = K274_IR_WIDTH, kHeight = K274_IR_HEIGHT;

TEST(IrGainTest, ImageEqualsThePlainLoops) {
    GreyImage raw, corrected, expected;
    FillRandom(raw.bytes, 2);
    static uint16_t gains[kSensorRows];
    std::mt19937 random(3);
    for (uint16_t &gain : gains)
        gain = static_cast<uint16_t>(random() % 327);
    IrIllumGain(raw.View(), gains, corrected.View());
    expected.bytes = raw.bytes;
    reference::IrIllumGain(gains, expected.View());
    EXPECT_TRUE(corrected.bytes == expected.bytes);
}

TEST(IrEdgeTest, FirstColumnWhoseEightRowsReachTheSum) {
    GreyImage raw;
    EXPECT_EQ(FindIrEdges(raw.View()).frontLeadCol, 260);
    EXPECT_EQ(FindIrEdges(raw.View()).backLeadCol, 360);
    for (const int row : {200, 400, 500, 600, 700, 800, 900, 1100})
        raw.At(row, 120) = 14;
    raw.At(200, 100) = 111;
    for (const int row : {1500, 1700, 1800, 1900, 2000, 2100, 2200, 2400})
        raw.At(row, 350) = 14;
    raw.At(2400, 39) = raw.At(2400, 360) = 112;
    EXPECT_EQ(FindIrEdges(raw.View()).frontLeadCol, 120);
    EXPECT_EQ(FindIrEdges(raw.View()).backLeadCol, 350);
}

// Rows behind the sensor's, before it and before the back's half; leading edges at both ends, the last of
// which has no columns for the image's end.
TEST(IrCropTest, EveryPositionEqualsThePlainLoops) {
    GreyImage raw, corrected;
    FillRandom(corrected.bytes, 4);
    const struct {
        int frontEdgeRow, backEdgeRow, leadColumn;
    } cases[] = {{1168, 2533, 140}, {1134, 2499, 40},  {1234, 2599, 360},
                 {0, 0, 200},       {3000, 2595, 259}, {-5000, 9000, 41}};
    for (const auto &c : cases) {
        FillRandom(raw.bytes, 5);
        for (int row = 0; row < kSensorRows; row++) // dark before the card, but for the reference columns
            for (int column = 40; column < 400; column++)
                raw.At(row, column) = column >= c.leadColumn ? 200 : column == 50 || column == 51 ? 13 : 0;
        GreyImage front(kHeight, kWidth, 9), back(kHeight, kWidth, 9);
        GreyImage plainFront(kHeight, kWidth, 8), plainBack(kHeight, kWidth, 8);
        const CardPosition card{150, c.frontEdgeRow, 140, c.backEdgeRow, false};
        const IrPosition position =
            IrCrop(raw.View(), corrected.View(), card, false, front.View(), back.View());
        EXPECT_EQ(position.frontLeadCol, std::min(c.leadColumn, 260));
        EXPECT_EQ(position.backLeadCol, c.leadColumn);
        reference::IrCrop(raw.View(), corrected.View(), card, position, plainFront.View(), plainBack.View());
        EXPECT_TRUE(front.bytes == plainFront.bytes) << c.frontEdgeRow;
        EXPECT_TRUE(back.bytes == plainBack.bytes) << c.backEdgeRow;

        IrCrop(raw.View(), corrected.View(), card, true, front.View(), back.View());
        reference::IrDestripe(plainFront.View());
        reference::IrDestripe(plainBack.View());
        EXPECT_TRUE(front.bytes == plainFront.bytes) << c.frontEdgeRow;
        EXPECT_TRUE(back.bytes == plainBack.bytes) << c.backEdgeRow;
    }
}

TEST(IrDestripeTest, OddColumnsAreReplacedWhenBothAreEqual) {
    GreyImage image(kHeight, kWidth, 100);
    image.At(1, 10) = 200; // not in a row that is summed
    image.At(1, 11) = 210;
    image.At(1, 2047) = 0;
    IrDestripe(image.View());
    EXPECT_EQ(image.At(1, 10), 200);
    EXPECT_EQ(image.At(1, 11), 150);
    EXPECT_EQ(image.At(1, 2047), 0) << "the last column stays";
    image.At(0, 0) = 99; // the even columns are darker
    IrDestripe(image.View());
    EXPECT_EQ(image.At(1, 10), 150);
    EXPECT_EQ(image.At(1, 11), 150);
    EXPECT_EQ(image.At(0, 0), 99);
}

} // namespace
} // namespace k274
