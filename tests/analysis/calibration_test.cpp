// Calibration from responses of known levels, and what is sent or logged after a maintenance card.
#include "src/analysis/calibration.h"
#include "src/passes/white_card.h"
#include "src/state/measures.h"
#include "tests/support/data.h"
#include "tests/support/images.h"
#include "tests/support/library_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <sstream>

namespace k274 {
namespace {

// Gains, other words, gains, exposures front and back, other words.
constexpr AfeRegisters kSettled{{100, 100, 100, 100, 4,  5,  292, 300, 200, 300, 310, 300, 320,
                                 700, 720, 15,  16,  17, 18, 19,  20,  21,  22,  23,  24,  9999}};

// The settled block with some words changed, "word=value" each.
AfeRegisters Changed(const std::string &changes) {
    AfeRegisters block = kSettled;
    std::istringstream text(changes);
    char equals;
    uint16_t value;
    for (int word; text >> word >> equals >> value;)
        block.words[word] = value;
    return block;
}

TEST(CalibrationTest, NewBlockAndReasons) {
    for (const auto &row : Table("analysis/calibration.txt")) {
        ResponseTable raw;
        for (const size_t side : {0, 1}) {
            const std::vector<int> levels = Ints(row[side]);
            for (size_t i = 0; i < 4; i++)
                std::memset(raw[i] + 1350 * side, levels[i], 1350);
            std::memset(raw[6] + 675 * side, levels[4], 675);
        }
        ScanMeasures found;
        Calibration result;
        AfeCalibrate(Changed(row[2]), raw, found, result);
        EXPECT_THAT(result.newAfe.words, testing::ElementsAreArray(Changed(row[3]).words));
        EXPECT_EQ(result.calFlags, Ints(row[4])[0]) << row[2] << " to " << row[3];
    }
}

TEST_F(LibraryTest, CalibrationByMeansAndGrades) {
    for (const auto &row : Table("analysis/flatness.txt")) {
        const std::vector<int> means = Ints(row[0]), grades = Ints(row[1]);
        std::copy(means.begin(), means.end(), measures.correctedMeans);
        std::copy(grades.begin(), grades.end(), measures.gradeSums);
        measures.forwardRead = 1;
        FactoryCalibrate(kSettled, CcdRawResp, measures, calibration);
        EXPECT_EQ(calibration.calCheckFlags, Ints(row[2])[0]) << row[0];
        measures.forwardRead = 0;
        TakeLog();
        const bool flat = row[3] == "OK";
        EXPECT_EQ(Verify('S'), flat);
        EXPECT_EQ(calibration.flatOk, flat);
        EXPECT_EQ(Log(), Texts{"image,   Calibration " + row[3]});
    }
    calibration.calFlags = calibration.calCheckFlags = 7;
    FactoryCalibrate(kSettled, CcdRawResp, measures, calibration);
    EXPECT_EQ(calibration.calFlags + calibration.calCheckFlags, 14) << "not of a card read backward";
    EXPECT_TRUE(scripted::SentPackets(0x13).empty());
}

TEST_F(LibraryTest, CardReadForwardStoresItsResponse) {
    measures.forwardRead = 1;
    OpenDriver();
    std::vector<uint8_t> before(kResponseBytes);
    FillRandom(before, 1);
    std::vector<uint8_t> expected = before;
    std::memcpy(CcdRawResp, before.data(), sizeof CcdRawResp);
    EXPECT_TRUE(Verify('N'));
    EXPECT_EQ(std::memcmp(CcdRawResp, before.data(), sizeof CcdRawResp), 0);
    for (size_t row = 0; row < 4 * 2700; row += 2700)
        for (size_t i = 1350; i < 2700; i++)
            expected[row + i] = before[row + (i < 1379 ? 1354 : i - 24)];
    EXPECT_TRUE(Verify('S'));
    EXPECT_EQ(std::memcmp(CcdRawResp, expected.data(), sizeof CcdRawResp), 0);
    const scripted::Sent sent = scripted::SentPackets(0x13).back();
    EXPECT_EQ(std::memcmp(&sent.bytes[256], expected.data(), kResponseBytes), 0);
    scripted::TheDriver().onSend = [](const scripted::Sent &) { return scripted::Reply{5}; };
    EXPECT_FALSE(Verify('N'));
}

} // namespace
} // namespace k274
