// Profiles of the infrared and ultraviolet passes, and dust.
#include "src/analysis/image_processor.h"
#include "tests/support/grey_images.h"
#include "tests/support/reference_ir_uv.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace k274 {
namespace {

class ProfilesTest : public testing::Test {
protected:
    std::unique_ptr<ImageProcessor> owned_ = std::make_unique<ImageProcessor>();
    ImageProcessor &processor_ = *owned_;
    std::unique_ptr<ResponseTable[]> tables_ = std::make_unique<ResponseTable[]>(4);
    ResponseTable &raw_ = tables_[0], &corrected_ = tables_[1], &plainRaw_ = tables_[2],
                  &plainCorrected_ = tables_[3];

    void SetUp() override { std::memset(tables_.get(), 99, 4 * sizeof(ResponseTable)); }
    void ExpectPlain() {
        EXPECT_EQ(std::memcmp(raw_, plainRaw_, sizeof raw_), 0);
        EXPECT_EQ(std::memcmp(corrected_, plainCorrected_, sizeof corrected_), 0);
    }
};

TEST_F(ProfilesTest, InfraredEqualsThePlainLoopsAndKeepsTheEnds) {
    GreyImage irr, irc;
    FillRandom(irr.bytes, 12);
    FillRandom(irc.bytes, 13);
    processor_.IrResp(irr.View(), irc.View(), raw_, corrected_);
    reference::IrResp(irr.View(), irc.View(), plainRaw_, plainCorrected_);
    ExpectPlain();
    EXPECT_EQ(raw_[3][0], 99);
}

TEST_F(ProfilesTest, UltravioletEqualsThePlainLoopsWithTheGainOfTheLastWhiteCard) {
    ColourImage uvr = UvImage(), uvc = UvImage();
    FillRandom(uvr.bytes, 14);
    FillRandom(uvc.bytes, 15);
    const struct {
        int edge, cardClass, cardNumber;
        float gain;
    } cases[] = {{50, -1, 100, 1.0F},
                 {120, 1, 120, 1.2F},
                 {199, 19, 999, 9.99F},
                 {200, 20, 120, 1.0F},
                 {60, 0, 99, 1.0F}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.edge);
        for (int line = 0; line < 250; line++)
            for (const int pixel : {100, 200}) // before the edge never both
                *uvr.At(line, pixel) = line >= c.edge || line % 3 == pixel / 100 ? 16 : 15;
        processor_.cardClass = c.cardClass;
        processor_.cardNumber = c.cardNumber;
        processor_.UvResp(uvr.View(), uvc.View(), raw_, corrected_);
        reference::UvResp(uvr.View(), uvc.View(), c.gain, plainRaw_, plainCorrected_);
        ExpectPlain();
    }
    EXPECT_EQ(raw_[6][0], 99);
    EXPECT_EQ(raw_[6][1349], 99);
}

TEST_F(ProfilesTest, DustIsDimNotBlack) {
    ColourImage rgbr(24);
    GreyImage irr(2);
    EXPECT_EQ(processor_.DustCheck(rgbr.View(), irr.View()), 0);
    // Fifty samples of 3 exceed the sum, of which 33 do not.
    for (const int row : {79, 80, 1124, 1125, 1399, 1400, 2499, 2500})
        for (int column = 50; column < 100; column++)
            rgbr.At(row, column)[1] = 3;
    for (int column = 50; column < 100; column++) {
        rgbr.At(90, column)[2] = column < 83 ? 3 : 2;
        irr.At(90, column) = column == 50 || column == 99 ? 23 : column < 70 ? 3 : 24;
    }
    EXPECT_EQ(processor_.DustCheck(rgbr.View(), irr.View()), 4);
    const int32_t expected[4] = {0, 4, 0, 1};
    for (int k = 0; k < 4; k++)
        EXPECT_EQ(processor_.dustPerChannel[k], expected[k]) << k;

    for (int row = 0; row < kSensorRows; row++)
        rgbr.Fill(row, row, 50, 99, 23);
    EXPECT_EQ(processor_.DustCheck(rgbr.View(), irr.View()), 255) << "no more than a byte holds";
}

} // namespace
} // namespace k274
