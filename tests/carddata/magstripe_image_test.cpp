// Contrast and bleed image of the stripe against their rules, written out plainly.
#include "src/carddata/magstripe_image.h"

#include <gtest/gtest.h>

#include <numeric>
#include <random>
#include <vector>

namespace k274::test {
namespace {

constexpr int kLines = 640, kPixels = 900;

/// A stripe as wide as `edge` pixels that begins at a line, bright on dark, noise added.
std::vector<uint8_t> Stripe(int edge, int firstLine, int bright, int dark, unsigned noise) {
    std::mt19937 random(1);
    std::vector<uint8_t> image;
    for (int line = 0; line < kLines; ++line)
        for (int pixel = 0; pixel < kPixels; ++pixel)
            image.push_back(static_cast<uint8_t>((line >= firstLine && pixel < edge ? bright : dark) +
                                                 static_cast<int>(random() % (noise + 1))));
    return image;
}

std::vector<uint8_t> Tones(int option) {
    std::vector<uint8_t> tones(256);
    std::iota(tones.begin(), tones.end(), uint8_t{0});
    std::vector<uint8_t> ramp;
    std::vector<std::pair<size_t, int>> steps; // last input and value
    if (option == 1) {
        ramp = {0,   8,   16,  24,  32,  40,  48,  56,  64,  72,  80,  88,  96,  104, 112,
                120, 128, 136, 160, 168, 176, 184, 192, 200, 208, 216, 224, 232, 240, 248};
        steps = {{63, 251}, {99, 252}, {100, 251}, {127, 252}, {191, 253}, {254, 254}, {255, 255}};
    } else if (option == 2) {
        ramp = {0,   1,   1,   1,   2,   2,   3,   3,   4,   6,   8,   10,  12,  13,  14,  15,  16,
                18,  20,  22,  24,  26,  28,  30,  32,  36,  40,  44,  48,  52,  56,  60,  64,  72,
                80,  88,  96,  104, 112, 120, 128, 136, 144, 152, 160, 168, 176, 184, 192, 200, 208,
                216, 224, 226, 228, 230, 232, 233, 234, 235, 236, 237, 238, 239, 240};
        steps = {{67, 240},  {71, 241},  {75, 242},  {79, 243},  {87, 244},  {95, 245},
                 {103, 246}, {111, 247}, {115, 248}, {119, 249}, {123, 250}, {127, 251},
                 {156, 252}, {159, 249}, {191, 253}, {254, 254}, {255, 255}};
    }
    std::copy(ramp.begin(), ramp.end(), tones.begin());
    size_t input = ramp.size();
    for (const auto &[last, value] : steps)
        for (; input <= last; ++input)
            tones[input] = static_cast<uint8_t>(value);
    return tones;
}

/// The bleed image for an edge and a first line that are known.
std::vector<uint8_t> Bleed(const std::vector<uint8_t> &stripe, int c, int f,
                           const std::vector<uint8_t> &tones) {
    std::vector<uint8_t> bleed(400 * 640, 0);
    for (int y = f; y <= 639 - f; ++y)
        for (int k = 0; k <= c && k < 400; ++k)
            bleed[static_cast<size_t>(k * 640 + y - f)] =
                tones[stripe[static_cast<size_t>(y * kPixels + c - k)]];
    return bleed;
}

TEST(MagstripeImage, BleedImage) {
    const struct {
        const char *name;
        int edge, firstLine, bright, dark;
        unsigned noise;
        int c, f;
    } cases[] = {
        {"edge and line found", 392, 6, 150, 20, 40, 392, 5},
        {"first line at once", 392, 0, 150, 20, 40, 392, 0},
        {"second line", 392, 1, 150, 20, 40, 392, 0},
        {"wide stripe", 500, 9, 150, 20, 40, 401, 8},
        {"last pixel that is looked at", 385, 11, 150, 20, 40, 385, 10},
        {"narrow stripe", 384, 12, 150, 20, 40, 384, 11},
        {"all inputs of the tones", 392, 3, 150, 0, 105, 392, 2},
        {"black", 0, 0, 0, 0, 0, 384, 11},
        {"white", 900, 0, 255, 255, 0, 401, 0},
        {"threshold 1: its own value is not above it", 390, 2, 3, 1, 0, 390, 1},
    };
    for (const auto &c : cases)
        for (const int option : {0, 1, 2, 3, -1}) {
            SCOPED_TRACE(std::string(c.name) + ", tones " + std::to_string(option));
            const auto stripe = Stripe(c.edge, c.firstLine, c.bright, c.dark, c.noise);
            std::vector<uint8_t> bleed(400 * 640, 0xEE);
            BuildBleedImage({stripe.data(), kLines, kPixels}, option, {bleed.data(), 400, 640});
            EXPECT_TRUE(bleed == Bleed(stripe, c.c, c.f, Tones(option)));
        }
}

TEST(MagstripeImage, HalfOfTheSamplesDoNotMakeAnEdgeNorTenALine) {
    // Pixel 390 is bright in 5 of the ten sampled lines, pixel 388 in 6.
    auto stripe = Stripe(380, 640, 0, 10, 0);
    for (size_t line = 100; line <= 550; line += 50) {
        stripe[line * kPixels + 375] = line <= 300 ? 99 : 100; // mean 99.5, threshold 50
        stripe[line * kPixels + 390] = line <= 300 ? 200 : 0;
        stripe[line * kPixels + 388] = line <= 350 ? 51 : 50;
    }
    // Line 4 is bright at 10 of the sampled pixels, line 7 at 11.
    for (size_t i = 0; i < 11; ++i) {
        stripe[4 * kPixels + 50 + 10 * i] = i < 10 ? 51 : 50;
        stripe[7 * kPixels + 50 + 10 * i] = 51;
    }
    std::vector<uint8_t> bleed(400 * 640);
    BuildBleedImage({stripe.data(), kLines, kPixels}, 2, {bleed.data(), 400, 640});
    EXPECT_TRUE(bleed == Bleed(stripe, 389, 6, Tones(2)));
}

TEST(MagstripeImage, ContrastIsARatioOfWholeMeans) {
    auto stripe = Stripe(0, 0, 0, 40, 0);
    const auto contrast = [&] { return StripeContrast({stripe.data(), kLines, kPixels}); };
    EXPECT_EQ(contrast(), 1.0f);
    // Bright everywhere but at the samples: the means see the samples alone, 54 x 75 of them.
    for (size_t line = 0; line < kLines; ++line)
        for (size_t pixel = 0; pixel < kPixels; ++pixel) {
            const bool sampled = line % 10 == 0 && line >= 50 && line <= 580;
            const bool left = sampled && pixel >= 50 && pixel <= 346 && (pixel - 50) % 4 == 0;
            const bool right = sampled && pixel >= 550 && pixel <= 846 && (pixel - 550) % 4 == 0;
            stripe[line * kPixels + pixel] = left    ? (pixel == 346 ? 96 : 21)
                                             : right ? (pixel == 846 ? 85 : 10)
                                                     : 255;
        }
    EXPECT_EQ(contrast(), 2.0f);    // 22 and 11: the last sample of each line raises them by one
    stripe[50 * kPixels + 550] = 9; // the mean falls to 10
    EXPECT_EQ(contrast(), 22.0f / 10.0f);
    stripe.assign(stripe.size(), 0);
    EXPECT_EQ(contrast(), 0.0f);
}

} // namespace
} // namespace k274::test
