// Cards drawn into a raw image, and where the search finds them. Every image also goes through the literal
// loops, whose marks and crops must be the same.
#include "tests/reference/formulas.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <tuple>

namespace k274 {
namespace {

using Found = std::array<int, 5>; // lead column and edge row of the front and of the back, grey band
Found FoundAt(const CardPosition &p) {
    return {p.frontLeadCol, p.frontEdgeRow, p.backLeadCol, p.backEdgeRow, p.greyBandFound};
}

struct DrawnCard {
    int leadColumn, lastRow; // first column, and the row before the card's long edge
    double slope = 0;        // columns that the leading edge moves per row
};

// The card's upper part on one side: a box with one rounded corner at its last row, on dark ground.
void Draw(ColourImage &image, int firstRow, const DrawnCard &card) {
    constexpr double kRadius = 37;
    for (int row = firstRow; row <= card.lastRow; row++) {
        const double rise = std::max(0.0, kRadius - (card.lastRow - row));
        const auto inset = static_cast<int>(kRadius - std::sqrt(kRadius * kRadius - rise * rise));
        const int left = card.leadColumn + static_cast<int>(card.slope * (card.lastRow - row));
        image.Fill(row, row, left + inset, 2150, 120);
    }
}

ColourImage CardImage(const DrawnCard &front, const DrawnCard &back) {
    ColourImage image(5);
    Draw(image, 30, front);
    Draw(image, 1380, back);
    return image;
}

// Finds the card with both forms and compares what they mark and cut.
Found Search(ColourImage image) {
    static ColourImage corrected = ColourImage().Randomize(9);
    ColourImage plain = image;
    ColourImage cuts[2][3] = {{{1180, 1880, 77}, {1180, 1880, 77}, {60, 500, 77}},
                              {{1180, 1880, 77}, {1180, 1880, 77}, {60, 500, 77}}};
    CardPosition position{}, expected{};
    RgbCrop(image.View(), corrected.View(), position, cuts[0][0].View(), cuts[0][1].View(),
            cuts[0][2].View());
    reference::RgbCrop(plain.View(), corrected.View(), expected, cuts[1][0].View(), cuts[1][1].View(),
                       cuts[1][2].View());
    EXPECT_EQ(FoundAt(position), FoundAt(expected));
    EXPECT_TRUE(image.bytes == plain.bytes) << "marks";
    for (int i = 0; i < 3; i++)
        EXPECT_TRUE(cuts[0][i].bytes == cuts[1][i].bytes) << i;
    return FoundAt(position);
}

TEST(CardSearchTest, CardCorner) {
    // Below the rounded corner's 24th column a card has its last three rows, the first of which makes the
    // corner: the edge lies 13 rows behind the card's last one. A leading column is the one before the card.
    const std::tuple<const char *, DrawnCard, DrawnCard, Found> cases[] = {
        {"straight", {150, 1155}, {140, 2520}, {149, 1168, 139, 2533, 0}},
        // Three bright rows make the leading edge, and the corner's column follows the rows near it.
        {"skewed", {150, 1155, 0.02}, {140, 2520, -0.02}, {157, 1169, 123, 2530, 0}},
        {"seen in the first column", {40, 1150}, {40, 2515}, {39, 1163, 39, 2528, 0}},
        {"at the low limit", {150, 1127}, {140, 2497}, {149, 1140, 139, 2510, 0}},
        {"below it", {150, 1127}, {140, 2496}, {149, 1140, 139, 2520, 0}},
        {"at the high limit", {150, 1167}, {140, 2537}, {149, 1180, 139, 2550, 0}},
        {"above it", {150, 1168}, {140, 2538}, {149, 1170, 139, 2540, 0}},
        {"behind the last column tried", {330, 1155}, {330, 2520}, {319, 1168, 319, 2533, 0}},
        {"no card", {150, 0}, {140, 0}, {319, 1170, 319, 2540, 0}},
    };
    for (const auto &[name, front, back, found] : cases) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Search(CardImage(front, back)), found);
    }
}

