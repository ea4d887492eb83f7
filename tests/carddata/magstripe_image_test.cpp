// Contrast and bleed image of the stripe against their rules, written out plainly.
#include "src/carddata/magstripe_image.h"
#include "tests/support/data.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace k274::test {
namespace {

using Bytes = std::vector<uint8_t>;
constexpr int kLines = 640, kPixels = 900;

/// A stripe as wide as `edge` pixels that begins at a line, bright on dark, noise added.
Bytes Stripe(int edge, int firstLine, int bright, int dark, unsigned noise) {
    std::mt19937 random(1);
    Bytes image;
    for (int line = 0; line < kLines; ++line)
        for (int pixel = 0; pixel < kPixels; ++pixel)
            image.push_back(static_cast<uint8_t>((line >= firstLine && pixel < edge ? bright : dark) +
                                                 static_cast<int>(random() % (noise + 1))));
    return image;
}

Bytes Built(const Bytes &stripe, int option) {
    Bytes bleed(400 * 640, 0xEE);
    BuildBleedImage({stripe.data(), kLines, kPixels}, option, {bleed.data(), 400, 640});
    return bleed;
}

/// The bleed image of the plain tones for an edge and a first line that are known.
Bytes Expected(const Bytes &stripe, int c, int f) {
    Bytes bleed(400 * 640, 0);
    for (int y = f; y <= 639 - f; ++y)
        for (int k = 0; k <= c && k < 400; ++k)
            bleed[static_cast<size_t>(k * 640 + y - f)] = stripe[static_cast<size_t>(y * kPixels + c - k)];
    return bleed;
}

TEST(MagstripeImage, BleedImage) {
    for (const auto &row : Table("carddata/stripes.txt")) {
        int edge = 0, firstLine = 0, bright = 0, dark = 0, c = 0, f = 0;
        unsigned noise = 0;
        Take(row[1], edge, firstLine, bright, dark, noise, c, f);
        const Bytes stripe = Stripe(edge, firstLine, bright, dark, noise);
        for (const int option : {0, 3, -1})
            EXPECT_TRUE(Built(stripe, option) == Expected(stripe, c, f)) << row[0] << ", tones " << option;
    }
    // Pixel 390 is bright in 5 of the ten sampled lines, pixel 388 in 6.
    Bytes stripe = Stripe(380, 640, 0, 10, 0);
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
    EXPECT_TRUE(Built(stripe, 0) == Expected(stripe, 389, 6));
}

TEST(MagstripeImage, Tones) {
    const Bytes stripe = Stripe(392, 100, 100, 0, 155), plain = Built(stripe, 0);
    const Bytes toned[] = {plain, Built(stripe, 1), Built(stripe, 2)};
    for (const auto &row : Table("carddata/tones.txt")) {
        int from = 0, to = 0, first = 0, step = 0;
        Take(row[1], from, to);
        Take(row[2], first, step);
        for (int input = from; input <= to; ++input) {
            const auto at = std::find(plain.begin(), plain.end(), input) - plain.begin();
            EXPECT_EQ(toned[std::stoi(row[0])].at(static_cast<size_t>(at)), first + step * (input - from))
                << input;
        }
    }
}

TEST(MagstripeImage, ContrastIsARatioOfWholeMeans) {
    Bytes stripe = Stripe(0, 0, 0, 40, 0);
    const auto contrast = [&] { return StripeContrast({stripe.data(), kLines, kPixels}); };
    EXPECT_EQ(contrast(), 1.0f);
    // Bright everywhere but at the samples: the means see the samples alone, 54 x 75 of them.
    stripe.assign(stripe.size(), 255);
    for (size_t line = 50; line <= 580; line += 10)
        for (size_t pixel = 0; pixel <= 296; pixel += 4) {
            stripe[line * kPixels + 50 + pixel] = pixel == 296 ? 96 : 21;
            stripe[line * kPixels + 550 + pixel] = pixel == 296 ? 85 : 10;
        }
    EXPECT_EQ(contrast(), 2.0f);    // 22 and 11: the last sample of each line raises them by one
    stripe[50 * kPixels + 550] = 9; // the mean falls to 10
    EXPECT_EQ(contrast(), 22.0f / 10.0f);
    stripe.assign(stripe.size(), 0);
    EXPECT_EQ(contrast(), 0.0f);
}

} // namespace
} // namespace k274::test
