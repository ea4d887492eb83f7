// Targets at rest: how the lines are lit, what defects of the sensor do to them, and how the lens blurs them.
#include "scanner/optics/optics.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <vector>

namespace {

using namespace scanner;
using Line = std::vector<uint8_t>;

Line Still(const StillDefects &defects, int line, const SensorGains &gains = {}) {
    static const WhiteResponse lamps = LampResponse();
    Line bytes(kStillLineBytes);
    RenderStillLine(lamps, gains, defects, 5, line, bytes.data());
    return bytes;
}

TEST(StillTarget, IsLitByLinesAndSeenWithinItsEdges) {
    const struct {
        int line;
        bool lit[3]; // red, green, blue
    } kCases[] = {{0, {true, true, true}},      {49, {true, true, true}},    {50, {true, false, false}},
                  {99, {true, false, false}},   {100, {true, true, true}},   {149, {true, true, true}},
                  {150, {false, false, false}}, {199, {false, false, false}}};
    for (const auto &c : kCases) {
        const Line line = Still({}, c.line);
        for (int p = 0; p < kLinePixels; p++) {
            const bool on = (p >= 32 && p < 1149) || (p >= 1497 && p < 2614);
            const bool beside = p < 28 || (p > 1153 && p < 1493) || p > 2618;
            // The glow's red is weak on any paper.
            for (size_t k = 0; k < 3; k++) {
                const int level = line[3 * static_cast<size_t>(p) + k];
                if (on)
                    ASSERT_EQ(level > 20, c.lit[k]) << c.line << ", " << p;
                else if (beside)
                    ASSERT_LT(level, 14) << c.line << ", " << p;
            }
        }
    }
    SensorGains brighter;
    brighter.Set(Light::kInfrared, Side::kBack, 2 * kUnityGain);
    EXPECT_EQ(Still({}, 60, brighter)[3 * 2000], 255);
    EXPECT_EQ(Still({}, 60, brighter)[3 * 1000], Still({}, 60)[3 * 1000]);
}

TEST(StillTarget, DefectsChangeWhatTheySayAndNothingElse) {
    const struct {
        StillDefects defects;
        int first, end;                   // pixels that change
        std::function<int(int)> expected; // from the level of a sound sensor
    } kCases[] = {{{700, 3, 0, 0, 1}, 700, 703, [](int) { return 3; }},
                  {{2610, 300, 0, 0, 1}, 2610, 2720, [](int) { return 3; }},
                  {{0, 0, 900, 25, 1}, 900, 1350, [](int level) { return std::max(3, level - 25); }},
                  {{0, 0, 2000, 255, 1}, 2000, 2678, [](int) { return 3; }}};
    for (const auto &c : kCases) {
        for (const int n : {20, 70, 120}) {
            const Line sound = Still({}, n), line = Still(c.defects, n);
            for (int p = 0; p < kLinePixels; p++) {
                for (size_t k = 0; k < 3; k++) {
                    const size_t at = 3 * static_cast<size_t>(p) + k;
                    if (p < c.first || p >= c.end)
                        ASSERT_EQ(line[at], sound[at]) << n << ", " << p;
                    else
                        ASSERT_NEAR(line[at], c.expected(sound[at]), 6) << n << ", " << p;
                }
            }
        }
    }
    int last = -1;
    for (const int noise : {0, 1, 8, 40}) {
        StillDefects defects;
        defects.noise = noise;
        const Line a = Still(defects, 20), b = Still(defects, 21);
        int sum = 0;
        for (size_t i = 300; i < 3300; i++)
            sum += std::abs(a[i] - b[i]);
        EXPECT_GT(sum, last) << noise;
        EXPECT_EQ(sum == 0, noise == 0);
        last = sum;
    }
}

TEST(FocusTarget, LosesContrastWithTheDistanceFromSharp) {
    const auto contrast = [](int blur, size_t first, size_t end) {
        Line line(kFocusLineBytes);
        RenderFocusLine(blur, 3, 4, line.data());
        const auto [low, high] = std::minmax_element(line.begin() + 3 * static_cast<int>(first),
                                                     line.begin() + 3 * static_cast<int>(end));
        return *high - *low;
    };
    // Wide bars stand a blur that fine ones do not, on both halves of the line.
    for (const size_t half : {0u, 2720u}) {
        int lastWide = 256, lastFine = 256;
        for (const int blur : {0, 1, 4, 12}) {
            const int wide = contrast(blur, half + 40, half + 300),
                      fine = contrast(blur, half + 2060, half + 2340);
            EXPECT_TRUE(wide <= lastWide + 8 && fine <= lastFine + 8) << blur;
            EXPECT_GE(wide + 8, fine) << blur;
            lastWide = wide;
            lastFine = fine;
        }
        EXPECT_TRUE(contrast(0, half, half + 2720) > 180 && lastWide > 60 && lastFine < 25)
            << lastWide << ", " << lastFine;
    }
}

} // namespace