TEST(CardSearchTest, LeadingEdgeThreshold) {
    // Eight rows whose channels count up to 32 each: 336 in all make the edge.
    ColourImage image(0);
    for (int row = 210; row <= 910; row += 100)
        image.Fill(row, row, 100, 100, 14);
    for (int row = 1500; row <= 1800; row += 100)
        image.Fill(row, row, 200, 200, 255); // 4 rows x 3 x 32 = 384
    *image.At(210, 100) = 13;
    EXPECT_EQ(Search(image)[0], 319);
    *image.At(210, 100) = 14;
    EXPECT_EQ(Search(image)[0], 99);
    EXPECT_EQ(Search(image)[2], 199);
}

TEST(CardSearchTest, GreyBand) {
    struct Box {
        int firstRow, lastRow, column, channel, value; // channel -1: all, up to column 330
    };
    const Found unchanged = {149, 1134, 139, 2504, 1};
    const std::tuple<const char *, std::vector<Box>, Found> cases[] = {
        // Without a change the card's edge is the band's, 2500, and the front has none.
        {"unchanged", {}, unchanged},
        {"never bright", {{2400, 2600, 70, 1, 24}}, {149, 1134, 139, 2499, 1}},
        {"never dark", {{2400, 2600, 70, 1, 20}, {2590, 2591, 70, 1, 25}}, {149, 1134, 139, 2499, 1}},
        {"edges beside the band",
         {{1130, 1231, 70, 1, 30}, {1177, 1178, 70, 1, 19}, {2495, 2596, 70, 1, 30}, {2529, 2530, 70, 1, 19}},
         {149, 1182, 139, 2534, 1}},
        {"single dark rows are no edge",
         {{2495, 2596, 70, 1, 30}, {2590, 2590, 70, 1, 19}, {2580, 2581, 70, 1, 20}, {2510, 2511, 70, 1, 0}},
         {149, 1134, 139, 2515, 1}},
        {"edge at the first row",
         {{1130, 1231, 70, 1, 30}, {1228, 1229, 70, 1, 0}, {2495, 2596, 70, 1, 30}, {2593, 2594, 70, 1, 0}},
         {149, 1233, 139, 2598, 1}},
        {"30 rows are enough", {{2531, 2600, 100, -1, 5}}, unchanged},
        {"29 rows are not", {{2530, 2600, 100, -1, 5}}, {149, 1168, 139, 2545, 0}},
        {"too dark", {{2501, 2600, 60, -1, 20}}, {149, 1168, 139, 2516, 0}},
        {"uneven", {{2501, 2600, 300, 1, 55}, {2501, 2600, 300, 2, 55}}, {149, 1168, 139, 2540, 0}},
        {"not quite", {{2501, 2600, 300, 1, 55}, {2501, 2600, 300, 2, 54}}, unchanged},
        {"red by exactly 1.7",
         {{2501, 2600, 315, 1, 39}, {2501, 2600, 315, 2, 68}},
         {149, 1168, 139, 2540, 0}},
        {"by less", {{2501, 2600, 315, 1, 39}, {2501, 2600, 315, 2, 67}}, unchanged},
        {"cyan by exactly 0.6",
         {{2501, 2600, 100, 1, 49}, {2501, 2600, 100, 2, 30}},
         {149, 1168, 139, 2540, 0}},
    };
    for (const auto &[name, boxes, found] : cases) {
        SCOPED_TRACE(name);
        ColourImage image = CardImage({150, 1155}, {140, 2520});
        image.Fill(2501, 2600, 60, 330, 40);
        for (const Box &box : boxes)
            for (int row = box.firstRow; row <= box.lastRow; row++)
                if (box.channel < 0)
                    image.Fill(row, row, box.column, 330, static_cast<uint8_t>(box.value));
                else
                    image.At(row, box.column)[box.channel] = static_cast<uint8_t>(box.value);
        EXPECT_EQ(Search(image), found);
    }
}

TEST(CardSearchTest, NoiseIsSearchedWithinTheImage) {
    for (uint32_t seed = 20; seed < 24; seed++) {
        ColourImage image = ColourImage().Randomize(seed);
        for (uint8_t &byte : image.bytes)
            byte = static_cast<uint8_t>(byte >> (seed % 4));
        Search(image);
    }
}

} // namespace
} // namespace k274
