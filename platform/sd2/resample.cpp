#include "platform/sd2/resample.h"

#include <algorithm>
#include <cmath>

namespace sd2 {
namespace {

constexpr int kFraction = 16; // bits of a fixed-point coordinate behind the point
constexpr int kWeight = 8;    // bits of a weight

int64_t Fixed(double value) { return std::llround(value * (1 << kFraction)); }

/// Bilinear sample; `x` and `y` are fixed-point with pixel centres at whole numbers.
int Sample(const GreyImage &image, int64_t x, int64_t y) {
    // The only place where coordinates become addresses: both are held inside the image here.
    x = std::clamp<int64_t>(x, 0, static_cast<int64_t>(image.pixels - 1) << kFraction);
    y = std::clamp<int64_t>(y, 0, static_cast<int64_t>(image.lines - 1) << kFraction);
    const int column = static_cast<int>(x >> kFraction), line = static_cast<int>(y >> kFraction);
    const int right = std::min(column + 1, image.pixels - 1), below = std::min(line + 1, image.lines - 1);
    const int fx = static_cast<int>(x >> (kFraction - kWeight)) & 255,
              fy = static_cast<int>(y >> (kFraction - kWeight)) & 255;
    const uint8_t *upper = image.Line(line), *lower = image.Line(below);
    const int a = upper[column] * (256 - fx) + upper[right] * fx;
    const int b = lower[column] * (256 - fx) + lower[right] * fx;
    return a * (256 - fy) + b * fy; // grey level x 65536
}

} // namespace

void SampleLine(const GreyImage &image, const Grid &grid, int count, uint8_t *out) {
    const Point middle = grid.first - (grid.taps - 1) / 2.0 * grid.across;
    const int64_t stepX = Fixed(grid.step.x), stepY = Fixed(grid.step.y);
    std::vector<int> sum(static_cast<size_t>(count), 0);
    for (int tap = 0; tap < grid.taps; ++tap) {
        const Point start = middle + tap * grid.across;
        int64_t x = Fixed(start.x - 0.5), y = Fixed(start.y - 0.5);
        for (int i = 0; i < count; ++i, x += stepX, y += stepY)
            sum[static_cast<size_t>(i)] += Sample(image, x, y) >> 8;
    }
    for (int i = 0; i < count; ++i)
        out[i] = static_cast<uint8_t>(std::min(255, (sum[static_cast<size_t>(i)] / grid.taps + 128) >> 8));
}

void Sharpen(OwnImage &image, int reach, double amount) {
    const int gain = static_cast<int>(std::lround(amount * 256));
    std::vector<uint8_t> line(static_cast<size_t>(image.pixels));
    for (int l = 0; l < image.lines; ++l) {
        uint8_t *grey = image.Line(l);
        std::copy(grey, grey + image.pixels, line.begin());
        for (int i = 0; i < image.pixels; ++i) {
            const int left = line[static_cast<size_t>(std::max(i - reach, 0))];
            const int right = line[static_cast<size_t>(std::min(i + reach, image.pixels - 1))];
            const int here = line[static_cast<size_t>(i)];
            grey[i] = static_cast<uint8_t>(std::clamp(here + gain * (2 * here - left - right) / 512, 0, 255));
        }
    }
}

void Halve(const GreyImage &image, OwnImage &out) {
    out.Resize(image.lines / 2, image.pixels / 2);
    for (int line = 0; line < out.lines; ++line) {
        const uint8_t *upper = image.Line(2 * line), *lower = image.Line(2 * line + 1);
        uint8_t *target = out.Line(line);
        for (int i = 0; i < out.pixels; ++i)
            target[i] = static_cast<uint8_t>(
                (upper[2 * i] + upper[2 * i + 1] + lower[2 * i] + lower[2 * i + 1] + 2) / 4);
    }
}

} // namespace sd2
