// Response profiles of the three passes.
#include "src/analysis/ir_profiles.h"
#include "src/analysis/rgb_profiles.h"
#include "src/analysis/uv_profiles.h"

#include "tests/reference/formulas.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

namespace k274 {
namespace {

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

} // namespace
} // namespace k274
