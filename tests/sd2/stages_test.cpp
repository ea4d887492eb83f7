// The decoder's stages against the plain formulas.
#include "platform/sd2/budget.h"
#include "platform/sd2/edges.h"
#include "platform/sd2/line_images.h"
#include "platform/sd2/resample.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

using namespace sd2;

/// An image with padding and no pixel like its neighbour; exactly as large as it says.
struct Pattern {
    std::vector<uint8_t> grey;
    GreyImage view;

    Pattern(int lines, int pixels, int stride) {
        uint32_t state = 12345;
        for (int i = 0; i < (lines - 1) * stride + pixels; ++i)
            grey.push_back(static_cast<uint8_t>((state = state * 1664525u + 1013904223u) >> 24));
        view = {grey.data(), lines, pixels, stride};
    }
};

TEST(Stages, LineImagesAreMeans) {
    for (const int group : {4, 8})
        for (const auto &[lines, pixels] : {std::pair(64, 300), {71, 517}, {9, 33}, {3, 5}, {130, 8}}) {
            const Pattern pattern(lines, pixels, pixels + 13);
            LineImages alongPixels, alongLines;
            AverageLines(pattern.view, group, alongPixels);
            AveragePixels(pattern.view, group, alongLines);
            ASSERT_EQ(alongPixels.image.lines, lines / group);
            ASSERT_EQ(alongPixels.image.pixels, pixels);
            ASSERT_EQ(alongLines.image.lines, pixels / group);
            ASSERT_EQ(alongLines.image.pixels, lines);
            const auto mean = [&](int line, int pixel, int down, int right) {
                int sum = group / 2;
                for (int k = 0; k < group; ++k)
                    sum += pattern.view.Line(line + k * down)[pixel + k * right];
                return sum / group;
            };
            for (int g = 0; g < lines / group; ++g)
                for (int x = 0; x < pixels; ++x)
                    ASSERT_EQ(alongPixels.image.Line(g)[x], mean(g * group, x, 1, 0));
            for (int g = 0; g < pixels / group; ++g)
                for (int y = 0; y < lines; ++y)
                    ASSERT_EQ(alongLines.image.Line(g)[y], mean(y, g * group, 0, 1));
        }
}

TEST(Stages, EdgesLieBetweenPixels) {
    // Bars whose ends cover a part of a pixel, on a ramp of brightness.
    const double bars[][2] = {{20.25, 24.5}, {28.0, 31.75},   {40.5, 60.0},
                              {64.25, 68.5}, {100.5, 160.25}, {163.0, 167.0}};
    OwnImage image;
    image.Resize(1, 200);
    for (int x = 0; x < 200; ++x) {
        double dark = 0;
        for (const auto &bar : bars)
            dark += std::max(0.0, std::min<double>(x + 1, bar[1]) - std::max<double>(x, bar[0]));
        image.Line(0)[x] = static_cast<uint8_t>((120 + x / 2.0) * (1 - 0.7 * dark));
    }
    Edges edges;
    FindEdges(image, edges);
    ASSERT_EQ(edges.Count(0), 12);
    for (int i = 0; i < 12; ++i)
        EXPECT_NEAR(edges.Line(0)[i] / static_cast<double>(kEdgeUnit), bars[i / 2][i % 2], 0.45) << i;
}

TEST(Stages, SamplesOutsideTakeTheNearestPixel) {
    const Pattern pattern(20, 30, 37);
    std::vector<uint8_t> out(60);
    const auto at = [&](int x, int y) {
        return pattern.view.Line(std::min(std::max(y, 0), 19))[std::min(std::max(x, 0), 29)];
    };
    for (const int y : {-100000, -1, 0, 7, 19, 20, 5000}) {
        SampleLine(pattern.view, {{-15 + 0.5, y + 0.5}, {1, 0}, {0, 0}, 1}, 60, out.data());
        for (int i = 0; i < 60; ++i)
            ASSERT_EQ(out[static_cast<size_t>(i)], at(i - 15, y)) << y << ' ' << i;
    }
    // Three taps one line apart, standing across.
    SampleLine(pattern.view, {{5.5, 1.5}, {0, 1}, {1, 0}, 3}, 10, out.data());
    for (int i = 0; i < 10; ++i)
        EXPECT_NEAR(out[static_cast<size_t>(i)], (at(4, 1 + i) + at(5, 1 + i) + at(6, 1 + i)) / 3.0, 1);
}

TEST(Stages, NoAttemptStartsAfterTheLimit) {
    const Stopwatch spent(0), ample(600000);
    EXPECT_FALSE(Attempts(spent).MayStart());
    Attempts attempts(ample);
    EXPECT_TRUE(attempts.MayStart());
    EXPECT_TRUE(attempts.Run([] { return true; }));
    EXPECT_FALSE(attempts.Run([] { return false; }));
    EXPECT_TRUE(attempts.MayStart());
}

} // namespace
