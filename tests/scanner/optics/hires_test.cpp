// Lines at twice the pitch: where the card appears in them; and what an uneven transport does to its travel.
#include "scanner/optics/optics.h"
#include "scanner/optics/travel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using namespace scanner;

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
