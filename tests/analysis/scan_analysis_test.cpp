// Statistics, quality and summary of a whole scan, on response tables given directly.
#include "src/analysis/scan_analysis.h"

#include "src/analysis/ft_profile.h"
#include "src/analysis/quality.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <tuple>

namespace k274 {
namespace {

class ScanAnalysisTest : public testing::Test {
protected:
    ScanMeasures measures_;
    std::unique_ptr<ResponseTable[]> tables_ = std::make_unique<ResponseTable[]>(2);
    ResponseTable &raw_ = tables_[0], &corrected_ = tables_[1];
    ColourImage rgbr_{200}, uvr_ = UvImage(100);
    GreyImage irr_{150};

    void SetUp() override { std::memset(tables_.get(), 200, 2 * sizeof(ResponseTable)); }
    void Analyse() { ScanAnalysis({rgbr_.View(), irr_.View(), uvr_.View()}, measures_, raw_, corrected_); }
    static void Set(uint8_t *entries, int first, int count, uint8_t value) {
        std::memset(entries + first, value, static_cast<size_t>(count));
    }
};

TEST_F(ScanAnalysisTest, LevelsLeaveOutTwentyFourEntriesAtEitherEnd) {
    Set(raw_[0], 60, 24, 250);
    Set(raw_[1], 60, 25, 251);
    raw_[0][59] = raw_[0][1100] = 250; // not the front's
    Set(raw_[3], 2435, 25, 10);        // the back's last entries
    Set(raw_[6], 525, 25, 20);
    Set(raw_[6], 550, 230, 30);
    Set(raw_[5], 780, 520, 0);
    measures_.cardVariant = 'S';
    measures_.cardCode = 'F';
    measures_.forwardRead = 1;
    measures_.profileScore = 7;
    Analyse();
    const int32_t high[2][7] = {{200, 251, 200, 200, 200, 200, 200}, {200, 200, 200, 200, 200, 0, 200}};
    const int32_t low[2][7] = {{200, 200, 200, 200, 200, 200, 20}, {200, 200, 200, 10, 200, 0, 200}};
    EXPECT_EQ(std::memcmp(measures_.respHigh, high, sizeof high), 0);
    EXPECT_EQ(std::memcmp(measures_.respLow, low, sizeof low), 0);
    const uint8_t summary[] = {200, 200, 251, 200, 200, 200, 200, 200, 200, 200}, rest[] = {200, 10, 20},
                  card[] = {255, 'S', 'F', 1, 15};
    EXPECT_EQ(std::memcmp(raw_[6] + 2670, summary, sizeof summary), 0);
    EXPECT_EQ(std::memcmp(raw_[6] + 2690, rest, sizeof rest), 0);
    EXPECT_EQ(std::memcmp(raw_[6] + 2695, card, sizeof card), 0);
    EXPECT_EQ(measures_.profileScore, 7) << "of the last white card";
}

TEST_F(ScanAnalysisTest, MeansAndGrades) {
    const std::tuple<int, int, uint8_t, uint8_t, int> rows[] = {{0, 0, 184, 192, 1}, {1, 1, 184, 192, 1},
                                                                {2, 2, 176, 184, 0}, {3, 3, 176, 184, 1},
                                                                {6, 4, 176, 184, 1}, {5, 4, 164, 176, 0}};
    for (const auto &[row, sum, marginal, good, fullGrade] : rows) {
        SCOPED_TRACE(row);
        SetUp();
        uint8_t *first = corrected_[row] + (row > 3 ? 765 : 1390);
        uint8_t *last = corrected_[row] + (row > 3 ? 564 : 1119);
        first[0] = static_cast<uint8_t>(marginal - 1);
        first[1] = marginal;
        first[2] = static_cast<uint8_t>(good - 1);
        first[3] = good;
        first[4] = 254;
        first[5] = 255;
        last[0] = 0;
        first[-1] = last[1] = 0; // not judged
        Analyse();
        EXPECT_EQ(measures_.gradeSums[sum], 2 + 1 + 1 + fullGrade + 2);
        EXPECT_EQ(corrected_[6][2680 + sum], 2 + 1 + 1 + fullGrade + 2);
    }
    SetUp();
    Set(corrected_[2], 0, 2700, 10);
    Set(corrected_[1], 1390, 1080, 100);
    Set(corrected_[6], 25, 540, 184);
    for (const int entry : {49, 50, 549, 550, 789, 790, 1289, 1290})
        raw_[5][entry] = 232; // channels that differ: four of these entries count
    raw_[5][300] = 231;
    raw_[6][301] = 168;
    Analyse();
    const int32_t means[6] = {10, 150, 200, 200, 192, 200}, grades[5] = {0, 255, 255, 0, 5};
    EXPECT_EQ(std::memcmp(measures_.correctedMeans, means, sizeof means), 0);
    EXPECT_EQ(std::memcmp(measures_.gradeSums, grades, sizeof grades), 0) << "no more than a byte holds";
    EXPECT_EQ(corrected_[6][2674], 192);
}

TEST_F(ScanAnalysisTest, Dips) {
    // A dip of 40 counts 4, of 10 not at all, of 11 once; with a brighter neighbour one of 10 is one of 11.
    for (const auto &[entry, value] :
         {std::pair{54, 0}, {55, 160}, {300, 190}, {400, 189}, {2454, 160}, {2455, 0}})
        raw_[0][entry] = static_cast<uint8_t>(value);
    for (const int distance : {-14, -12, -10, 10, 12, 14}) {
        raw_[2][1930 + 30 * distance] = 190;
        raw_[2][1930 + 31 * distance] = 206;
    }
    corrected_[0][55] = corrected_[0][2454] = 0;
    corrected_[0][56] = corrected_[0][500] = 193;
    corrected_[0][700] = 194;
    for (const int distance : {-16, -15, -14, -13, 13, 14, 15, 16}) {
        corrected_[2][1930 + 31 * distance] = 194;
        corrected_[2][1930 + 32 * distance] = 208;
    }
    RawDips(raw_);
    CorDips(corrected_);
    EXPECT_EQ(raw_[6][2693], 4 + 1 + 4);
    EXPECT_EQ(raw_[6][2694], 6);
    EXPECT_EQ(corrected_[6][2693], 2);
    EXPECT_EQ(corrected_[6][2694], 8);
}

TEST_F(ScanAnalysisTest, FtProfileTakesItsColumnsAndLines) {
    measures_.cardClass = 0;
    for (int column = 0; column < kRgbColumns; column++) {
        rgbr_.Fill(50, 149, column, column, static_cast<uint8_t>(column));
        rgbr_.Fill(1450, 1549, column, column, static_cast<uint8_t>(column / 20));
    }
    for (int column = 0; column < kIrColumns; column++)
        for (int i = 0; i < 100; i += 2) {
            *irr_.At(100 + i, column) = *irr_.At(1400 + i, column) = static_cast<uint8_t>(column / 10);
            *irr_.At(1000 + i, column) = *irr_.At(2300 + i, column) = static_cast<uint8_t>(column / 20);
        }
    for (int line = 0; line < kUvLines; line++) {
        uvr_.Fill(line, line, 50, 99, static_cast<uint8_t>(line / 5));
        uvr_.Fill(line, line, 825, 874, 0);
        uvr_.Fill(line, line, 1200, 1249, static_cast<uint8_t>(line / 6));
    }
    ProfileAnalysis({rgbr_.View(), irr_.View(), uvr_.View()}, measures_, raw_);
    const FtProfile &profile = measures_.ftProfile;
    // Columns 4 x (40 + point) in front, behind 4 x (point - 465) and the like: what the fills above hold
    // there.
    const int points[][3] = {{0, 1, 164},  {2, 498, 104}, {1, 500, 7}, {1, 998, 106},
                             {3, 100, 41}, {3, 998, 169}, {4, 1, 162}, {5, 498, 54},
                             {4, 998, 94}, {0, 499, 0},   {5, 999, 0}};
    EXPECT_EQ(profile[0][0], static_cast<uint8_t>(measures_.ratios[0][2]));
    for (const auto &[plane, point, value] : points)
        EXPECT_EQ(profile[plane][point], value) << plane << ' ' << point;
}

TEST_F(ScanAnalysisTest, UnevennessOfAWhiteCard) {
    measures_.cardClass = 0;
    // A step of 20 in blue between the front's first windows: points 130 to 149 are columns 680 to 759.
    rgbr_.Fill(0, 149, 600, 800, 180);
    // Infrared, back: a step of 10 for points 850 to 869.
    irr_.Fill(1400, 2399, 1500, 1799, 140);
    Analyse();
    EXPECT_EQ(measures_.windowMeans[0][0], 180);
    EXPECT_EQ(measures_.stepMaxima[0][0], 20);
    EXPECT_EQ(measures_.ratios[0][2], 7) << "20 / 201 x 80";
    EXPECT_EQ(measures_.stepMaxima[3][1], 10);
    EXPECT_EQ(measures_.ratios[3][1], 5) << "10 / 151 x 80";
    EXPECT_EQ(measures_.ratios[3][2], 5);
    EXPECT_EQ(measures_.profileScore, (7 - 5) * 19 / 10);
    EXPECT_EQ(measures_.streakScore, 0);
    EXPECT_EQ(raw_[6][2680], 3);

    // Streaks of one front point each, columns 4 x (point + 40): a roughness of 20 in four neighbours.
    for (int i = 0; i < 60; i += 12)
        rgbr_.Fill(50, 149, 4 * (304 + i + 40), 4 * (304 + i + 40), 190);
    Analyse();
    // Each streak counts 20 - 4 at three points and 10 - 4 at two: 60. Five make 300, less 2 after a tenth.
    EXPECT_EQ(measures_.streakScore, 28);
    for (int i = 0; i < 60; i += 2)
        rgbr_.Fill(50, 149, 4 * (300 + i + 40), 4 * (300 + i + 40), 150);
    Analyse();
    EXPECT_EQ(measures_.streakScore, 50);
    EXPECT_EQ(measures_.profileScore, 7) << "the streaks darken the third window to 175: 25 / 201 x 80 = 9";
    EXPECT_EQ(raw_[6][2680], 57);
}

} // namespace
} // namespace k274
