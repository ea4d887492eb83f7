// Cards drawn into a raw image, and where the search finds them (card_search.txt). Every image also goes
// through the plain loops, whose crops must be the same; what the search marked is kept.
#include "src/capture/rgb_crop.h"

#include "tests/capture/drawings.h"
#include "tests/reference/formulas.h"
#include "tests/support/data.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <cmath>

namespace k274 {
namespace {

// The card's upper part on one side: a box with one rounded corner at its last row.
void DrawCard(std::istream &words, ColourImage &image) {
    constexpr double kRadius = 37;
    int firstRow = 0, column = 0, lastRow = 0;
    double slope = 0;
    words >> firstRow >> column >> lastRow >> slope;
    for (int row = firstRow; row <= lastRow; row++) {
        const double rise = std::max(0.0, kRadius - (lastRow - row));
        const auto inset = static_cast<int>(kRadius - std::sqrt(kRadius * kRadius - rise * rise));
        image.Fill(row, row, column + static_cast<int>(slope * (lastRow - row)) + inset, 2150, 120);
    }
}

TEST(CardSearchTest, DrawnCards) {
    const ColourImage side(1180, 1880, 77), strip(60, 500, 77);
    ColourImage image, corrected = ColourImage().Randomize(9);
    std::string marks;
    const auto crop = [&] {
        ColourImage raw = image;
        std::vector<ColourImage> cuts{side, side, strip}, plain = cuts;
        CardPosition at{};
        RgbCrop(raw.View(), corrected.View(), at, cuts[0].View(), cuts[1].View(), cuts[2].View());
        reference::RgbCrop(raw.View(), corrected.View(), at, plain[0].View(), plain[1].View(),
                           plain[2].View());
        EXPECT_TRUE(cuts == plain);
        const std::string found =
            Words(at.frontLeadCol, at.frontEdgeRow, at.backLeadCol, at.backEdgeRow, at.greyBandFound);
        marks += found + "\n";
        for (size_t i = 0; i < raw.bytes.size(); i++)
            if (raw.bytes[i] != image.bytes[i])
                marks += Words(i / 3 / kRgbColumns, i / 3 % kRgbColumns, i % 3) + ": " + Words(raw.bytes[i]) +
                         "\n";
        return found;
    };
    PlayDrawings("capture/card_search.txt", {{"rgb", image.View()}},
                 {{"card",
                   [&](auto &words) {
                       DrawCard(words, image);
                       return "";
                   }},
                  {"noise",
                   [&](auto &words) {
                       uint32_t seed = 0;
                       words >> seed;
                       for (uint8_t &byte : image.Randomize(seed).bytes)
                           byte = static_cast<uint8_t>(byte >> seed % 4);
                       return "";
                   }},
                  {"RgbCrop", [&](auto &) { return crop(); }}});
    ExpectKept("capture/card_marks.txt", marks);
}

} // namespace
} // namespace k274
