// Response profiles of the three passes.
#include "src/analysis/ir_profiles.h"
#include "src/analysis/rgb_profiles.h"
#include "src/analysis/uv_profiles.h"

#include "tests/reference/expect_same.h"
#include "tests/reference/formulas.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

namespace k274 {
namespace {

struct Table {
    Table() { std::memset(entries, 99, sizeof entries); }
    ResponseTable &View() { return entries; }
    bool operator==(const Table &other) const {
        return std::memcmp(entries, other.entries, sizeof entries) == 0;
    }

    ResponseTable entries;
};

TEST(ProfilesTest, OfVisibleLight) {
    ColourImage image = ColourImage().Randomize(6);
    // The card's leading edge at several columns, and none at all.
    for (const int edge : {60, 61, 200, 319, 400}) {
        for (const int row : {100, 200})
            for (int column = 0; column < 400; column++)
                *image.At(row, column) = column >= edge || (row == 100 && column % 3 == 0) ? 25 : 24;
        ExpectSame(std::tuple(Table()), RgbResp, reference::RgbResp, image.View());
    }
    ExpectSame(std::tuple(Table()), RgbCorResp, reference::RgbCorResp, image.View());
}

TEST(ProfilesTest, OfInfraredAndUltravioletLight) {
    GreyImage irr = GreyImage().Randomize(12), irc = GreyImage().Randomize(13);
    ExpectSame(std::tuple(Table(), Table()), IrResp, reference::IrResp, irr.View(), irc.View());
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
        const auto plain = [&, scale = gain](auto &...tables) {
            reference::UvResp(uvr.View(), uvc.View(), scale, tables...);
        };
        ExpectSame(
            std::tuple(Table(), Table()),
            [&](auto &...tables) { UvResp(uvr.View(), uvc.View(), card, tables...); }, plain);
    }
}

} // namespace
} // namespace k274
