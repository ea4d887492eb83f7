// Response blocks in, gains out: the values of single responses, the ends that are held, unsound replies.
#include "src/capture/ccd_pix.h"

#include "src/common/bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <vector>

namespace k274 {
namespace {

struct Reply {
    std::vector<uint8_t> bytes = std::vector<uint8_t>(kCcdReplyBytes);

    explicit Reply(uint8_t fill) { std::fill(bytes.begin() + kCcdReplyHeader, bytes.end(), fill); }
    uint8_t &At(int table, int position) {
        return bytes[static_cast<size_t>(kCcdReplyHeader + table * kSensorRows + position)];
    }
    void Set(int table, int first, int last, uint8_t value) {
        std::fill(&At(table, first), &At(table, last) + 1, value);
    }
    const uint8_t *Sealed() {
        Store32(bytes.data(), kResponseBytes);
        Store32(bytes.data() + 4, std::accumulate(bytes.begin() + kCcdReplyHeader, bytes.end(), 0U));
        return bytes.data();
    }
};

class CcdPixTest : public testing::Test {
protected:
    std::unique_ptr<CcdPix> owned_ = std::make_unique<CcdPix>();
    CcdPix &ccd_ = *owned_;
};

TEST_F(CcdPixTest, BeginsInvalidWithUnitGainsAndBlackTables) {
    EXPECT_EQ(ccd_.valid, 0);
    EXPECT_EQ(ccd_.gainUv[2699], 1.0F);
    EXPECT_EQ(ccd_.gainB[0], 1.0F);
    EXPECT_EQ(ccd_.fixRgb[1000][1], 0);
    EXPECT_EQ(ccd_.fixUv[2699], 0);
    EXPECT_EQ(ccd_.resp[6][2699], 0);
}

TEST_F(CcdPixTest, GainsOfSingleResponses) {
    // 224 needs none, brighter ones are lowered, dark ones stop at the ceiling: 2.55 x 128 and x 64.
    const struct {
        uint8_t response;
        uint16_t rgb, uv;
    } cases[] = {{0, 326, 163},  {1, 326, 163},  {86, 323, 158}, {128, 220, 108},
                 {223, 128, 64}, {224, 128, 64}, {255, 112, 56}};
    for (const auto &c : cases) {
        Reply reply(c.response);
        ASSERT_EQ(ccd_.Accept(reply.Sealed()), CcdReply::Loaded);
        SCOPED_TRACE(int{c.response});
        EXPECT_EQ(ccd_.fixRgb[700][0], c.rgb);
        EXPECT_EQ(ccd_.fixRgb[2000][2], c.rgb);
        EXPECT_EQ(ccd_.fixIr[700], c.rgb);
        EXPECT_EQ(ccd_.fixUv[700], c.uv);
        EXPECT_EQ(ccd_.fixUv[1350], 64) << "no lamp of its own: gain 1";
    }
    EXPECT_EQ(ccd_.valid, 1);
}

TEST_F(CcdPixTest, EveryLightHasItsOwnTable) {
    Reply reply(200);
    for (int table = 0; table < kResponseTables; table++)
        reply.Set(table, 0, kSensorRows - 1, static_cast<uint8_t>(130 + 20 * table));
    ASSERT_EQ(ccd_.Accept(reply.Sealed()), CcdReply::Loaded);
    EXPECT_EQ(ccd_.fixRgb[700][0], 216); // 130
    EXPECT_EQ(ccd_.fixRgb[700][1], 188); // 150
    EXPECT_EQ(ccd_.fixRgb[700][2], 167); // 170
    EXPECT_EQ(ccd_.fixIr[700], 150);     // 190
    EXPECT_EQ(ccd_.fixUv[700], 57);      // 250
}

// The response falls to `dark` outside the given positions in the green table; the other tables rise along
// the sensor, so that a held gain tells which position it was taken from.
TEST_F(CcdPixTest, HoldsTheEndsOfTheSensor) {
    const struct {
        const char *name;
        int frontFirst, frontLast, backFirst, backLast; // bright green positions
        int edges[4];
    } cases[] = {
        {"bright everywhere", 0, 1349, 1350, 2699, {3, 1180, 1360, 2580}},
        // One bright position of the three does not make 120, two do.
        {"dark ends", 18, 1160, 1398, 2545, {19, 1159, 1399, 2544}},
        {"just inside the window", 3, 1179, 1360, 2579, {4, 1178, 1361, 2578}},
        {"just outside it", 2, 1181, 1359, 2581, {3, 1180, 1360, 2580}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Reply reply(0);
        for (int table : {0, 2, 3})
            for (int i = 0; i < kSensorRows; i++)
                reply.At(table, i) = static_cast<uint8_t>(100 + i % 120);
        reply.Set(1, c.frontFirst, c.frontLast, 200);
        reply.Set(1, c.backFirst, c.backLast, 200);
        ASSERT_EQ(ccd_.Accept(reply.Sealed()), CcdReply::Loaded);
        const int(&e)[4] = c.edges;
        const auto source = [&](int i) {
            return i < e[0] ? e[0] : i < 1350 ? std::min(i, e[1]) : i < e[2] ? e[2] : std::min(i, e[3]);
        };
        const auto gainOf = [&](int i) {
            const double ratio = 224.0 / (100 + i % 120);
            return std::min(2.55, std::pow(ratio, 0.97));
        };
        for (int i = 0; i < kSensorRows; i++) {
            ASSERT_NEAR(ccd_.gainB[i], gainOf(source(i)), 1e-5) << i;
            ASSERT_EQ(ccd_.gainR[i], ccd_.gainB[i]) << i;
            ASSERT_EQ(ccd_.gainIr[i], ccd_.gainB[i]) << i;
            ASSERT_EQ(ccd_.fixRgb[i][0], static_cast<uint16_t>(ccd_.gainB[i] * 128)) << i;
        }
    }
}

TEST_F(CcdPixTest, HoldsTheUltravioletEnds) {
    const struct {
        const char *name;
        int dark[4]; // positions without response, -1 for none
        int edges[4];
    } cases[] = {
        {"default edges", {-1, -1, -1, -1}, {40, 560, 780, 1310}},
        {"dark at the first position tried", {40, 560, 770, 1310}, {43, 557, 773, 1307}},
        {"dark at the last position tried", {0, 599, 731, 1349}, {3, 596, 734, 1346}},
        {"dark just outside the windows", {41, 600, 730, 1309}, {40, 560, 780, 1310}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Reply reply(200);
        for (int i = 0; i < 1350; i++)
            reply.At(6, i) = static_cast<uint8_t>(100 + i % 120);
        for (const int position : c.dark)
            if (position >= 0)
                reply.At(6, position) = 0;
        ASSERT_EQ(ccd_.Accept(reply.Sealed()), CcdReply::Loaded);
        for (int i = 0; i < 4; i++)
            EXPECT_EQ(ccd_.edge[i], c.edges[i]);
        const int(&e)[4] = c.edges;
        for (int i = 0; i < 1350; i++) {
            const int from = i <= e[0]      ? e[0] + 1
                             : i < e[1] - 2 ? i
                             : i < 675      ? e[1] - 2
                             : i <= e[2]    ? e[2] + 2
                             : i < e[3] - 2 ? i
                                            : e[3] - 2;
            const uint8_t response = reply.At(6, from);
            const double gain = response == 0 ? 2.55 : std::min(2.55, std::pow(224.0 / response, 0.95));
            ASSERT_NEAR(ccd_.gainUv[i], gain, 1e-5) << i;
            ASSERT_EQ(ccd_.fixUv[i], static_cast<uint16_t>(ccd_.gainUv[i] * 64)) << i;
        }
        EXPECT_EQ(ccd_.gainUv[1350], 1.0F);
    }
}

TEST_F(CcdPixTest, UnsoundRepliesKeepTheGainsInForce) {
    Reply good(224);
    ASSERT_EQ(ccd_.Accept(good.Sealed()), CcdReply::Loaded);

    Reply corrupted(224);
    corrupted.Sealed();
    corrupted.At(1, 700) = 100;
    EXPECT_EQ(ccd_.Accept(corrupted.bytes.data()), CcdReply::BadChecksum);
    EXPECT_EQ(ccd_.resp[1][700], 100) << "hosts see the new bytes all the same";
    EXPECT_EQ(ccd_.fixRgb[700][1], 128);
    EXPECT_EQ(ccd_.valid, 1);

    Reply shortened(50);
    shortened.Sealed();
    for (const uint32_t length : {0U, 18899U, 18901U, 0x49D4U << 16, 0xFFFFFFFFU}) {
        Store32(shortened.bytes.data(), length);
        EXPECT_EQ(ccd_.Accept(shortened.bytes.data()), CcdReply::BadLength) << length;
    }
    EXPECT_EQ(ccd_.resp[0][0], 224);
    EXPECT_EQ(ccd_.fixRgb[700][1], 128);
}

TEST_F(CcdPixTest, UnsoundFirstReplyLeavesTheTablesInvalid) {
    Reply reply(224);
    reply.Sealed();
    reply.bytes[4] ^= 1;
    EXPECT_EQ(ccd_.Accept(reply.bytes.data()), CcdReply::BadChecksum);
    EXPECT_EQ(ccd_.valid, 0);
    EXPECT_EQ(ccd_.fixRgb[700][1], 0);
    EXPECT_EQ(ccd_.resp[6][2699], 224);
}

} // namespace
} // namespace k274
