// A scanner whose analog front end is off finds back: the library calibrates it with the factory's white
// card, scan by scan, until nothing is left to correct.
#include "tests/support/data.h"
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
    int ScanWhite(const std::string &card) {
        Insert(card);
        return WaitFor({31, 32, 33, 35, 36, 37, 9, 11});
    }
    static void ExpectLevelsWithinLimits() {
        for (const auto &row : Table("system/levels.txt")) {
            const uint8_t *response = row[0] == "raw" ? K274_GetCcdRawResp() : K274_GetCcdCorResp();
            int largest = 0, least = 0, most = 0;
            for (const int place : Ints(row[1]))
                largest = std::max<int>(largest, response[6 * 2700 + place]);
            Take(row[2], least, most);
            EXPECT_TRUE(least <= largest && largest <= most) << row[3] << ' ' << largest;
        }
    }

    static Words Now() {
        Words words{};
        EXPECT_EQ(K274_AfeRegs(words.data(), 0), 0);
        return words;
    }
    /// The factory's words but for some: place, value, place, ...
    Words With(const std::vector<int> &changes) const {
        Words words = factory;
        for (size_t i = 0; i < changes.size(); i += 2)
            words[changes[i]] = static_cast<uint16_t>(changes[i + 1]);
        return words;
    }

    Words factory{};
};

TEST_F(CalibrationTest, FindsBackFromWrongStarts) {
    for (const auto &row : Table("system/calibrations.txt")) {
        SCOPED_TRACE(row[0]);
        VS_SetAfeRegisters(With(Ints(row[1])).data());
        VS_SetCalibrationRecord(nullptr, 0);

        std::vector<int> verdicts;
        while (verdicts.empty() || (verdicts.back() != 37 && verdicts.size() < 12))
            verdicts.push_back(ScanWhite(row[2]));
        // The registers are written until they fit, then the white response once; then all is well.
        ASSERT_GE(verdicts.size(), 3u);
        EXPECT_LE(verdicts.size(), std::stoul(row[3])) << testing::PrintToString(verdicts);
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
    const Words wrong = With({0, 100});
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
