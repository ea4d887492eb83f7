// The still image: its capture, also from a scanner that fails, and its measures on images made by hand.
#include "src/maint/still_image.h"

#include "src/maint/still_analysis.h"
#include "tests/support/data.h"
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
    EXPECT_TRUE(StillImage(image.data()));
    std::vector<int32_t> expected;
    for (const auto &row : Table("maint/still_record.txt"))
        for (const int value : Ints(row[0]))
            expected.push_back(value);
    EXPECT_EQ(Record(), expected);
    CopyStillProfiles(profiles.data());
    EXPECT_EQ(std::accumulate(profiles.begin(), profiles.end(), 0), 2318159);
    EXPECT_EQ(std::accumulate(image.begin(), image.end(), 0), 146029542);
    TheDriver().onRead = [](const Sent &, uint32_t) { return Reply{5}; };
    EXPECT_FALSE(StillImage(image.data()));
    EXPECT_EQ(Record(), expected);
    ReanalyseStill(scripted::Bytes(kImageBytes).data());
    EXPECT_NE(Record(), expected);
    ReanalyseStill(image.data());
    EXPECT_EQ(Record(), expected);
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
    for (const auto &row : Table("maint/still_balance.txt")) {
        const std::vector<int> shown = Ints(row[0]), means = Ints(row[1]);
        const auto which = static_cast<size_t>(shown[0]);
        constexpr int kFirst[3] = {1, 0, 4};
        std::memset(profiles, shown[2], sizeof profiles);
        std::memset(profiles[kFirst[which]], shown[1], kSensorRows);
        std::fill_n(record.means[4], 2, means[0]);
        std::fill_n(record.means[5], 2, means[1]);
        BalanceColours(profiles, record);
        EXPECT_THAT(record.balance[which], testing::ElementsAreArray(Ints(row[2]))) << row[0];
    }
}

TEST_F(StillTest, ScoresAndVerdict) {
    const int curve[][2] = {{0, 100},  {33, 67},  {34, 66},  {66, 50}, {150, 18},
                            {151, 17}, {175, 16}, {5999, 1}, {6000, 0}};
    for (const auto &[penalty, score] : curve)
        EXPECT_EQ(StillScore(penalty), score) << penalty;
    std::memset(profiles, 200, sizeof profiles);
    for (const auto &row : Table("maint/still_scores.txt")) {
        int32_t values[74] = {};
        std::fill_n(values, 36, 200);
        std::fill_n(values + 12, 12, 130);
        const std::vector<int> faults = Ints(row[0]);
        for (size_t i = 0; i < faults.size(); i += 2)
            values[faults[i]] = faults[i + 1];
        std::memcpy(&record, values, sizeof record);
        ScoreStill(profiles, record);
        std::memcpy(values, &record, sizeof record);
        EXPECT_EQ(std::vector<int>(values + 68, values + 74), Ints(row[1])) << row[0];
    }
}

} // namespace
} // namespace k274
