// A scanner whose analog front end is off finds back: the library calibrates it with the factory's white
// card, scan by scan, until nothing is left to correct.
#include "tests/support/host.h"

#include <algorithm>
#include <array>
#include <tuple>

namespace {

using Words = std::array<uint16_t, 26>;

class CalibrationTest : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        Start();
        factory = Now();
    }
    void TearDown() override {
        HostTest::TearDown();
        VS_SetAfeRegisters(factory.data());
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
        const std::tuple<const char *, int, int> kMeans[] = {{"red", 196, 250},
                                                             {"green", 204, 240},
                                                             {"blue", 204, 240},
                                                             {"infrared", 200, 250},
                                                             {"ultraviolet", 196, 250}};
        for (int k = 0; k < 5; k++) {
            const auto &[light, least, most] = kMeans[k];
            EXPECT_TRUE(corrected[2670 + k] >= least && corrected[2670 + k] <= most) << light;
            EXPECT_LE(corrected[2680 + k], 8) << light << " is not flat";
        }
    }

    static Words Now() {
        Words words{};
        EXPECT_EQ(K274_AfeRegs(words.data(), 0), 0);
        return words;
    }
    Words With(const std::vector<std::pair<size_t, uint16_t>> &changes) const {
        Words words = factory;
        for (const auto &[word, value] : changes)
            words[word] = value;
        return words;
    }

    Words factory{};
};

TEST_F(CalibrationTest, FindsBackFromWrongStarts) {
    const struct {
        const char *what;
        std::vector<std::pair<size_t, uint16_t>> words;
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
        VS_SetAfeRegisters(With(start.words).data());
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

        const Words now = Now();
        EXPECT_TRUE(now[9] == 300 && now[11] == 300 && now[13] == 700);
        EXPECT_TRUE(now[10] <= 379 && now[12] <= 379 && now[14] <= 799);
    }
}

TEST_F(CalibrationTest, NoneIsMadeWhenAllIsWellOrTheCardTurned) {
    const Words wrong = With({{0, 100}});
    const std::tuple<const char *, Words, int> cases[] = {{"white-f", factory, 37},
                                                          {"white-f-turned", factory, 32},
                                                          {"white-s", factory, 37},
                                                          {"white-f-turned", wrong, 32}};
    for (const auto &[card, words, verdict] : cases) {
        SCOPED_TRACE(card);
        VS_SetAfeRegisters(words.data());
        EXPECT_EQ(ScanWhite(card), verdict);
        if (words == factory)
            ExpectLevelsWithinLimits();
        EXPECT_EQ(Now(), words);
    }
    EXPECT_EQ(ScanWhite("white-f"), 35);
}

} // namespace
