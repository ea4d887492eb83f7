// The jitter test: band, fringes, score, series, and what it draws.
#include "src/analysis/jitter.h"
#include "src/decoders/jitter_step.h"

#include "include/k274.h"
#include "src/analysis/jitter_chart.h"
#include "src/decoders/barcode.h"
#include "src/state/flags.h"
#include "src/state/image_set.h"
#include "src/state/measures.h"
#include "src/state/session.h"
#include "tests/support/images.h"
#include "tests/support/library_fixture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <mutex>
#include <utility>

namespace k274 {
namespace {

constexpr char kCard[] = "Jitter Test Card";

BarcodeRecord Read(const std::string &text, uint16_t first, uint16_t second, int orientation) {
    BarcodeRecord read{};
    read.pdfLength = static_cast<int16_t>(text.size());
    std::memcpy(read.pdfText, text.data(), text.size());
    read.position[0] = first;
    read.position[1] = second;
    read.orientation = static_cast<decltype(read.orientation)>(orientation);
    return read;
}

TEST(JitterBandTest, ChosenByTextThenPlaceThenOrientation) {
    const struct {
        const char *name;
        BarcodeRecord read;
        bool chosen;
        JitterBand band;
    } cases[] = {
        {"the card", Read(kCard, 300, 900, 1), true, {100, 1775, 130, 630, 744, 4}},
        {"nearly the card", Read("Jitter Test Cards", 156, 900, 1), true, {60, 1820, 280, 1004, 1124, 8}},
        {"chart above", Read("", 155, 900, 0), true, {60, 1820, 280, 1005, 220, 8}},
        {"one row", Read("", 500, 521, 0), true, {60, 1820, 659, 660, 780, 8}},
        {"no row", Read("", 500, 520, 1), false, {}},
        {"far outside", Read("", 1, 65535, 0), true, {60, 1820, -64355, 1159, -64415, 8}},
        {"one word", Read("abc", 0, 700, 2), true, {100, 1775, 650, 900, 1105, 4}},
        {"the other", Read("abc", 700, 0, 4), true, {100, 1775, 650, 900, 1105, 4}},
        {"nothing", Read("abc", 700, 0, 0), false, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const auto band = ChooseJitterBand(c.read);
        ASSERT_EQ(band.has_value(), c.chosen);
        if (band)
            EXPECT_EQ(std::memcmp(&*band, &c.band, sizeof c.band), 0) << band->y0 << ' ' << band->chartRow;
    }
}

TEST(JitterTest, LevelIsTheFringeThatEnoughRowsExceed) {
    const JitterBand band = {100, 1775, 130, 630, 744, 4};
    const struct {
        const char *name;
        uint8_t first, third;
        int firstRow, rows, level;
    } cases[] = {
        {"a quarter", 140, 60, 130, 125, 0},      {"more", 140, 60, 504, 126, 80},
        {"the other way", 60, 140, 130, 500, 80}, {"partly outside", 140, 60, 505, 126, 0},
        {"black", 32, 32, 130, 500, 0},           {"nearly black", 33, 32, 130, 500, 8},
        {"white", 100, 255, 130, 500, 15},        {"nearly white", 99, 255, 130, 500, 156},
        {"most", 255, 0, 130, 500, 255},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ColourImage image(K274_NAT_HEIGHT, K274_NAT_WIDTH, 0);
        for (int row = c.firstRow; row < c.firstRow + c.rows; row++)
            for (const int column : {49, 50, 51, 900, 1829, 1830}) {
                image.At(row, column)[0] = c.first;
                image.At(row, column)[2] = c.third;
            }
        const FringeLevels levels = MeasureFringes(image.View(), band);
        EXPECT_EQ(levels[900], c.level / 3);
        EXPECT_EQ(levels[901], c.level / 3);
        EXPECT_EQ(levels[902], 0);
        EXPECT_EQ(levels[49], 0);
        EXPECT_EQ(levels[50], 2 * c.level / 3) << "column 49 counts as 0";
        EXPECT_EQ(levels[1829], c.level / 3) << "and so does column 1830";
        EXPECT_EQ(levels[1830], 0);
    }
    // Rows that the image does not have are in the limit: 1180 of 9440 are not more than an eighth.
    ColourImage image(K274_NAT_HEIGHT, K274_NAT_WIDTH, 0);
    for (int row = 0; row < image.rows; row++)
        for (int column = 400; column < 403; column++)
            image.At(row, column)[0] = 90;
    EXPECT_EQ(MeasureFringes(image.View(), {60, 1820, -8260, 1180, 0, 8})[401], 0);
    EXPECT_EQ(MeasureFringes(image.View(), {60, 1820, -8259, 1180, 0, 8})[401], 90);
    EXPECT_EQ(MeasureFringes(image.View(), {60, 1820, -8000, 1440, 0, 8})[401], 0);
}

// Weights by the first level that has them.
int WeightOf(int level) {
    const int first[][2] = {{0, 0},    {60, 2},   {70, 3},   {80, 4},   {85, 5},   {90, 6},
                            {95, 7},   {100, 8},  {105, 9},  {110, 10}, {115, 11}, {120, 12},
                            {125, 13}, {130, 14}, {135, 15}, {140, 16}, {144, 17}, {147, 18},
                            {150, 19}, {154, 20}, {157, 21}, {160, 22}, {164, 23}, {167, 24},
                            {170, 25}, {172, 26}, {174, 27}, {176, 28}, {178, 29}};
    if (level >= 180)
        return level - 150;
    int weight = 0;
    for (const auto &[from, value] : first)
        if (level >= from)
            weight = value;
    return weight;
}

TEST(JitterTest, ScoreOfWeightsClassesAndPeak) {
    const JitterBand band = {100, 1775, 130, 630, 744, 4};
    // Five columns of one level: their weights alone, in steps of one point of the value.
    for (int level = 0; level < 200; level++) {
        FringeLevels levels{};
        std::fill_n(levels.begin() + 90, 5, level);
        const int score = 10 * WeightOf(level) + std::min(200, std::max(0, level - 100) * 5 / 2);
        EXPECT_EQ(JitterScore(levels, band), (score > 80 ? score - 60 : score / 4) / 10) << level;
    }
    const struct {
        const char *name;
        std::vector<std::pair<int, int>> columns; // how many, of which level
        int value;
    } cases[] = {
        {"80 becomes 20", {{20, 60}}, 2},
        {"84 becomes 24", {{21, 60}}, 2},
        {"88 becomes 28", {{11, 80}}, 2},
        {"92 becomes 32", {{23, 60}}, 3},
        {"no class from 200 on", {{1, 200}}, 44},
        {"no class from 140 on", {{100, 140}}, 324},               // 3200 + 100 - 60
        {"high", {{31, 139}}, 97},                                 // 930 + 5 + 97 - 60
        {"middle", {{62, 99}}, 81},                                // 868 + 5 - 60
        {"low", {{93, 59}}, 0},                                    // 5 / 4
        {"low, many", {{150, 50}}, 4},                             // 100 - 60
        {"allowed together", {{20, 60}, {10, 100}, {30, 50}}, 18}, // 80 + 160 - 60
        {"one too many", {{22, 60}, {10, 100}, {30, 50}}, 19},     // 88 + 160 + 5 - 60
    };
    for (const auto &c : cases) {
        FringeLevels levels{};
        int column = 1785; // the last columns that count are those before this one
        levels[1785] = levels[89] = 255;
        for (const auto &[count, level] : c.columns)
            for (int i = 0; i < count; i++)
                levels[static_cast<size_t>(--column)] = level;
        EXPECT_EQ(JitterScore(levels, band), c.value) << c.name;
    }
}

std::vector<int> PixelOf(ConstColourView image, int column, int row) {
    const uint8_t *pixel = image.Pixel(row, column);
    return {pixel[0], pixel[1], pixel[2]};
}

TEST(JitterChartTest, LinesMarksAndBars) {
    const JitterBand band = {100, 1775, 130, 630, 744, 4};
    ColourImage image(K274_NAT_HEIGHT, K274_NAT_WIDTH, 7);
    FringeLevels levels{};
    levels[1001] = 4;
    levels[1002] = 255;
    DrawJitterChart(band, levels, image.View());
    const struct {
        int column, row;
        std::vector<int> colour;
    } cases[] = {
        {90, 747, {7, 7, 7}},        {90, 746, {200, 200, 200}},   {1784, 664, {200, 200, 200}},
        {1784, 663, {7, 7, 7}},      {89, 700, {7, 7, 7}},         {1785, 700, {7, 7, 7}},
        {500, 744, {128, 128, 128}}, {500, 714, {144, 144, 144}},  {500, 694, {0, 0, 255}},
        {500, 674, {80, 80, 128}},   {507, 719, {128, 128, 128}},  {508, 719, {200, 200, 200}},
        {504, 669, {128, 128, 128}}, {503, 669, {200, 200, 200}},  {1122, 663, {0, 0, 255}},
        {1134, 665, {0, 0, 255}},    {1121, 664, {0, 0, 255}},     {1121, 663, {7, 7, 7}},
        {782, 666, {0, 0, 255}},     {791, 666, {0, 0, 255}},      {415, 668, {0, 0, 255}},
        {99, 130, {0, 0, 0}},        {100, 130, {7, 7, 7}},        {1775, 630, {7, 7, 7}},
        {1776, 630, {0, 0, 0}},      {90, 144, {0, 0, 0}},         {90, 145, {7, 7, 7}},
        {1785, 130, {0, 0, 0}},      {1785, 616, {0, 0, 0}},       {1785, 615, {7, 7, 7}},
        {1001, 744, {0, 0, 0}},      {1001, 743, {200, 200, 200}}, {1002, 660, {0, 0, 0}},
        {1002, 659, {7, 7, 7}},      {1003, 744, {128, 128, 128}},
    };
    for (const auto &c : cases)
        EXPECT_EQ(PixelOf(image.View(), c.column, c.row), c.colour) << c.column << ' ' << c.row;
}

TEST(JitterChartTest, BoxesTellTheVerdict) {
    // Old bytes of 7 under three parts of the colour.
    const std::vector<int> green = {1, 193, 1}, orange = {1, 97, 193}, red = {1, 1, 193}, none = {7, 7, 7};
    const struct {
        int value, most;
        std::vector<int> valueBox, seriesBox;
    } cases[] = {
        {49, -1, green, none}, {50, 0, orange, green}, {99, 99, orange, orange}, {100, 100, red, red}};
    for (const auto &c : cases) {
        ColourImage image(K274_NAT_HEIGHT, K274_NAT_WIDTH, 7);
        DrawJitterBoxes({100, 1775, 130, 630, 744, 4}, c.value, c.most, image.View());
        for (const auto &[column, row] : {std::pair{1715, 769}, {1754, 808}})
            EXPECT_EQ(PixelOf(image.View(), column, row), c.valueBox);
        for (const auto &[column, row] : {std::pair{1665, 829}, {1754, 873}})
            EXPECT_EQ(PixelOf(image.View(), column, row), c.seriesBox);
        for (const auto &[column, row] : {std::pair{1714, 769}, {1755, 808}, {1664, 829}, {1755, 874}})
            EXPECT_EQ(PixelOf(image.View(), column, row), none);
    }
}

struct JitterSeriesTest : LibraryTest {
    void SetUp() override {
        LibraryTest::SetUp();
        session.version.serialNumber = 4711;
        state.scanCounter = 12;
        TakeLog();
    }
    // Shows fringes of level 120 in so many columns, and takes the test.
    static int32_t Test(const BarcodeRecord &read, int columns) {
        {
            std::lock_guard guard(barcode.lock);
            barcode.record = read;
        }
        std::memset(imageSet.NatBk, 0, sizeof imageSet.NatBk);
        for (int row = 0; row < K274_NAT_HEIGHT; row++)
            for (int column = 500; column < 500 + columns; column++)
                NatBk().Pixel(row, column)[0] = 120;
        return JitterTest();
    }
    static ColourView NatBk() { return {imageSet.NatBk, K274_NAT_HEIGHT, K274_NAT_WIDTH}; }
};

constexpr int32_t Packed(int most, int value) { return most * 65536 + value; }

TEST_F(JitterSeriesTest, FiveScoresOfOneCardAndScanner) {
    const BarcodeRecord card = Read(kCard, 0, 0, 0), sameLength = Read("sixteen letters!", 300, 900, 1),
                        other = Read("other", 300, 900, 1);
    // n columns: n - 2 of level 120, one of 80 on either side, a peak of 120; 24 (n - 2) + 16 + 50 - 60.
    const struct {
        BarcodeRecord read;
        int columns;
        uint32_t serialNumber;
        int32_t result;
    } cases[] = {
        {card, 12, 4711, Packed(-1, 24)},
        {card, 7, 4711, Packed(-1, 12)},
        {card, 42, 4711, Packed(-1, 102)}, // and five for each of 11 too many
        {card, 9, 4711, Packed(-1, 17)},
        {card, 3, 4711, Packed(102, 3)},
        {card, 3, 4711, Packed(102, 3)},
        {Read("nowhere", 0, 0, 0), 50, 4711, 0}, // not measured, no part of the series
        {card, 3, 4711, Packed(102, 3)},
        {card, 3, 4711, Packed(17, 3)},
        {sameLength, 9, 4711, Packed(17, 17)},
        {other, 9, 4711, Packed(-1, 17)},
        {card, 0, 4711, Packed(-1, 0)},
        {card, 0, 4711, Packed(-1, 0)},
        {card, 0, 4711, Packed(-1, 0)},
        {card, 0, 4711, Packed(17, 0)},
        {card, 0, 4712, Packed(-1, 0)},
        {card, 0, 4711, Packed(-1, 0)},
    };
    Texts lines;
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        session.version.serialNumber = c.serialNumber;
        EXPECT_EQ(Test(c.read, c.columns), c.result);
        if (c.result != 0)
            lines.push_back("Jitr,    00012, " + std::to_string(c.result & 0xFFFF) + ", " +
                            std::to_string(c.result >> 16));
    }
    EXPECT_EQ(Log(), lines);
}

TEST_F(JitterSeriesTest, DrawsWhatTheImageHasRoomFor) {
    const std::vector<int> black = {0, 0, 0}, green = {0, 191, 0}, red = {0, 0, 191};
    const struct {
        const char *name;
        BarcodeRecord read;
        int32_t result;
        std::vector<int> chart, valueBox, seriesBox, barcodeBox; // at the places of the third band's
    } cases[] = {
        {"the card", Read(kCard, 0, 0, 0), Packed(0, 0), black, black, black, black},
        {"read", Read("sixteen letters!", 0, 0, 1), Packed(0, 0), {128, 128, 128}, green, black, green},
        {"not read", Read("", 0, 0, 1), Packed(-1, 0), {128, 128, 128}, green, black, red},
        {"far outside", Read("", 1, 65535, 1), Packed(-1, 0), black, black, black, red},
        {"chart half below", Read("", 177, 900, 1), Packed(-1, 0), {200, 200, 200}, black, black, red},
    };
    for (int i = 0; i < 4; i++)
        Test(cases[0].read, 0);
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Test(c.read, 0), c.result);
        EXPECT_EQ(PixelOf(NatBk(), 501, 1105), c.chart);
        EXPECT_EQ(PixelOf(NatBk(), 1715, 1169), c.valueBox);
        EXPECT_EQ(PixelOf(NatBk(), 1665, 1179), c.seriesBox);
        EXPECT_EQ(PixelOf(NatBk(), 1830, 1130), c.barcodeBox);
        EXPECT_EQ(PixelOf(NatBk(), 1869, 1169), c.barcodeBox);
        EXPECT_EQ(PixelOf(NatBk(), 1870, 1170), black);
    }
}

// Reads of the jitter card's length alone keep the series.
TEST_F(JitterSeriesTest, DecodersEndIt) {
    const auto pdf = [](const std::string &text) { return scripted::Symbol{0x1000, text}; };
    const scripted::Symbol sixteen = pdf(kCard), five = pdf("other"), mode = pdf("Decode Mode: 1"), none;
    const struct {
        const char *name;
        scripted::Symbol first, second;
        int32_t count;
    } cases[] = {
        {"first reads the card", sixteen, none, 3},
        {"first reads another", five, none, 0},
        {"decode mode", mode, none, 0},
        {"second reads the card", none, sixteen, 3},
        {"second reads another", none, five, 0},
        {"none reads", none, none, 0},
    };
    measures.cardClass = -1;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ClearBarcode();
        SetDecodeMode(1);
        measures.jitter.count = 3;
        bool isFirst = true;
        scripted::TheDecoder().onDecode = [&](const scripted::DecodeRequest &) {
            return std::exchange(isFirst, false) ? c.first : c.second;
        };
        StartBarcodeDecode();
        AwaitThreadsEnd();
        EXPECT_EQ(measures.jitter.count, c.count);
    }
}

} // namespace
} // namespace k274
