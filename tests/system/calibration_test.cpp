// A scanner whose analog front end is off finds back: the library calibrates it with the factory's white
// card, scan by scan, until nothing is left to correct.
#include "tests/support/host.h"

#include <algorithm>
#include <cstdlib>

namespace {

class CalibrationTest : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        Start();
        ASSERT_EQ(K274_AfeRegs(factory, 0), 0);
    }
    void TearDown() override {
        HostTest::TearDown();
        VS_SetAfeRegisters(factory);
        VS_SetCalibrationRecord(nullptr, 0);
    }

    /// The state that tells what came of a white card.
    int ScanWhite(const char *card) {
        Insert(card);
        return WaitFor({31, 32, 33, 35, 36, 37, 9, 11});
    }
    static void ExpectLevelsWithinLimits() {
        const uint8_t *raw = K274_GetCcdRawResp() + 6 * 2700, *corrected = K274_GetCcdCorResp() + 6 * 2700;
        for (int side = 0; side < 2; side++) {
            EXPECT_GE(std::max(raw[2672 + side], raw[2674 + side]), 200) << "visible, side " << side;
            EXPECT_GE(raw[2676 + side], 200) << "infrared, side " << side;
            EXPECT_GE(raw[2678 + side], 170) << "ultraviolet, side " << side;
        }
        const struct {
            const char *light;
            int least, most;
        } kMeans[] = {{"red", 196, 250},
                      {"green", 204, 240},
                      {"blue", 204, 240},
                      {"infrared", 200, 250},
                      {"ultraviolet", 196, 250}};
        for (int k = 0; k < 5; k++) {
            EXPECT_GE(corrected[2670 + k], kMeans[k].least) << kMeans[k].light;
            EXPECT_LE(corrected[2670 + k], kMeans[k].most) << kMeans[k].light;
            EXPECT_LE(corrected[2680 + k], 8) << kMeans[k].light << " is not flat";
        }
    }

    uint16_t factory[26] = {};
};

TEST_F(CalibrationTest, FindsBackFromWrongStarts) {
    const struct {
        const char *what;
        std::vector<std::pair<int, uint16_t>> words;
        const char *card;
        int most; // scans that it may take
    } kStarts[] = {
        {"visible gains too low", {{0, 75}, {1, 60}, {2, 55}}, "white-f", 4},
        {"front exposed too long", {{9, 450}, {10, 450}}, "white-f", 5},
        {"back exposed too short", {{10, 200}, {12, 190}, {14, 400}}, "white-f", 4},
        {"infrared too dark", {{3, 80}, {11, 200}}, "white-f", 4},
        {"ultraviolet too bright", {{8, 470}, {7, 705}, {6, 686}, {13, 900}}, "white-f", 4},
        {"everything, with the card of a shifted sensor",
         {{0, 220}, {1, 80}, {2, 70}, {3, 230}, {8, 200}, {10, 260}, {11, 360}, {13, 620}},
         "white-s",
         7},
    };
    for (const auto &start : kStarts) {
        SCOPED_TRACE(start.what);
        uint16_t words[26];
        std::copy(factory, factory + 26, words);
        for (const auto &[word, value] : start.words)
            words[word] = value;
        VS_SetAfeRegisters(words);
        VS_SetCalibrationRecord(nullptr, 0);

        std::vector<int> verdicts;
        while (verdicts.empty() || (verdicts.back() != 37 && verdicts.size() < 12))
            verdicts.push_back(ScanWhite(start.card));
        // The registers are written until they fit, then the white response once; then all is well.
        ASSERT_GE(verdicts.size(), 3u);
        EXPECT_LE(verdicts.size(), static_cast<size_t>(start.most)) << testing::PrintToString(verdicts);
        EXPECT_EQ(std::count(verdicts.begin(), verdicts.end() - 2, 35), long(verdicts.size()) - 2);
        EXPECT_EQ(verdicts[verdicts.size() - 2], 36);
        EXPECT_EQ(verdicts.back(), 37);
        ExpectLevelsWithinLimits();

        uint16_t now[26];
        ASSERT_EQ(K274_AfeRegs(now, 0), 0);
        EXPECT_TRUE(now[9] == 300 && now[11] == 300 && now[13] == 700);
        EXPECT_TRUE(now[10] <= 379 && now[12] <= 379 && now[14] <= 799);
    }
}

TEST_F(CalibrationTest, ScannerFromTheFactoryNeedsNone) {
    const std::pair<const char *, int> kCards[] = {{"white-f", 37}, {"white-f-turned", 32}, {"white-s", 37}};
    for (const auto &[card, verdict] : kCards) {
        EXPECT_EQ(ScanWhite(card), verdict) << card;
        ExpectLevelsWithinLimits();
        uint16_t now[26];
        ASSERT_EQ(K274_AfeRegs(now, 0), 0);
        EXPECT_TRUE(std::equal(now, now + 26, factory)) << card;
    }
}

TEST_F(CalibrationTest, CardPutInTurnedChangesNothing) {
    uint16_t words[26];
    std::copy(factory, factory + 26, words);
    words[0] = 100;
    VS_SetAfeRegisters(words);
    EXPECT_EQ(ScanWhite("white-f-turned"), 32);
    uint16_t now[26];
    ASSERT_EQ(K274_AfeRegs(now, 0), 0);
    EXPECT_TRUE(std::equal(now, now + 26, words));
    EXPECT_EQ(ScanWhite("white-f"), 35);
}

} // namespace
