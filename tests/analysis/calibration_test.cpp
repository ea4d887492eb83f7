// Calibration from responses of known levels, and what is sent or logged after a maintenance card.
#include "src/analysis/calibration.h"
#include "src/passes/white_card.h"

#include "src/common/text.h"
#include "src/state/measures.h"
#include "tests/support/library_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <sstream>

namespace k274 {
namespace {

using Levels = std::vector<int>; // rows 0, 1, 2, infrared, ultraviolet

const Levels kGood{227, 224, 224, 224, 224}, kBlack{0, 0, 0, 0, 0};
// Gains, other words, gains, exposures front and back, other words.
constexpr AfeRegisters kSettled{{100, 100, 100, 100, 4,  5,  292, 300, 200, 300, 310, 300, 320,
                                 700, 720, 15,  16,  17, 18, 19,  20,  21,  22,  23,  24,  9999}};

// The settled block with some words changed, "word=value" each.
AfeRegisters Changed(const char *changes) {
    AfeRegisters block = kSettled;
    std::istringstream text(changes);
    char equals;
    uint16_t value;
    for (int word; text >> word >> equals >> value;)
        block.words[word] = value;
    return block;
}

void SetResponse(const Levels &front, const Levels &back) {
    for (const Levels *side : {&front, &back}) {
        for (size_t row = 0; row < 4; row++)
            std::memset(CcdRawResp[row] + (side == &back ? 1350 : 0), (*side)[row], 1350);
        std::memset(CcdRawResp[6] + (side == &back ? 675 : 0), (*side)[4], 675);
    }
}

struct CalibrationTest : LibraryTest {
    void SetUp() override {
        LibraryTest::SetUp();
        calibration = {};
        measures.forwardRead = 1;
    }
};

TEST_F(CalibrationTest, NewBlockAndReasons) {
    const char *const kMost = "0=260 1=170 2=130 3=250 8=475 7=712 6=693 10=379 12=379 14=799";
    const struct {
        Levels front, back;
        const char *current, *expected; // besides the settled block's words
        int32_t flags;
    } cases[] = {
        {kGood, kGood, "", "", 0},
        {kGood, {227, 214, 223, 224, 224}, "", "10=317", 0}, // half of a level counts
        {kGood, {227, 112, 112, 224, 224}, "", "10=379", 1},
        {{199, 199, 199, 224, 224}, {199, 199, 199, 224, 224}, "", "0=112 1=112 2=114", 17},
        {{203, 200, 200, 224, 224}, {203, 200, 200, 224, 224}, "", "0=112 1=112 2=112", 16},
        {kGood, {240, 220, 220, 224, 224}, "", "2=92 10=315", 0}, // row 0 is brighter on the back
        {{227, 224, 224, 112, 224}, {227, 224, 224, 112, 224}, "", "3=200", 34},
        {kGood, {227, 224, 224, 210, 224}, "", "12=341", 2},
        {kGood, {227, 224, 224, 211, 224}, "", "12=339", 0},
        {{227, 224, 224, 224, 169}, {227, 224, 224, 224, 169}, "", "8=265 7=397 6=386", 4},
        {kGood, kGood, "9=250 10=250", "10=300", 129},
        {kGood, kGood, "11=250 12=250", "3=83 12=300", 162},
        {kGood, kGood, "13=650 14=650", "8=185 7=277 6=270 14=700", 132},
        {kGood, kGood, "0=300 1=300 2=300 3=300", "0=260 1=170 2=130 3=250", 48},
        {kGood, kGood, "0=272 1=179 2=139 3=264", "0=260 1=170 2=130 3=250", 0},
        {kGood, kGood, "0=10 1=60 2=60 3=0 8=80", "0=70 1=70 2=70 3=70 8=90 7=135 6=131", 48},
        // Levels and exposures of 0: the quotients lie beyond the limits.
        {kBlack, kBlack, "0=65535 8=65535", kMost, 55},
        {kGood, kGood, "9=0 11=0 13=0", "3=70 8=90 7=135 6=131 10=379 12=379 14=799", 167},
    };
    for (const auto &c : cases) {
        SetResponse(c.front, c.back);
        AfeCalibrate(Changed(c.current), CcdRawResp, measures, calibration);
        EXPECT_THAT(calibration.newAfe.words, testing::ElementsAreArray(Changed(c.expected).words));
        EXPECT_EQ(calibration.calFlags, c.flags) << c.current << " to " << c.expected;
    }
}

TEST_F(CalibrationTest, MeansAndGrades) {
    // Means of rows 2, 1, 0, infrared and ultraviolet; grades of rows 0, 1, 2, infrared and ultraviolet; the
    // flags of the check and of the flatness.
    const int32_t cases[][12] = {{205, 235, 220, 200, 235, 8, 8, 8, 12, 15, 0x40, 0},
                                 {196, 204, 204, 200, 196, 0, 0, 0, 0, 0, 0, 5},
                                 {250, 240, 240, 250, 250, 9, 0, 0, 0, 16, 0, 0x57},
                                 {195, 204, 204, 220, 220, 0, 0, 9, 13, 0, 1, 0x31},
                                 {251, 240, 240, 236, 199, 0, 0, 0, 0, 0, 1, 7},
                                 {220, 203, 210, 199, 220, 0, 0, 0, 0, 0, 0x52, 3},
                                 {235, 241, 230, 220, 251, 0, 0, 0, 0, 0, 0x22, 5},
                                 {210, 210, 203, 220, 195, 0, 0, 0, 0, 0, 0x24, 5},
                                 {240, 240, 241, 251, 220, 0, 0, 0, 0, 0, 0x14, 3},
                                 {221, 204, 220, 220, 220, 0, 0, 0, 0, 0, 0x40, 1},
                                 {220, 220, 220, 220, 220, 0, 9, 0, 0, 0, 0, 0x10},
                                 {220, 236, 220, 220, 220, 0, 0, 0, 0, 0, 0, 1}};
    for (const auto &c : cases) {
        std::copy(c, c + 5, measures.correctedMeans);
        std::copy(c + 5, c + 10, measures.gradeSums);
        measures.forwardRead = 1;
        FactoryCalibrate(kSettled, CcdRawResp, measures, calibration);
        EXPECT_EQ(calibration.calCheckFlags, c[10]) << c[0] << ' ' << c[1] << ' ' << c[2];
        measures.forwardRead = 0;
        TakeLog();
        EXPECT_EQ(Verify('S'), c[11] == 0);
        EXPECT_EQ(calibration.flatOk, c[11] == 0);
        EXPECT_THAT(
            Log(),
            testing::ElementsAre(
                c[11] == 0
                    ? std::string("image,   Calibration OK")
                    : Format("image,   Calibration not flat 0x%X", static_cast<unsigned>(c[11])).chars));
    }
    calibration.calFlags = calibration.calCheckFlags = 7;
    FactoryCalibrate(kSettled, CcdRawResp, measures, calibration);
    EXPECT_EQ(calibration.calFlags + calibration.calCheckFlags, 14) << "not of a card read backward";
    EXPECT_EQ(scripted::CountSent(0x13), 0);
}

TEST_F(CalibrationTest, CardReadForwardStoresItsResponse) {
    OpenDriver();
    std::vector<uint8_t> expected(kResponseBytes);
    std::generate(expected.begin(), expected.end(), [i = 0]() mutable { return i++ % 251; });
    const std::vector<uint8_t> before = expected;
    std::memcpy(CcdRawResp, before.data(), sizeof CcdRawResp);
    EXPECT_EQ(Verify('N'), 0);
    EXPECT_EQ(std::memcmp(CcdRawResp, before.data(), sizeof CcdRawResp), 0);
    for (size_t row = 0; row < 4 * 2700; row += 2700)
        for (size_t i = 1350; i < 2700; i++)
            expected[row + i] = before[row + (i < 1379 ? 1354 : i - 24)];
    EXPECT_EQ(Verify('S'), 0);
    EXPECT_EQ(std::memcmp(CcdRawResp, expected.data(), sizeof CcdRawResp), 0);
    const scripted::Sent sent = scripted::SentPackets(0x13).back();
    EXPECT_EQ(std::memcmp(&sent.bytes[256], expected.data(), kResponseBytes), 0);
    scripted::TheDriver().onSend = [](const scripted::Sent &) { return scripted::Reply{5}; };
    EXPECT_EQ(Verify('N'), 6);
}

} // namespace
} // namespace k274
