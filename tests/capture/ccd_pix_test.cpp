// Response blocks in, gains out: the values of single responses, the ends that are held, unsound replies.
#include "src/capture/ccd_pix.h"

#include "tests/support/data.h"
#include "wire/bytes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numeric>
#include <tuple>
#include <vector>

namespace k274 {
namespace {

class CcdPixTest : public testing::Test {
protected:
    uint8_t *Responses(int table) { return reply_.data() + wire::kResponsesAt + table * kSensorRows; }
    void Set(int table, int first, int last, int value) {
        std::fill(Responses(table) + first, Responses(table) + last + 1, static_cast<uint8_t>(value));
    }
    void Seal() {
        wire::Store32(reply_.data(), kResponseBytes);
        wire::Store32(reply_.data() + 4,
                      std::accumulate(reply_.begin() + wire::kResponsesAt, reply_.end(), 0U));
    }
    void Load() {
        Seal();
        ASSERT_EQ(ccd_.Accept(reply_.data()), CcdReply::Loaded);
    }
    void Load(int everywhere) {
        Set(0, 0, kResponseBytes - 1, everywhere);
        Load();
    }

    std::vector<uint8_t> reply_ = std::vector<uint8_t>(kCcdReplyBytes);
    std::unique_ptr<CcdPix> owned_ = std::make_unique<CcdPix>();
    CcdPix &ccd_ = *owned_;
};

TEST_F(CcdPixTest, GainsOfSingleResponses) {
    // 224 needs none, brighter ones are lowered, dark ones stop at the ceiling: 2.55 x 128 and x 64.
    const std::tuple<uint8_t, uint16_t, uint16_t> cases[] = {{0, 326, 163},   {1, 326, 163},  {86, 323, 158},
                                                             {128, 220, 108}, {223, 128, 64}, {224, 128, 64},
                                                             {255, 112, 56}};
    for (const auto &[response, rgb, uv] : cases) {
        SCOPED_TRACE(int{response});
        Load(response);
        EXPECT_EQ(ccd_.fixRgb[2000][2], rgb);
        EXPECT_EQ(ccd_.fixIr[700], rgb);
        EXPECT_EQ(ccd_.fixUv[700], uv);
        EXPECT_EQ(ccd_.fixUv[1350], 64) << "no lamp of its own: gain 1";
    }
    for (int table = 0; table < kResponseTables; table++) // every light has its own
        Set(table, 0, kSensorRows - 1, 130 + 20 * table);
    Load();
    EXPECT_EQ(ccd_.fixRgb[700][0], 216); // 130
    EXPECT_EQ(ccd_.fixRgb[700][1], 188); // 150
    EXPECT_EQ(ccd_.fixRgb[700][2], 167); // 170
    EXPECT_EQ(ccd_.fixIr[700], 150);     // 190
    EXPECT_EQ(ccd_.fixUv[700], 57);      // 250
}

// The response falls to 0 outside the given positions in the green table; the other tables rise along the
// sensor, so that a held gain tells which position it was taken from.
TEST_F(CcdPixTest, HoldsTheEndsOfTheSensor) {
    for (const auto &row : Table("capture/held_ends.txt")) {
        SCOPED_TRACE(row[0]);
        const std::vector<int> bright = Ints(row[1]), e = Ints(row[2]);
        for (int table : {0, 2, 3})
            for (int i = 0; i < kSensorRows; i++)
                Set(table, i, i, 100 + i % 120);
        Set(1, 0, kSensorRows - 1, 0);
        Set(1, bright[0], bright[1], 200);
        Set(1, bright[2], bright[3], 200);
        Load();
        for (int i = 0; i < kSensorRows; i++) {
            const int from = i < 1350 ? std::clamp(i, e[0], e[1]) : std::clamp(i, e[2], e[3]);
            ASSERT_NEAR(ccd_.gainB[i], std::min(2.55, std::pow(224.0 / (100 + from % 120), 0.97)), 1e-5) << i;
            ASSERT_TRUE(ccd_.gainR[i] == ccd_.gainB[i] && ccd_.gainIr[i] == ccd_.gainB[i]) << i;
            ASSERT_EQ(ccd_.fixRgb[i][0], static_cast<uint16_t>(ccd_.gainB[i] * 128)) << i;
        }
    }
}

TEST_F(CcdPixTest, HoldsTheUltravioletEnds) {
    for (const auto &row : Table("capture/held_uv_ends.txt")) {
        SCOPED_TRACE(row[0]);
        const std::vector<int> e = Ints(row[2]);
        Set(0, 0, 6 * kSensorRows - 1, 200);
        for (int i = 0; i < 1350; i++)
            Set(6, i, i, 100 + i % 120);
        for (const int position : Ints(row[1]))
            Set(6, position, position, 0);
        Load();
        EXPECT_TRUE(std::equal(e.begin(), e.end(), ccd_.edge));
        for (int i = 0; i < 1350; i++) {
            const int from = i < 675     ? std::clamp(i, e[0] + 1, e[1] - 2)
                             : i <= e[2] ? e[2] + 2
                                         : std::min(i, e[3] - 2);
            const uint8_t response = Responses(6)[from];
            const double gain = response == 0 ? 2.55 : std::min(2.55, std::pow(224.0 / response, 0.95));
            ASSERT_NEAR(ccd_.gainUv[i], gain, 1e-5) << i;
            ASSERT_EQ(ccd_.fixUv[i], static_cast<uint16_t>(ccd_.gainUv[i] * 64)) << i;
        }
    }
}

TEST_F(CcdPixTest, UnsoundRepliesKeepTheGainsInForce) {
    Seal();
    reply_[4] ^= 1;
    EXPECT_EQ(ccd_.Accept(reply_.data()), CcdReply::BadChecksum);
    EXPECT_TRUE(ccd_.valid == 0 && ccd_.fixRgb[700][1] == 0 && ccd_.gainUv[2699] == 1.0F);
    Load(224);
    Set(1, 700, 700, 100);
    EXPECT_EQ(ccd_.Accept(reply_.data()), CcdReply::BadChecksum);
    EXPECT_EQ(ccd_.resp[1][700], 100) << "hosts see the new bytes all the same";
    Set(0, 0, kResponseBytes - 1, 50);
    Seal();
    for (const uint32_t length : {0U, 18899U, 18901U, 0x49D4U << 16, 0xFFFFFFFFU}) {
        wire::Store32(reply_.data(), length);
        EXPECT_EQ(ccd_.Accept(reply_.data()), CcdReply::BadLength) << length;
    }
    EXPECT_TRUE(ccd_.valid == 1 && ccd_.fixRgb[700][1] == 128 && ccd_.resp[0][0] == 224);
}

} // namespace
} // namespace k274
