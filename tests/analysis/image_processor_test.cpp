// White-card test, response profiles of the three passes, and dust.
#include "src/analysis/dust.h"
#include "src/analysis/ir_profiles.h"
#include "src/analysis/rgb_profiles.h"
#include "src/analysis/uv_profiles.h"
#include "src/analysis/white_test.h"

#include "tests/reference/formulas.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <tuple>

namespace k274 {
namespace {

class ImageProcessorTest : public testing::Test {
protected:
    void SetUp() override { std::memset(tables_.get(), 99, 4 * sizeof(ResponseTable)); }
    void ExpectLiteral() {
        EXPECT_EQ(std::memcmp(raw_, literalRaw_, sizeof raw_), 0);
        EXPECT_EQ(std::memcmp(corrected_, literalCorrected_, sizeof corrected_), 0);
    }

    ScanMeasures measures_;
    std::unique_ptr<ResponseTable[]> tables_ = std::make_unique<ResponseTable[]>(4);
    ResponseTable &raw_ = tables_[0], &corrected_ = tables_[1], &literalRaw_ = tables_[2],
                  &literalCorrected_ = tables_[3];
};

TEST_F(ImageProcessorTest, WhiteCardByDarkSamplesAndMeans) {
    const std::tuple<const char *, uint8_t, int, int, int, int, bool> cases[] = {
        {"white", 200, 0, 0, 0, 1, true},
        {"just bright enough", 80, 0, 0, 0, 1, true},
        {"too dark a mean", 79, 0, 0, 0, 1, false},
        {"dark at once", 10, 0, 0, 0, 1, false},
        {"25 and 50 dark samples", 200, 25, 0, 50, 1, true},
        {"50 and 25", 200, 50, 2, 25, 2, true},
        {"25 and 51", 200, 25, 0, 51, 1, false},
        {"26 on both sides", 200, 26, 0, 26, 1, false},
        {"channels not looked at", 200, 100, 1, 100, 0, true},
    };
    for (const auto &[name, brightness, frontDark, frontChannel, backDark, backChannel, white] : cases) {
        SCOPED_TRACE(name);
        ColourImage image(brightness);
        for (int i = 0; i < frontDark; i++)
            image.At(150 + 8 * (i / 100), 650 + 10 * (i % 100))[frontChannel] = 63;
        for (int i = 0; i < backDark; i++)
            image.At(1500 + 8 * (i / 100), 650 + 10 * (i % 100))[backChannel] = 63;
        measures_.cardClass = 7;
        measures_.cardCode = 'C';
        measures_.cardVariant = 'S';
        EXPECT_EQ(WhiteTest(image.View(), measures_), white);
        EXPECT_EQ(measures_.cardClass, white ? 0 : -1);
        EXPECT_EQ(measures_.cardCode, white ? 'C' : 0) << "only an ordinary card clears it";
        EXPECT_EQ(measures_.cardVariant, 0);
        const reference::WhiteCounts expected = reference::WhiteTest(image.View());
        EXPECT_EQ(expected.white, white);
        for (int side = 0; side < 2; side++) {
            EXPECT_EQ(measures_.whiteSamples[side], expected.samples[side]);
            EXPECT_EQ(measures_.whiteDark[side], expected.dark[side]);
            EXPECT_EQ(measures_.whiteMean[side], expected.mean[side]);
        }
    }
}

TEST_F(ImageProcessorTest, VisibleProfilesEqualTheLiteralLoops) {
    ColourImage image = ColourImage().Randomize(6);
    // The card's leading edge at several columns, and none at all.
    for (const int edge : {60, 61, 200, 319, 400}) {
        for (const int row : {100, 200})
            for (int column = 0; column < 400; column++)
                *image.At(row, column) = column >= edge || (row == 100 && column % 3 == 0) ? 25 : 24;
        RgbResp(image.View(), raw_);
        reference::RgbResp(image.View(), literalRaw_);
        RgbCorResp(image.View(), corrected_);
        reference::RgbCorResp(image.View(), literalCorrected_);
        ExpectLiteral();
    }
}

TEST_F(ImageProcessorTest, InfraredAndUltravioletProfilesEqualTheLiteralLoops) {
    GreyImage irr = GreyImage().Randomize(12), irc = GreyImage().Randomize(13);
    IrResp(irr.View(), irc.View(), raw_, corrected_);
    reference::IrResp(irr.View(), irc.View(), literalRaw_, literalCorrected_);
    ExpectLiteral();
    EXPECT_EQ(raw_[3][0], 99) << "the ends stay";

    ColourImage uvr = UvImage().Randomize(14), uvc = UvImage().Randomize(15);
    const std::tuple<int, int, int, float> cases[] = {{50, -1, 100, 1.0F},
                                                      {120, 1, 120, 1.2F},
                                                      {199, 19, 999, 9.99F},
                                                      {200, 20, 120, 1.0F},
                                                      {60, 0, 99, 1.0F}};
    for (const auto &[edge, cardClass, cardNumber, gain] : cases) {
        SCOPED_TRACE(edge);
        for (int line = 0; line < 250; line++)
            for (const int pixel : {100, 200}) // before the edge never both
                *uvr.At(line, pixel) = line >= edge || line % 3 == pixel / 100 ? 16 : 15;
        measures_.cardClass = cardClass;
        measures_.cardNumber = cardNumber;
        UvResp(uvr.View(), uvc.View(), measures_, raw_, corrected_);
        reference::UvResp(uvr.View(), uvc.View(), gain, literalRaw_, literalCorrected_);
        ExpectLiteral();
    }
    EXPECT_EQ(raw_[6][1349], 99);
}

TEST_F(ImageProcessorTest, DustIsDimNotBlack) {
    ColourImage rgbr(24);
    GreyImage irr(2);
    DustCheck(rgbr.View(), irr.View(), measures_);
    EXPECT_EQ(measures_.dustCount, 0);
    // Fifty samples of 3 exceed the sum, of which 33 do not.
    for (const int row : {79, 80, 1124, 1125, 1399, 1400, 2499, 2500})
        for (int column = 50; column < 100; column++)
            rgbr.At(row, column)[1] = 3;
    for (int column = 50; column < 100; column++) {
        rgbr.At(90, column)[2] = column < 83 ? 3 : 2;
        *irr.At(90, column) = column == 50 || column == 99 ? 23 : column < 70 ? 3 : 24;
    }
    DustCheck(rgbr.View(), irr.View(), measures_);
    EXPECT_EQ(measures_.dustCount, 4);
    const int32_t expected[4] = {0, 4, 0, 1};
    EXPECT_TRUE(std::equal(expected, expected + 4, measures_.dustPerChannel));
    rgbr.Fill(0, kSensorRows - 1, 50, 99, 23);
    DustCheck(rgbr.View(), irr.View(), measures_);
    EXPECT_EQ(measures_.dustCount, 255) << "no more than a byte holds";
}

} // namespace
} // namespace k274
