// Cards drawn into a raw image, and where the search finds them. Every image also goes through the plain
// loops, whose marks and crops must be the same.
#include "src/capture/rgb_lines.h"
#include "tests/support/reference_rgb.h"
#include "tests/support/rgb_images.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <ostream>

namespace k274 {

std::ostream &operator<<(std::ostream &out, const CardPosition &position) {
    return out << position.frontLeadCol << ' ' << position.frontEdgeRow << ' ' << position.backLeadCol << ' '
               << position.backEdgeRow << (position.greyBandFound ? " band" : "");
}
bool operator==(const CardPosition &a, const CardPosition &b) {
    return a.frontLeadCol == b.frontLeadCol && a.frontEdgeRow == b.frontEdgeRow &&
           a.backLeadCol == b.backLeadCol && a.backEdgeRow == b.backEdgeRow &&
           a.greyBandFound == b.greyBandFound;
}

namespace {

struct DrawnCard {
    int leadColumn, lastRow; // first column, and the row before the card's long edge
    double slope = 0;        // columns that the leading edge moves per row
    int cornerRadius = 37;
    uint8_t brightness = 120;
};

// The card's upper part on one side: a box with one rounded corner at its last row, on dark ground.
void Draw(ColourImage &image, int firstRow, const DrawnCard &card) {
    for (int row = firstRow; row <= card.lastRow; row++) {
        const int left = card.leadColumn + static_cast<int>(card.slope * (card.lastRow - row));
        const int below = card.lastRow - row;
        int inset = 0;
        if (below < card.cornerRadius) {
            const double rise = card.cornerRadius - below;
            inset =
                static_cast<int>(card.cornerRadius -
                                 std::sqrt(double{1} * card.cornerRadius * card.cornerRadius - rise * rise));
        }
        image.Fill(row, row, left + inset, 2150, card.brightness);
    }
}

ColourImage CardImage(const DrawnCard &front, const DrawnCard &back) {
    ColourImage image(5);
    Draw(image, 30, front);
    Draw(image, 1380, back);
    return image;
}

// Finds the card with both forms and compares what they mark and cut.
CardPosition Search(ColourImage &image) {
    static ColourImage corrected = [] {
        ColourImage random;
        FillRandom(random.bytes, 9);
        return random;
    }();
    ColourImage plain = image;
    ColourImage front(1180, 1880, 77), back(1180, 1880, 77), edge(60, 500, 77);
    ColourImage plainFront = front, plainBack = back, plainEdge = edge;
    CardPosition position{}, plainPosition{};
    RgbCrop(image.View(), corrected.View(), position, front.View(), back.View(), edge.View());
    reference::RgbCrop(plain.View(), corrected.View(), plainPosition, plainFront.View(), plainBack.View(),
                       plainEdge.View());
    EXPECT_EQ(position, plainPosition);
    EXPECT_TRUE(image.bytes == plain.bytes) << "marks";
    EXPECT_TRUE(front.bytes == plainFront.bytes);
    EXPECT_TRUE(back.bytes == plainBack.bytes);
    EXPECT_TRUE(edge.bytes == plainEdge.bytes);
    return position;
}

uint32_t ColourAt(ColourImage &image, int row, int column) {
    const uint8_t *pixel = image.At(row, column);
    return uint32_t{pixel[0]} << 16 | uint32_t{pixel[1]} << 8 | pixel[2];
}

TEST(CardSearchTest, CardCorner) {
    // Below the rounded corner's 24th column a card has its last three rows, the first of which makes the
    // corner: the edge lies 13 rows behind the card's last one. A leading column is the one before the card.
    const struct {
        const char *name;
        DrawnCard front, back;
        CardPosition found;
    } cases[] = {
        {"straight", {150, 1155}, {140, 2520}, {149, 1168, 139, 2533, false}},
        // Three bright rows make the leading edge, and the corner's column follows the rows near it.
        {"skewed", {150, 1155, 0.02}, {140, 2520, -0.02}, {157, 1169, 123, 2530, false}},
        {"seen in the first column", {40, 1150}, {40, 2515}, {39, 1163, 39, 2528, false}},
        {"at the low limit", {150, 1127}, {140, 2497}, {149, 1140, 139, 2510, false}},
        {"below it", {150, 1127}, {140, 2496}, {149, 1140, 139, 2520, false}},
        {"at the high limit", {150, 1167}, {140, 2537}, {149, 1180, 139, 2550, false}},
        {"above it", {150, 1168}, {140, 2538}, {149, 1170, 139, 2540, false}},
        {"behind the last column tried", {330, 1155}, {330, 2520}, {319, 1168, 319, 2533, false}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ColourImage image = CardImage(c.front, c.back);
        EXPECT_EQ(Search(image), c.found);
    }
}

TEST(CardSearchTest, NothingAtAllGivesTheLastPositions) {
    ColourImage image(1);
    EXPECT_EQ(Search(image), (CardPosition{319, 1170, 319, 2540, false}));
    // Nothing bright near column 319: the corner is looked for beside column 329, and never found.
    EXPECT_EQ(ColourAt(image, 1125, 329), 0xFF7F3FU);
    EXPECT_EQ(ColourAt(image, 1125, 353), 0xFF7F3FU);
    EXPECT_EQ(ColourAt(image, 1185, 353), 0x00FF00U) << "the corner's mark comes last";
    EXPECT_EQ(ColourAt(image, 1200, 352), 0x8F8F8FU);
    EXPECT_EQ(ColourAt(image, 2560, 354), 0x8F8F8FU);
}

TEST(CardSearchTest, LeadingEdgeThreshold) {
    // Eight rows whose channels count up to 32 each: 336 in all make the edge.
    ColourImage image(0);
    for (int row = 210; row <= 910; row += 100)
        image.Fill(row, row, 100, 100, 14);
    *image.At(210, 100) = 13;
    image.Fill(1500, 1500, 200, 200, 255);
    EXPECT_EQ(FindCard(image.View()).frontLeadCol, 319);
    *image.At(210, 100) = 14;
    for (int row = 1600; row <= 1800; row += 100)
        image.Fill(row, row, 200, 200, 255);
    const CardPosition found = FindCard(image.View());
    EXPECT_EQ(found.frontLeadCol, 99);
    EXPECT_EQ(found.backLeadCol, 199) << "4 rows x 3 x 32 = 384";
}

TEST(CardSearchTest, GreyBand) {
    const auto base = [] {
        ColourImage image = CardImage({150, 1155}, {140, 2520});
        image.Fill(2501, 2600, 60, 330, 40);
        return image;
    };
    const auto greenAt70 = [](ColourImage &image, int firstRow, int lastRow, uint8_t value) {
        for (int row = firstRow; row <= lastRow; row++)
            image.At(row, 70)[1] = value;
    };
    const struct {
        const char *name;
        std::function<void(ColourImage &)> change;
        CardPosition found;
    } cases[] = {
        // Without a change the card's edge is the band's, 2500, and the front has none.
        {"unchanged", [](ColourImage &) {}, {149, 1134, 139, 2504, true}},
        {"never bright",
         [&](ColourImage &image) { greenAt70(image, 2400, 2600, 24); },
         {149, 1134, 139, 2499, true}},
        {"never dark",
         [&](ColourImage &image) {
             greenAt70(image, 2400, 2600, 20);
             greenAt70(image, 2590, 2591, 25);
         },
         {149, 1134, 139, 2499, true}},
        {"edges beside the band",
         [&](ColourImage &image) {
             greenAt70(image, 1130, 1231, 30);
             greenAt70(image, 1177, 1178, 19);
             greenAt70(image, 2495, 2596, 30);
             greenAt70(image, 2529, 2530, 19);
         },
         {149, 1182, 139, 2534, true}},
        {"single dark rows are no edge",
         [&](ColourImage &image) {
             greenAt70(image, 2495, 2596, 30);
             greenAt70(image, 2590, 2590, 19);
             greenAt70(image, 2580, 2581, 20);
             greenAt70(image, 2510, 2511, 0);
         },
         {149, 1134, 139, 2515, true}},
        {"edge at the first row",
         [&](ColourImage &image) {
             greenAt70(image, 1130, 1231, 30);
             greenAt70(image, 1228, 1229, 0);
             greenAt70(image, 2495, 2596, 30);
             greenAt70(image, 2593, 2594, 0);
         },
         {149, 1233, 139, 2598, true}},
        {"30 rows are enough",
         [](ColourImage &image) { image.Fill(2531, 2600, 100, 330, 5); },
         {149, 1134, 139, 2504, true}},
        {"29 rows are not",
         [](ColourImage &image) { image.Fill(2530, 2600, 100, 330, 5); },
         {149, 1168, 139, 2545, false}},
        {"too dark",
         [](ColourImage &image) { image.Fill(2501, 2600, 60, 330, 20); },
         {149, 1168, 139, 2516, false}},
        {"uneven",
         [](ColourImage &image) { image.Fill(2501, 2600, 300, 300, 55); },
         {149, 1168, 139, 2540, false}},
        {"not quite uneven",
         [](ColourImage &image) {
             for (int row = 2501; row <= 2600; row++) {
                 image.At(row, 300)[1] = 55;
                 image.At(row, 300)[2] = 54;
             }
         },
         {149, 1134, 139, 2504, true}},
        {"red at column 315 by exactly 1.7",
         [](ColourImage &image) {
             for (int row = 2501; row <= 2600; row++) {
                 image.At(row, 315)[1] = 39;
                 image.At(row, 315)[2] = 68;
             }
         },
         {149, 1168, 139, 2540, false}},
        {"by less",
         [](ColourImage &image) {
             for (int row = 2501; row <= 2600; row++) {
                 image.At(row, 315)[1] = 39;
                 image.At(row, 315)[2] = 67;
             }
         },
         {149, 1134, 139, 2504, true}},
        {"cyan at column 100 by exactly 0.6",
         [](ColourImage &image) {
             for (int row = 2501; row <= 2600; row++) {
                 image.At(row, 100)[1] = 49;
                 image.At(row, 100)[2] = 30;
             }
         },
         {149, 1168, 139, 2540, false}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ColourImage image = base();
        c.change(image);
        EXPECT_EQ(Search(image), c.found);
    }
}

TEST(CardSearchTest, GreyBandMarks) {
    ColourImage image(0);
    image.Fill(2501, 2600, 100, 330, 40);
    image.Fill(1200, 1232, 70, 70, 30); // an edge between rows 1199 and 1200 on the front
    const CardPosition found = FindCard(image.View());
    ASSERT_EQ(found, (CardPosition{319, 1203, 319, 2499, true}));
    const struct {
        int row, column;
        uint32_t colour;
    } marks[] = {{1130, 70, 0x202080},  {1230, 70, 0x202080},  {2595, 70, 0x202080},  {1199, 70, 0x0000B0},
                 {2495, 70, 0x0000B0},  {1203, 250, 0x0000D0}, {2499, 250, 0x0000D0}, {1203, 275, 0x0000FF},
                 {2499, 275, 0x0000FF}, {1203, 319, 0xFF3F00}, {2499, 319, 0xFF3F00}};
    for (const auto &mark : marks)
        EXPECT_EQ(ColourAt(image, mark.row, mark.column), mark.colour) << mark.row << ' ' << mark.column;
}

TEST(CardSearchTest, NoiseIsSearchedWithinTheImage) {
    for (uint32_t seed = 20; seed < 24; seed++) {
        ColourImage image;
        FillRandom(image.bytes, seed);
        for (uint8_t &byte : image.bytes)
            byte = static_cast<uint8_t>(byte >> (seed % 4));
        Search(image);
    }
}

TEST(RgbCropTest, CardIsTurnedUpsideDownAndMissingRowsAreFilled) {
    // A grey band without edges puts the front's edge at row 1134, so that the last 46 rows do not exist.
    ColourImage raw(0), corrected(0);
    raw.Fill(2501, 2600, 100, 330, 40);
    for (int row = 0; row < kSensorRows; row++)
        corrected.Fill(row, row, 0, kRgbColumns - 1, static_cast<uint8_t>(row % 251));
    *corrected.At(1133, 319) = 254;
    *corrected.At(1133, 2198) = 253;
    ColourImage front(1180, 1880, 77), back(1180, 1880, 77), edge(60, 500, 77);
    CardPosition position{};
    RgbCrop(raw.View(), corrected.View(), position, front.View(), back.View(), edge.View());
    ASSERT_EQ(position, (CardPosition{319, 1134, 319, 2499, true}));
    EXPECT_EQ(*front.At(0, 0), 254);
    EXPECT_EQ(*front.At(0, 1879), 253);
    EXPECT_EQ(front.At(1133, 1000)[1], 0);
    EXPECT_EQ(*front.At(1134, 0), 2);
    EXPECT_EQ(*front.At(1179, 1879), 2);
    EXPECT_EQ(back.At(0, 0)[2], 2498 % 251);
    EXPECT_EQ(back.At(1179, 0)[2], 1319 % 251) << "rows of the front sensor are taken as they are";
}

TEST(RgbCropTest, EdgeStripOfACardInTheFirstColumnBeginsWithColumnZero) {
    ColourImage raw = CardImage({40, 1150}, {40, 2515}), corrected(0);
    for (int row = 2450; row < 2600; row++)
        for (int column : {0, 3, 7})
            raw.At(row, column)[0] = static_cast<uint8_t>(row - 2450 + column);
    ColourImage front(1180, 1880, 77), back(1180, 1880, 77), edge(60, 500, 77);
    CardPosition position{};
    RgbCrop(raw.View(), corrected.View(), position, front.View(), back.View(), edge.View());
    ASSERT_EQ(position.backLeadCol, 39);
    for (const int row : {0, 45, 59}) {
        const int source = position.backEdgeRow + 45 - row - 2450;
        EXPECT_EQ(*edge.At(row, 0), source);
        EXPECT_EQ(*edge.At(row, 1), source + 3);
        EXPECT_EQ(*edge.At(row, 2), source + 7);
    }
}

} // namespace
} // namespace k274
