// The jitter test: band, fringes, score, series, and what it draws.
#include "src/analysis/jitter.h"

#include "include/k274.h"
#include "src/analysis/jitter_chart.h"
#include "src/decoders/barcode.h"
#include "src/decoders/barcode_threads.h"
#include "src/decoders/jitter_step.h"
#include "src/state/barcode_state.h"
#include "src/state/flags.h"
#include "src/state/image_set.h"
#include "src/state/measures.h"
#include "src/state/records.h"
#include "tests/support/data.h"
#include "tests/support/images.h"
#include "tests/support/library_fixture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <mutex>
#include <utility>

namespace k274 {
namespace {

const std::string kCard = "Jitter Test Card";

BarcodeRecord Read(const std::string &text, const std::vector<int> &place) {
    BarcodeRecord read{};
    read.pdfLength = static_cast<int16_t>(text.size());
    std::memcpy(read.pdfText, text.data(), text.size());
    read.position[0] = static_cast<uint16_t>(place[0]);
    read.position[1] = static_cast<uint16_t>(place[1]);
    read.orientation = static_cast<decltype(read.orientation)>(place[2]);
    return read;
}

TEST(JitterTest, BandIsChosenByTextThenPlaceThenOrientation) {
    for (const auto &row : Table("analysis/jitter_bands.txt")) {
        const auto band = ChooseJitterBand(Read(row[1], Ints(row[2])));
        std::vector<int> chosen;
        if (band)
            chosen = {band->x0, band->x1, band->y0, band->y1, band->chartRow, band->divisor};
        EXPECT_EQ(chosen, Ints(row[3])) << row[0];
    }
}

constexpr JitterBand kBand = {100, 1775, 130, 630, 744, 4};

TEST(JitterTest, LevelIsTheFringeThatEnoughRowsExceed) {
    for (const auto &row : Table("analysis/jitter_levels.txt")) {
        SCOPED_TRACE(row[0]);
        const std::vector<int> bytes = Ints(row[1]), rows = Ints(row[2]);
        ColourImage image(K274_NAT_HEIGHT, K274_NAT_WIDTH, 0);
        for (const int column : {49, 50, 51, 900, 1829, 1830})
            for (const int channel : {0, 2})
                image.FillChannel(rows[0], rows[0] + rows[1] - 1, column, column, channel,
                                  bytes[channel == 0 ? 0 : 1]);
        const FringeLevels levels = MeasureFringes(image.View(), kBand);
        const int level = Ints(row[3])[0];
        // Columns 49 and 1830 count as 0.
        const std::pair<size_t, int> expected[] = {{900, level / 3},    {901, level / 3},  {902, 0}, {49, 0},
                                                   {50, 2 * level / 3}, {1829, level / 3}, {1830, 0}};
        for (const auto &[column, value] : expected)
            EXPECT_EQ(levels[column], value) << column;
    }
    // Rows that the image does not have are in the limit: 1180 of 9440 are not more than an eighth.
    ColourImage image(K274_NAT_HEIGHT, K274_NAT_WIDTH, 0);
    image.FillChannel(0, image.rows - 1, 400, 402, 0, 90);
    EXPECT_EQ(MeasureFringes(image.View(), {60, 1820, -8260, 1180, 0, 8})[401], 0);
    EXPECT_EQ(MeasureFringes(image.View(), {60, 1820, -8259, 1180, 0, 8})[401], 90);
    EXPECT_EQ(MeasureFringes(image.View(), {60, 1820, -8000, 1440, 0, 8})[401], 0);
}

TEST(JitterTest, ScoreOfWeightsClassesAndPeak) {
    std::vector<std::vector<int>> weights;
    for (const auto &row : Table("analysis/jitter_weights.txt"))
        weights.push_back(Ints(row[0]));
    // Five columns of one level: their weights alone, in steps of one point of the value.
    int weight = 0;
    for (int level = 0; level < 200; level++) {
        for (const auto &from : weights)
            weight = level == from[0] ? from[1] : weight;
        FringeLevels levels{};
        std::fill_n(levels.begin() + 90, 5, level);
        const int score =
            10 * (level < 180 ? weight : level - 150) + std::min(200, std::max(0, level - 100) * 5 / 2);
        EXPECT_EQ(JitterScore(levels, kBand), (score > 80 ? score - 60 : score / 4) / 10) << level;
    }
    for (const auto &row : Table("analysis/jitter_scores.txt")) {
        FringeLevels levels{};
        int column = 1785; // the last columns that count are those before this one
        levels[1785] = levels[89] = 255;
        const std::vector<int> columns = Ints(row[1]);
        for (size_t k = 0; k < columns.size(); k += 2)
            for (int i = 0; i < columns[k]; i++)
                levels[static_cast<size_t>(--column)] = columns[k + 1];
        EXPECT_EQ(JitterScore(levels, kBand), Ints(row[2])[0]) << row[0];
    }
}

// Rows that are alike, and in them runs of one colour up to a column; what holds the ground alone is left
// out.
std::string Drawn(ConstColourView image) {
    std::vector<std::string> rows;
    for (int row = 0; row < image.rows; row++) {
        rows.emplace_back();
        for (int column = 1; column <= image.columns; column++) {
            const uint8_t *last = image.Pixel(row, column - 1);
            if (column < image.columns && std::memcmp(last, last + 3, 3) == 0)
                continue;
            char run[32];
            std::snprintf(run, sizeof run, " %02x%02x%02x-%d", last[0], last[1], last[2], column);
            rows.back() += run;
        }
    }
    std::string text;
    for (size_t row = 0, first = 0; row < rows.size(); row++)
        if (row + 1 == rows.size() || rows[row] != rows[row + 1]) {
            text += std::to_string(first) + " to " + std::to_string(row) + ":" + rows[row] + "\n";
            first = row + 1;
        }
    return text;
}

TEST(JitterTest, ChartAndVerdicts) {
    FringeLevels levels{};
    levels[1001] = 4;
    levels[1002] = 255;
    ColourImage image(K274_NAT_HEIGHT, K274_NAT_WIDTH, 7);
    DrawJitterChart(kBand, levels, image.View());
    std::string drawn = Drawn(image.View());
    // Old bytes of 7 under three parts of the colour.
    for (const auto &[value, most] : {std::pair{49, -1}, {50, 0}, {99, 99}, {100, 100}}) {
        ColourImage boxes(K274_NAT_HEIGHT, K274_NAT_WIDTH, 7);
        DrawJitterBoxes(kBand, value, most, boxes.View());
        drawn += "\nvalue " + std::to_string(value) + ", most " + std::to_string(most) + "\n" +
                 Drawn(boxes.View());
    }
    ExpectKept("analysis/jitter_chart.txt", drawn);
}

struct JitterSeriesTest : LibraryTest {
    void SetUp() override {
        LibraryTest::SetUp();
        state.scanCounter = 12;
        TakeLog();
    }
    // Shows fringes of level 120 in so many columns, and takes the test.
    static int32_t Test(const BarcodeRecord &read, int columns, uint32_t scanner) {
        {
            std::lock_guard guard(barcode.lock);
            barcode.record = read;
        }
        records.version.serialNumber = scanner;
        std::memset(imageSet.NatBk, 0, sizeof imageSet.NatBk);
        for (int row = 0; row < K274_NAT_HEIGHT; row++)
            for (int column = 500; column < 500 + columns; column++)
                NatBk().Pixel(row, column)[0] = 120;
        return JitterTest();
    }
    static ColourView NatBk() { return {imageSet.NatBk, K274_NAT_HEIGHT, K274_NAT_WIDTH}; }
};

TEST_F(JitterSeriesTest, FiveScoresOfOneCardAndScanner) {
    Texts lines;
    for (const auto &row : Table("analysis/jitter_series.txt")) {
        const std::vector<int> numbers = Ints(row[2] + ' ' + row[3] + ' ' + row[4]);
        const int most = numbers[2], value = numbers[3];
        EXPECT_EQ(Test(Read(row[0], Ints(row[1])), numbers[0], static_cast<uint32_t>(numbers[1])),
                  most * 65536 + value);
        if (most != 0 || value != 0)
            lines.push_back("Jitr,    00012, " + std::to_string(value) + ", " + std::to_string(most));
    }
    EXPECT_EQ(Log(), lines);
}

TEST_F(JitterSeriesTest, DrawsWhatTheImageHasRoomFor) {
    for (int i = 0; i < 4; i++)
        Test(Read(kCard, {0, 0, 0}), 0, 4711);
    std::string drawn;
    // The card, another text of its length, none, none far outside, none with half of the chart below the
    // image.
    const std::pair<BarcodeRecord, int> cases[] = {{Read(kCard, {0, 0, 0}), 0},
                                                   {Read("sixteen letters!", {0, 0, 1}), 0},
                                                   {Read("", {0, 0, 1}), -1},
                                                   {Read("", {1, 65535, 1}), -1},
                                                   {Read("", {177, 900, 1}), -1}};
    for (const auto &[read, most] : cases) {
        EXPECT_EQ(Test(read, 0, 4711), most * 65536);
        drawn += Drawn(NatBk()) + "\n";
    }
    ExpectKept("analysis/jitter_drawn.txt", drawn);
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
