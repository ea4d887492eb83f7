// Cards drawn into a raw image, and where the search finds them. Every image also goes through the plain
// loops, whose marks and crops must be the same.
#include "src/capture/rgb_crop.h"

#include "tests/reference/formulas.h"
#include "tests/support/data.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <cmath>

namespace k274 {
namespace {

using Found = std::vector<int>; // lead column and edge row of the front and of the back, grey band

// The card's upper part on one side: a box with one rounded corner at its last row, on dark ground.
void Draw(ColourImage &image, int firstRow, const std::vector<int> &card) {
    constexpr double kRadius = 37;
    const int column = card[0], lastRow = card[1];
    const double slope = card[2] / 100.0;
    for (int row = firstRow; row <= lastRow; row++) {
        const double rise = std::max(0.0, kRadius - (lastRow - row));
        const auto inset = static_cast<int>(kRadius - std::sqrt(kRadius * kRadius - rise * rise));
        image.Fill(row, row, column + static_cast<int>(slope * (lastRow - row)) + inset, 2150, 120);
    }
}

ColourImage CardImage(const std::vector<int> &front, const std::vector<int> &back) {
    ColourImage image(5);
    Draw(image, 30, front);
    Draw(image, 1380, back);
    return image;
}

// Finds the card, adds what was marked in the raw image to the text, and compares what was cut.
Found Search(ColourImage image, std::string &marks) {
    static ColourImage corrected = ColourImage().Randomize(9);
    const ColourImage before = image, side(1180, 1880, 77), strip(60, 500, 77);
    std::vector<ColourImage> cuts{side, side, strip}, plain = cuts;
    CardPosition at{};
    RgbCrop(image.View(), corrected.View(), at, cuts[0].View(), cuts[1].View(), cuts[2].View());
    reference::RgbCrop(image.View(), corrected.View(), at, plain[0].View(), plain[1].View(), plain[2].View());
    EXPECT_TRUE(cuts == plain);
    for (size_t i = 0; i < image.bytes.size(); i++)
        if (image.bytes[i] != before.bytes[i]) {
            const auto place = static_cast<int>(i / 3);
            marks += std::to_string(place / kRgbColumns) + ' ' + std::to_string(place % kRgbColumns) + ' ' +
                     std::to_string(i % 3) + ": " + std::to_string(image.bytes[i]) + '\n';
        }
    return {at.frontLeadCol, at.frontEdgeRow, at.backLeadCol, at.backEdgeRow, at.greyBandFound};
}

TEST(CardSearchTest, CardCorner) {
    std::string marks;
    for (const auto &row : Table("capture/card_search.txt")) {
        marks += row[0] + '\n';
        EXPECT_EQ(Search(CardImage(Ints(row[1]), Ints(row[2])), marks), Ints(row[3])) << row[0];
    }
    ExpectKept("capture/corner_marks.txt", marks);
}

TEST(CardSearchTest, LeadingEdgeThreshold) {
    // Eight rows whose channels count up to 32 each: 336 in all make the edge.
    ColourImage image(0);
    for (int row = 210; row <= 910; row += 100)
        image.Fill(row, row, 100, 100, 14);
    for (int row = 1500; row <= 1800; row += 100)
        image.Fill(row, row, 200, 200, 255); // 4 rows x 3 x 32 = 384
    std::string marks;
    *image.At(210, 100) = 13;
    EXPECT_EQ(Search(image, marks)[0], 319);
    *image.At(210, 100) = 14;
    EXPECT_EQ(Search(image, marks)[0], 99);
    EXPECT_EQ(Search(image, marks)[2], 199);
}

TEST(CardSearchTest, GreyBand) {
    std::string marks;
    for (const auto &row : Table("capture/grey_band.txt")) {
        ColourImage image = CardImage({150, 1155, 0}, {140, 2520, 0});
        image.Fill(2501, 2600, 60, 330, 40);
        for (size_t i = 2; i < row.size(); i++)
            if (const std::vector<int> c = Ints(row[i]); !c.empty())
                image.FillChannel(c[0], c[1], c[2], c[3], c[4], c[5]);
        marks += row[0] + '\n';
        EXPECT_EQ(Search(image, marks), Ints(row[1])) << row[0];
    }
    ExpectKept("capture/band_marks.txt", marks);
}

TEST(CardSearchTest, NoiseIsSearchedWithinTheImage) {
    std::string found;
    for (uint32_t seed = 20; seed < 24; seed++) {
        ColourImage image = ColourImage().Randomize(seed);
        for (uint8_t &byte : image.bytes)
            byte = static_cast<uint8_t>(byte >> (seed % 4));
        found += testing::PrintToString(Search(image, found)) + '\n';
    }
    ExpectKept("capture/noise_found.txt", found);
}

} // namespace
} // namespace k274
