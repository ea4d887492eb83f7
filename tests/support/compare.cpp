#include "tests/support/compare.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int kArtDotsPerInch = 550;
constexpr int kTile = 48;
constexpr int kTileStep = 230;
constexpr int kBorder = 90; // beyond the rounded corners
constexpr int kReach = 14;  // largest displacement looked for, pixels

/// The art by the mean of what each pixel of another resolution covers.
Art Resampled(int dotsPerInch, const std::vector<uint8_t> &bytes, int width, int height, int channels,
              bool reversed) {
    const double step = static_cast<double>(kArtDotsPerInch) / dotsPerInch;
    Art art{static_cast<int>(width / step), static_cast<int>(height / step), channels, {}};
    // Points of one pixel of the result, a quarter of its size apart.
    constexpr double kPoints[] = {-0.375, -0.125, 0.125, 0.375};
    auto source = [&](int row, int column, int channel) {
        return bytes[static_cast<size_t>((row * width + column) * channels + channel)];
    };
    auto nearest = [&](double at, int end) { return std::clamp(static_cast<int>(at * step), 0, end - 1); };
    art.bytes.reserve(static_cast<size_t>(art.width * art.height * channels));
    for (int row = 0; row < art.height; ++row) {
        for (int column = 0; column < art.width; ++column) {
            for (int k = 0; k < channels; ++k) {
                int sum = 0;
                for (const double dy : kPoints)
                    for (const double dx : kPoints)
                        sum += source(nearest(row + 0.5 + dy, height), nearest(column + 0.5 + dx, width),
                                      reversed ? channels - 1 - k : k);
                art.bytes.push_back(static_cast<uint8_t>((sum + 8) / 16));
            }
        }
    }
    return art;
}

/// Calls back with image and art pixels of a tile at a displacement.
template <typename Pixel>
void ForTile(const ScanImage &image, const Art &art, int row, int column, int down, int right, int step,
             Pixel pixel) {
    for (int r = row; r < row + kTile; r += step)
        for (int c = column; c < column + kTile; c += step)
            pixel(r, image.data + (r * image.width + c) * image.channels,
                  &art.bytes[static_cast<size_t>(((r + down) * art.width + c + right) * art.channels)]);
}

/// Calls back with the corner of every tile.
template <typename Tile>
void ForTiles(const ScanImage &image, const Art &art, Tile tile) {
    const int height = std::min(image.height, art.height), width = std::min(image.width, art.width);
    for (int row = kBorder; row + kTile < height - kBorder; row += kTileStep)
        for (int column = kBorder; column + kTile < width - kBorder; column += kTileStep)
            tile(row, column);
}

double Difference(const ScanImage &image, const Art &art, const Transfer &transfer, int row, int column,
                  int down, int right, int step) {
    double sum = 0;
    ForTile(
        image, art, row, column, down, right, step, [&](int r, const uint8_t *pixel, const uint8_t *drawn) {
            for (int k = 0; k < image.channels; ++k) {
                const auto at = static_cast<size_t>(image.channels * r + k);
                const float expected = std::min(255.0F, drawn[k] * transfer.scale[at] + transfer.offset[at]);
                sum += (pixel[k] - expected) * (pixel[k] - expected);
            }
        });
    return sum;
}

struct Moments {
    double count = 0, sum = 0, squares = 0;
    void Add(double value) {
        count += 1;
        sum += value;
        squares += value * value;
    }
    double Mean() const { return sum / count; }
    double Deviation() const { return std::sqrt(std::max(1e-6, squares / count - Mean() * Mean())); }
};

} // namespace

Art ArtAt(int dotsPerInch, const scanner::Picture &picture) {
    return Resampled(dotsPerInch, picture.rgb, picture.width, picture.height, 3, true);
}

Art ArtAt(int dotsPerInch, const scanner::GreyPicture &picture) {
    return Resampled(dotsPerInch, picture.grey, picture.width, picture.height, 1, false);
}

Transfer FittedTransfer(const ScanImage &image, const Art &art) {
    const auto channels = static_cast<size_t>(image.channels);
    std::vector<Moments> seen(channels), drawn(channels);
    ForTiles(image, art, [&](int row, int column) {
        ForTile(image, art, row, column, 0, 0, 1, [&](int, const uint8_t *pixel, const uint8_t *from) {
            for (size_t k = 0; k < channels; ++k) {
                seen[k].Add(pixel[k]);
                drawn[k].Add(from[k]);
            }
        });
    });
    Transfer transfer;
    for (int row = 0; row < image.height; ++row) {
        for (size_t k = 0; k < channels; ++k) {
            const double scale = seen[k].Deviation() / drawn[k].Deviation();
            transfer.scale.push_back(static_cast<float>(scale));
            transfer.offset.push_back(static_cast<float>(seen[k].Mean() - scale * drawn[k].Mean()));
        }
    }
    return transfer;
}

double CompareWithArt(const ScanImage &image, const Art &art, const Transfer &transfer) {
    double total = 0;
    int tiles = 0;
    ForTiles(image, art, [&](int row, int column) {
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
    });
    const double mean = total / (image.channels * kTile * kTile * tiles);
    return 10 * std::log10(255 * 255 / std::max(mean, 1e-6));
}
