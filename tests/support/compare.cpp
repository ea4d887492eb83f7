#include "tests/support/compare.h"

#include "include/k274.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int kTile = 48;
constexpr int kTileStep = 230;
constexpr int kBorder = 90; // beyond the rounded corners
constexpr int kReach = 14;  // largest displacement looked for, pixels

// Sum of squared differences of one tile at one displacement.
double Difference(const uint8_t *image, const scanner::Picture &art, const Transfer &transfer, int row,
                  int column, int down, int right, int step) {
    double sum = 0;
    for (int r = row; r < row + kTile; r += step) {
        for (int c = column; c < column + kTile; c += step) {
            const uint8_t *pixel = image + (r * K274_NAT_WIDTH + c) * 3;
            const uint8_t *drawn = &art.rgb[static_cast<size_t>(((r + down) * art.width + c + right) * 3)];
            for (int k = 0; k < 3; ++k) {
                const auto at = static_cast<size_t>(3 * r + k);
                const float expected =
                    std::min(255.0F, drawn[2 - k] * transfer.scale[at] + transfer.offset[at]);
                const double d = pixel[k] - expected;
                sum += d * d;
            }
        }
    }
    return sum;
}

} // namespace

double CompareWithArt(const uint8_t *image, const scanner::Picture &art, const Transfer &transfer) {
    double total = 0;
    int tiles = 0;
    for (int row = kBorder; row + kTile < art.height - kBorder; row += kTileStep) {
        for (int column = kBorder; column + kTile < art.width - kBorder; column += kTileStep) {
            double best = std::numeric_limits<double>::max();
            int bestDown = 0, bestRight = 0;
            for (int down = -kReach; down <= kReach; ++down) {
                for (int right = -kReach; right <= kReach; ++right) {
                    const double d = Difference(image, art, transfer, row, column, down, right, 3);
                    if (d < best) {
                        best = d;
                        bestDown = down;
                        bestRight = right;
                    }
                }
            }
            total += Difference(image, art, transfer, row, column, bestDown, bestRight, 1);
            ++tiles;
        }
    }
    const double mean = total / (3.0 * kTile * kTile * tiles);
    return 10 * std::log10(255 * 255 / std::max(mean, 1e-6));
}
