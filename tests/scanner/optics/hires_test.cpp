// Lines at twice the pitch: where the card appears in them; and what an uneven transport does to its travel.
#include "scanner/optics/optics.h"
#include "scanner/optics/travel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using namespace scanner;

TEST(Hires, ASpotAppearsInTheLineAndPixelOfEachColour) {
    constexpr int kWidth = 90, kHeight = 60, kX = 70, kY = 11, kSize = 4;
    Card card;
    card.front = {kWidth, kHeight, std::vector<uint8_t>(3 * kWidth * kHeight)};
    for (int y = kY - kSize; y <= kY + kSize; y++)
        for (int i = 3 * (kX - kSize); i < 3 * (kX + kSize + 1); i++)
            card.front.rgb[static_cast<size_t>(3 * kWidth * y + i)] = 255;
    card.back = card.front;
    const WhiteResponse lamps = LampResponse();
    const Scene scene{&card, {200 * 256, 1175 * 256, 2535 * 256, 0}, &lamps, 1};

    const struct {
        HiresWay way;
        int lead; // line of the leading edge
    } kWays[] = {{HiresWay::kFull, 3857}, {HiresWay::kStrip, 4289}};
    for (const auto &way : kWays) {
        for (int colour = 0; colour < 3; colour++) {
            for (const bool front : {true, false}) {
                // Hosts put red, green and blue of lines 0, 8 and 16 together, and count pixels from the
                // 15th.
                const int across = front ? kX : kWidth - 1 - kX;
                const double line = way.lead + 8 * (colour - 1) - 2 * across;
                const double row = (front ? 1175 : 2535) - 1 - kY;
                const double pixel = 14.5 + (front ? 2 * row : 2500 + 2 * (2607 - row));
                double light = 0, lines = 0, pixels = 0;
                for (int n = static_cast<int>(line) - 20; n <= line + 20; n++) {
                    std::vector<uint8_t> seen(kHiresLineBytes);
                    RenderHiresLine(scene, way.way, n, seen.data());
                    for (int p = static_cast<int>(pixel) - 20; p <= pixel + 20; p++) {
                        const int level = std::max(seen[static_cast<size_t>(3 * p + colour)] - 8, 0);
                        light += level;
                        lines += level * n;
                        pixels += level * p;
                    }
                }
                // A spot of 18 x 18 pixels under half the light.
                EXPECT_NEAR(light / (18 * 18), 85, 25);
                EXPECT_NEAR(lines / light, line, 0.6) << colour << front;
                EXPECT_NEAR(pixels / light, pixel, 0.6) << colour << front;
            }
        }
    }
}

TEST(Hires, TransportWobblesAsMuchAsItIsToldTo) {
    const WhiteResponse lamps = LampResponse();
    Scene scene{nullptr, {}, &lamps, 77};
    std::vector<int64_t> seen[3];
    for (const int jitter : {0, 1, 2}) {
        scene.jitter = jitter * 65536;
        for (int line = 0; line < 2300; line++)
            seen[jitter].push_back(Wobble(scene, line));
    }
    int64_t most = 0, least = 0;
    for (size_t line = 0; line < seen[0].size(); line++) {
        EXPECT_EQ(seen[0][line], 0);
        EXPECT_NEAR(double(seen[2][line]), 2.0 * double(seen[1][line]), 2);
        if (line > 0) // by turns, without jumps
            EXPECT_LE(std::abs(seen[1][line] - seen[1][line - 1]), 65536 / 6 + 1);
        most = std::max(most, seen[1][line]);
        least = std::min(least, seen[1][line]);
    }
    EXPECT_TRUE(most > 60000 && most <= 65536 && least < -60000 && least >= -65536) << most << ", " << least;
    scene.noiseSeed++;
    EXPECT_NE(Wobble(scene, 100), seen[2][100]);
}

} // namespace
