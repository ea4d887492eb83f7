// The still image: its capture, also from a scanner that fails, and its measures on images made by hand.
#include "src/maint/still_image.h"

#include "src/maint/still_analysis.h"
#include "tests/support/images.h"
#include "tests/support/library_fixture.h"
#include "wire/bytes.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <numeric>

namespace k274 {
namespace {

using scripted::Reply;
using scripted::Sent;
using scripted::TheDriver;
using testing::Contains;
using testing::ElementsAre;

// ---- Capture

constexpr size_t kImageBytes = 1224000;

// A target with ramps, steps, dark stripes and specks that differ from line to line; beyond its edges it
// falls off to the dark level.
uint8_t TargetByte(int line, int pixel, int channel) {
    constexpr int kLight[4][3] = {{190, 172, 178}, {150, 90, 90}, {90, 140, 180}, {90, 140, 180}};
    const int beyond =
        pixel < 1350 ? std::max(60 - pixel, pixel - 1120) : std::max(1520 - pixel, pixel - 2640);
    const int step = pixel >= 2000 ? -25 : pixel >= 700 && pixel < 1350 ? 24 : 0;
    const int stripe = pixel % 400 < 10 ? -120 : 0;
    const int kind = (3 * line + 101 * pixel + 11 * channel) % 401, speck = kind < 6 ? 40 + 3 * kind : 0;
    const int light = kLight[line / 50][channel] + pixel % 450 / 30 + step + stripe + speck;
    return static_cast<uint8_t>(std::clamp(light - 6 * std::max(0, beyond), 20, 255));
}

Reply Lines(const Sent &last) {
    Reply reply(0, scripted::Bytes(256));
    const int first = wire::Load16(&last.bytes[8]),
              count = last.code == 0x04 ? wire::Load16(&last.bytes[10]) : 0;
    for (int line = first; line < first + count; line++)
        for (int i = 0; i < 8160; i++)
            reply.bytes.push_back(TargetByte(line, i / 3, i % 3));
    return reply;
}

std::vector<int32_t> Record() {
    std::vector<int32_t> record(74);
    CopyStillData(record.data());
    return record;
}

TEST_F(LibraryTest, StillImageIsFetchedAndAnalysed) {
    OpenDriver();
    TheDriver().onRead = [](const Sent &last, uint32_t) { return Lines(last); };
    std::vector<uint8_t> image(kImageBytes), profiles(6 * 2700);
    EXPECT_EQ(StillImage(image.data()), 0);
    EXPECT_THAT(test_clock::Sleeps(), Contains(125u));
    EXPECT_EQ(scripted::SentPackets(0x09).at(0).bytes[1], 0);
    EXPECT_EQ(scripted::CountSent(0x04), 40);
    // Worked out from the target by another program.
    const std::vector<int32_t> expected{
        217, 192, 210, 187, 228, 205,  189,  165,  199, 174, 210, 180, 120, 86,  113, 80,  131, 98, 91,
        64,  102, 69,  81,  54,  184,  160,  178,  154, 195, 172, 157, 134, 166, 143, 170, 139, 6,  78,
        6,   110, 0,   69,  32,  99,   26,   71,   42,  84,  12,  11,  7,   6,   0,   17,  0,   0,  0,
        0,   36,  20,  37,  49,  1129, 1539, 2681, 62,  77,  48,  53,  16,  17,  46,  25,  -1};
    EXPECT_EQ(Record(), expected);
    CopyStillProfiles(profiles.data());
    EXPECT_EQ(std::accumulate(profiles.begin(), profiles.end(), 0), 2318159);
    EXPECT_EQ(std::accumulate(image.begin(), image.end(), 0), 146029542);
    ReanalyseStill(scripted::Bytes(kImageBytes).data());
    EXPECT_NE(Record(), expected);
    ReanalyseStill(image.data());
    EXPECT_EQ(Record(), expected);
}

TEST_F(LibraryTest, FaultsOfTheStillCapture) {
    OpenDriver();
    const char *const kMode = "Error setting still image test mode";
    const char *const kLines = "Error getting still image data - cylcle port";
    const struct {
        uint8_t code;
        int number; // of the exchange of that code that fails
        bool read;
        Reply reply;
        int result, requests;
        const char *line;
    } cases[] = {
        {0x09, 1, false, {5}, -1, 0, kMode},
        {0x09, 1, true, {5}, 0, 40, nullptr},
        {0x04, 1, false, {5}, -1, 1, kLines},
        {0x04, 7, true, {5}, -1, 7, kLines},
        {0x04, 40, true, {0, scripted::Bytes(256 + 32640)}, -1, 40, kLines},
        {0x04, 1, true, {0, scripted::Bytes(20)}, 0, 40, nullptr}, // complete, but without lines
    };
    for (const auto &c : cases) {
        std::vector<uint8_t> image(kImageBytes, 9);
        const std::vector<int32_t> record = Record();
        TakeLog();
        TheDriver().sent.clear();
        TheDriver().calls.clear();
        int count = 0;
        const auto fails = [&](bool read, uint8_t code) {
            return read == c.read && code == c.code && ++count == c.number;
        };
        TheDriver().onSend = [&](const Sent &sent) { return fails(false, sent.code) ? c.reply : Reply{0}; };
        TheDriver().onRead = [&](const Sent &last, uint32_t) {
            return fails(true, last.code) ? c.reply : Lines(last);
        };
        EXPECT_EQ(StillImage(image.data()), c.result);
        EXPECT_EQ(scripted::CountSent(0x04), c.requests);
        EXPECT_THAT(TheDriver().calls, testing::SizeIs(c.line == kLines ? 1 : 0)) << "the port is cycled";
        if (c.line) {
            EXPECT_THAT(Log(), Contains(c.line));
            EXPECT_EQ(image, scripted::Bytes(kImageBytes, 9));
            EXPECT_EQ(Record(), record);
        }
        EXPECT_EQ(image[0], c.line ? 9 : c.code == 0x09 ? 20 : 0);
    }
}

// ---- Image and measures

struct StillTest : testing::Test {
    StillProfiles profiles = {};
    StillRecord record = {};
    ColourImage image{kStillLines, kLinePixels, 100};
};

TEST_F(StillTest, LevelsAndDefects) {
    const int darkWeights[] = {4, 4, 4, 3, 2, 2}, least[] = {80, 80, 80, 74, 80, 76};
    for (int k = 0; k < kStillProfiles; k++) {
        std::memset(profiles[k], 200, kSensorRows);
        profiles[k][500] = 0; // hidden from the floor
        for (const int beside : {69, 1080, 1619, 2630})
            profiles[k][beside] = 255;
        int p = 1620;
        for (const int value : {63, 64, least[k] - 1, least[k], 60, 251, 250, 200, 90})
            profiles[k][p++] = static_cast<uint8_t>(value);
        MeasureLevels(profiles, record);
        EXPECT_THAT(record.peaks[k], ElementsAre(200, 251));
        EXPECT_THAT(record.floors[k], ElementsAre(200, 90)) << "least at position 1624";
        EXPECT_EQ(record.means[k][0], 200 * 1009 / 1050);
        EXPECT_THAT(record.defects[k], ElementsAre(darkWeights[k] + 1, 2 * darkWeights[k] + 5));
    }
}

TEST_F(StillTest, TargetThatIsDarkOrHasNoEdges) {
    image.Fill(100, 149, 200, 984, 63); // of which 48 by 50 samples
    *image.At(148, 984) = 64;
    std::fill_n(record.means[5], 2, 80);
    CountDark(image.View(), record);
    EXPECT_EQ(record.darkCount, 2399);
    record.means[5][1] = 79;
    CountDark(image.View(), record);
    EXPECT_EQ(record.darkCount, 0);
    FindTargetEdges(image.View(), record);
    EXPECT_THAT(record.edges, ElementsAre(0, 1190, 1490, 2699));
    EXPECT_EQ(record.widthDifference, 2699 - 1490 - 1190);
    image.Fill(25, 25, 1069, 1081, 63);
    FindTargetEdges(image.View(), record);
    EXPECT_THAT(record.edges, testing::Each(0));
    EXPECT_EQ(record.widthDifference, 0);
}

TEST_F(StillTest, Balance) {
    // Which balance, the two brightnesses, the means of segment C; the balances of front and back.
    const int cases[][7] = {
        {0, 109, 100, 0, 0, 0, 0},   {0, 112, 100, 0, 0, 0, 5},   {0, 113, 100, 0, 0, 0, 6},
        {0, 117, 100, 0, 0, 0, 15},  {0, 79, 100, 0, 0, 0, 25},   {0, 255, 0, 0, 0, 62, 55},
        {1, 117, 100, 0, 0, 0, 0},   {1, 125, 100, 0, 0, 10, 10}, {1, 133, 100, 0, 0, 25, 25},
        {1, 141, 100, 0, 0, 40, 40}, {1, 75, 100, 0, 0, 8, 8},    {1, 67, 100, 0, 0, 22, 22},
        {1, 83, 100, 0, 0, 0, 0},    {1, 200, 100, 0, 0, 55, 55}, {2, 106, 100, 9, 9, 17, 17},
        {2, 93, 100, 9, 9, 25, 25},  {2, 113, 100, 9, 9, 55, 55}, {2, 114, 101, 200, 100, 8, 8},
        {2, 97, 101, 10, 100, 8, 8}, {2, 114, 101, 50, 0, 8, 8},  {2, 108, 101, 103, 100, 4, 4},
    };
    for (const auto &c : cases) {
        constexpr int kFirst[3] = {1, 0, 4};
        std::memset(profiles, c[2], sizeof profiles);
        std::memset(profiles[kFirst[c[0]]], c[1], kSensorRows);
        std::fill_n(record.means[4], 2, c[3]);
        std::fill_n(record.means[5], 2, c[4]);
        BalanceColours(profiles, record);
        EXPECT_THAT(record.balance[c[0]], ElementsAre(c[5], c[6])) << c[0] << ": " << c[1] << " to " << c[2];
    }
}

TEST_F(StillTest, ScoresAndVerdict) {
    const int curve[][2] = {{0, 100},  {33, 67},  {34, 66},  {66, 50}, {150, 18},
                            {151, 17}, {175, 16}, {5999, 1}, {6000, 0}};
    for (const auto &[penalty, score] : curve)
        EXPECT_EQ(StillScore(penalty), score) << penalty;
    using Values = std::vector<std::pair<int, int>>; // of the record
    const struct {
        Values faults;
        std::vector<int> expected; // sides, segments, verdict
    } cases[] = {
        {{}, {100, 100, 100, 100, 100, 2}},
        {{{26, 134}, {30, 120}, {32, 98}, {31, 100}}, {70, 63, 90, 63, 70, 0}}, // the largest lack counts
        {{{36, 5}, {38, 4}, {40, 99}, {43, 9}, {44, 5}, {46, 6}}, {94, 96, 96, 96, 98, 1}},
        {{{49, 7}, {50, 6}, {52, 6}, {54, 5}, {57, 4}}, {83, 89, 89, 100, 94, 1}},
        {{{58, 40}, {59, 66}, {60, 1}, {67, 20}}, {100, 100, 63, 50, 79, 1}},
        {{{59, 67}}, {100, 100, 100, 49, 100, -1}},
        {{{67, 21}}, {100, 100, 100, 100, 79, -1}},
        {{{66, 20}, {65, -25}}, {100, 100, 100, 100, 100, 2}},
        {{{66, 21}}, {100, 100, 100, 100, 100, -1}},
        {{{65, -26}}, {100, 100, 100, 100, 100, 0}},
        {{{65, 31}}, {100, 100, 100, 100, 100, -1}},
        // Peaks apart, the blue one above the green one, far from the reference of 200, above the floor
        {{{2, 225}, {3, 232}}, {95, 88, 88, 100, 100, 1}},
        {{{2, 219}, {3, 183}}, {100, 99, 99, 100, 100, 1}},
        {{{0, 176}, {2, 176}, {1, 228}, {3, 228}}, {90, 74, 74, 100, 100, 1}},
        {{{0, 168}, {2, 168}, {1, 236}, {3, 236}}, {66, 59, 59, 100, 100, 0}},
        {{{12, 99}, {13, 0}}, {93, 3, 3, 100, 100, -1}},
    };
    std::memset(profiles, 200, sizeof profiles);
    for (const auto &c : cases) {
        int32_t values[74] = {};
        std::fill_n(values, 36, 200);
        std::fill_n(values + 12, 12, 130);
        for (const auto &[index, value] : c.faults)
            values[index] = value;
        std::memcpy(&record, values, sizeof record);
        ScoreStill(profiles, record);
        std::memcpy(values, &record, sizeof record);
        EXPECT_THAT(std::vector<int>(values + 68, values + 74), testing::ElementsAreArray(c.expected))
            << testing::PrintToString(c.faults);
    }
}

} // namespace
} // namespace k274
