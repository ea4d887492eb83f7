// What a seed decides: how cards lie, noise and dust; and the lamps, which no seed changes.
#include "lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace {

using namespace optics_test;
using namespace scanner;

/// Smallest and largest of many numbers.
struct Range {
    double low = 1e9, high = -1e9;
    void Add(double v) {
        low = std::min(low, v);
        high = std::max(high, v);
    }
    double Width() const { return high - low; }
};

TEST(OpticsScene, CardsLieWhereASearchFindsThem) {
    constexpr int kWidth = 1856, kHeight = 1169;
    Range lead, front, back, skew;
    std::set<int> leads;
    for (uint32_t seed = 0; seed < 2000; seed++) {
        for (uint32_t scan = 0; scan < 10; scan++) {
            const Placement p = PlaceCard(seed, scan);
            const double turn = p.skew / 65536.0;
            skew.Add(turn * 180 / 3.14159265);
            leads.insert(p.leadColumn);
            for (const int y : {0, kHeight})
                lead.Add(p.leadColumn / 256.0 + turn * y);
            for (const int x : {0, kWidth}) {
                front.Add(p.frontEdgeRow / 256.0 + turn * x);
                back.Add(p.backEdgeRow / 256.0 + turn * x);
            }
        }
    }
    EXPECT_GE(lead.low, 150);
    EXPECT_LE(lead.high, 280);
    EXPECT_GE(front.low, 1150);
    EXPECT_LE(front.high, 1179);
    EXPECT_GE(back.low, 2515);
    EXPECT_LE(back.high, 2548);
    EXPECT_GE(skew.low, -0.151);
    EXPECT_LE(skew.high, 0.151);
    // The play is used, on both sides of the middle.
    EXPECT_GT(lead.Width(), 20);
    EXPECT_GT(front.Width(), 5);
    EXPECT_GT(skew.Width(), 0.28);
    EXPECT_GT(leads.size(), 3000u);
}

/// Lines from where the card's first columns are on the front.
std::vector<uint8_t> SomeLines(const Scene &scene) {
    std::vector<uint8_t> all;
    for (const int n : {2088, 2060, 2040}) {
        const std::vector<uint8_t> line = Render(scene, n);
        all.insert(all.end(), line.begin(), line.end());
    }
    return all;
}

TEST(OpticsScene, SeedAndScanNumberDecideEveryByte) {
    const WhiteResponse lamps = LampResponse();
    const Card card = PlainCard(100, 1169, 200);
    const auto lines = [&](uint32_t seed, uint32_t scan) {
        return SomeLines(MakeScene(card, lamps, seed, scan));
    };
    const std::vector<uint8_t> first = lines(5, 1);
    EXPECT_EQ(first, lines(5, 1));
    EXPECT_NE(first, lines(6, 1));
    EXPECT_NE(first, lines(5, 2));

    // The noise alone differs as well, from line to line too.
    Scene still = SceneOf(&card), other = still;
    other.noiseSeed = 2;
    EXPECT_NE(Render(still, 2060), Render(other, 2060));
    EXPECT_NE(Render(still, 2060), Render(still, 2061));
}

/// Mean and deviation of each byte of a line where the card is white.
struct Statistics {
    std::vector<double> mean, deviation;
};
Statistics Measure(const Scene &scene) {
    constexpr int kCount = 64;
    std::vector<double> sum(kRgbLineBytes), squares(kRgbLineBytes);
    for (int k = 0; k < kCount; k++) {
        const std::vector<uint8_t> line = Render(scene, 2080 - k);
        for (size_t i = 0; i < line.size(); i++) {
            sum[i] += line[i];
            squares[i] += line[i] * line[i];
        }
    }
    Statistics s{sum, squares};
    for (size_t i = 0; i < sum.size(); i++) {
        s.mean[i] = sum[i] / kCount;
        s.deviation[i] = std::sqrt(squares[i] / kCount - s.mean[i] * s.mean[i]);
    }
    return s;
}

TEST(OpticsScene, WhiteShowsTheLampsWithANoiseOfOneLevel) {
    const Card card = PlainCard(140, 1169, 255);
    const WhiteResponse lamps = LampResponse();
    const Statistics s = Measure(SceneOf(&card));
    double deviations = 0;
    int count = 0;
    for (int row = 12; row < 2530; row++) {
        if (row == 1170)
            row = 1372;
        const int pixel = row < 1350 ? row : 4027 - row;
        for (const int colour : {kRed, kGreen, kBlue}) {
            const auto i = static_cast<size_t>(3 * pixel + colour);
            const int white = lamps[static_cast<size_t>((2 - colour) * kSensorRows + row)];
            ASSERT_NEAR(s.mean[i], white + 3, 2) << "row " << row << ", colour " << colour;
            deviations += s.deviation[i];
            count++;
        }
    }
    EXPECT_NEAR(deviations / count, 1.0, 0.15);
}

/// Device pixels that are darker than without dust.
std::set<int> DustOf(Scene scene, const Statistics &clean) {
    scene.placement = SceneOf(nullptr).placement;
    const Statistics s = Measure(scene);
    std::set<int> pixels;
    for (int p = 60; p < 2610; p++)
        if (s.mean[static_cast<size_t>(3 * p + kGreen)] < clean.mean[static_cast<size_t>(3 * p + kGreen)] - 3)
            pixels.insert(p);
    return pixels;
}

TEST(OpticsScene, DustStaysWhileTheSeedDoes) {
    const Card card = PlainCard(140, 1169, 255);
    const WhiteResponse lamps = LampResponse();
    const Statistics clean = Measure(SceneOf(&card));
    const std::set<int> dust = DustOf(MakeScene(card, lamps, 9, 1), clean);
    EXPECT_GE(dust.size(), 3u);
    EXPECT_LE(dust.size(), 15u);
    EXPECT_EQ(dust, DustOf(MakeScene(card, lamps, 9, 2), clean));
    EXPECT_NE(dust, DustOf(MakeScene(card, lamps, 10, 1), clean));
}

TEST(OpticsScene, LampsLightEveryPlaceThatACardCovers) {
    const WhiteResponse lamps = LampResponse();
    EXPECT_EQ(lamps, LampResponse());
    for (int table = 0; table < 4; table++) { // visible and infrared
        for (int row = 0; row < kSensorRows; row++) {
            const int response = lamps[static_cast<size_t>(table * kSensorRows + row)];
            // A card turned as far as it can is still lit, and full white does not overflow.
            if ((row >= 3 && row <= 1179) || (row >= 1363 && row <= 2540))
                ASSERT_TRUE(response >= 120 && response <= 240) << table << ", " << row << ": " << response;
            // Beyond the light it is dark enough for a search to see where it ends.
            if ((row >= 1210 && row < 1330) || row >= 2580)
                ASSERT_LT(response, 60) << table << ", " << row;
        }
    }
}

} // namespace
