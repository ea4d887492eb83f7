// White-card test, response profiles of the three passes, and dust.
#include "src/analysis/dust.h"
#include "src/analysis/ir_profiles.h"
#include "src/analysis/rgb_profiles.h"
#include "src/analysis/uv_profiles.h"
#include "src/analysis/white_test.h"

#include "tests/reference/formulas.h"
#include "tests/support/data.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>

#include <cstring>
#include <tuple>

namespace k274 {
namespace {

TEST(WhiteTest, WhiteCardByDarkSamplesAndMeans) {
    for (const auto &row : Table("analysis/white_test.txt")) {
        SCOPED_TRACE(row[0]);
        const std::vector<int> samples = Ints(row[2]);
        const bool white = row[3] == "1";
        ColourImage image(static_cast<uint8_t>(Ints(row[1])[0]));
        for (const int side : {0, 1})
            for (int i = 0; i < samples[static_cast<size_t>(2 * side)]; i++)
                image.At(150 + 1350 * side + 8 * (i / 100),
                         650 + 10 * (i % 100))[samples[static_cast<size_t>(2 * side + 1)]] = 63;
        ScanMeasures measures;
        measures.cardClass = 7;
        measures.cardCode = 'C';
        measures.cardVariant = 'S';
        EXPECT_EQ(WhiteTest(image.View(), measures), white);
        EXPECT_EQ(measures.cardClass, white ? 0 : -1);
        EXPECT_EQ(measures.cardCode, white ? 'C' : 0) << "only an ordinary card clears it";
        EXPECT_EQ(measures.cardVariant, 0);
        const auto counts = {measures.whiteSamples[0], measures.whiteDark[0], measures.whiteMean[0],
                             measures.whiteSamples[1], measures.whiteDark[1], measures.whiteMean[1]};
        EXPECT_THAT(Ints(row[4]), testing::ElementsAreArray(counts));
    }
}

class ProfilesTest : public testing::Test {
protected:
    void SetUp() override { std::memset(&fast_, 99, sizeof fast_), std::memset(&plain_, 99, sizeof plain_); }
    void ExpectSame() { EXPECT_EQ(std::memcmp(&fast_, &plain_, sizeof fast_), 0); }

    struct Tables {
        ResponseTable raw, corrected;
    };
    Tables fast_, plain_;
};

TEST_F(ProfilesTest, OfVisibleLight) {
    ColourImage image = ColourImage().Randomize(6);
    // The card's leading edge at several columns, and none at all.
    for (const int edge : {60, 61, 200, 319, 400}) {
        for (const int row : {100, 200})
            for (int column = 0; column < 400; column++)
                *image.At(row, column) = column >= edge || (row == 100 && column % 3 == 0) ? 25 : 24;
        RgbResp(image.View(), fast_.raw);
        reference::RgbResp(image.View(), plain_.raw);
        RgbCorResp(image.View(), fast_.corrected);
        reference::RgbCorResp(image.View(), plain_.corrected);
        ExpectSame();
    }
}

TEST_F(ProfilesTest, OfInfraredAndUltravioletLight) {
    GreyImage irr = GreyImage().Randomize(12), irc = GreyImage().Randomize(13);
    IrResp(irr.View(), irc.View(), fast_.raw, fast_.corrected);
    reference::IrResp(irr.View(), irc.View(), plain_.raw, plain_.corrected);
    ExpectSame();
    EXPECT_EQ(fast_.raw[3][0], 99) << "the ends stay";

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
        ScanMeasures card;
        card.cardClass = cardClass;
        card.cardNumber = cardNumber;
        UvResp(uvr.View(), uvc.View(), card, fast_.raw, fast_.corrected);
        reference::UvResp(uvr.View(), uvc.View(), gain, plain_.raw, plain_.corrected);
        ExpectSame();
    }
    EXPECT_EQ(fast_.raw[6][1349], 99);
}

TEST(DustTest, DustIsDimNotBlack) {
    ColourImage rgbr(24);
    GreyImage irr(2);
    ScanMeasures measures;
    DustCheck(rgbr.View(), irr.View(), measures);
    EXPECT_EQ(measures.dustCount, 0);
    // Fifty samples of 3 exceed the sum, of which 33 do not.
    for (const int row : {79, 80, 1124, 1125, 1399, 1400, 2499, 2500})
        rgbr.FillChannel(row, row, 50, 99, 1, 3);
    for (int column = 50; column < 100; column++) {
        rgbr.At(90, column)[2] = column < 83 ? 3 : 2;
        *irr.At(90, column) = column == 50 || column == 99 ? 23 : column < 70 ? 3 : 24;
    }
    DustCheck(rgbr.View(), irr.View(), measures);
    EXPECT_EQ(measures.dustCount, 4);
    EXPECT_THAT(measures.dustPerChannel, testing::ElementsAre(0, 4, 0, 1));
    rgbr.Fill(0, kSensorRows - 1, 50, 99, 23);
    DustCheck(rgbr.View(), irr.View(), measures);
    EXPECT_EQ(measures.dustCount, 255) << "no more than a byte holds";
}

} // namespace
} // namespace k274
