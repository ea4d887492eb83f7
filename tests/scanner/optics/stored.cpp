// The receiving end of the lines.
#include "stored.h"

#include <algorithm>
#include <cmath>

namespace stored {
namespace {

int Bright(Image &image, int row, int column) {
    const uint8_t *pixel = image.Pixel(row, column);
    return std::min<int>(pixel[0], 32) + std::min<int>(pixel[1], 32) + std::min<int>(pixel[2], 32);
}

int Lead(Image &image, int firstRow) {
    for (int column = 40; column < 320; ++column) {
        int sum = 0;
        for (int k = 0; k < 8; ++k)
            sum += Bright(image, firstRow + 100 * k, column);
        if (sum >= 336)
            return column - 1;
    }
    return 319;
}

int Edge(Image &image, int lead, std::initializer_list<int> rows, int firstRow) {
    const auto dark = [&image](int row, int column) {
        const uint8_t *pixel = image.Pixel(row, column);
        return pixel[0] + pixel[1] + pixel[2] >= 91 ? 1 : -1;
    };
    int column = lead - 10;
    for (; column < lead + 10; ++column) {
        int sum = 0;
        for (const int row : rows)
            sum += Bright(image, row, column);
        if (sum >= 294)
            break;
    }
    column += 24;
    for (int row = firstRow; row < firstRow + 60; ++row) {
        int block = 0, diagonal = 0;
        for (int k = 0; k < 9; ++k)
            block += dark(row - 3 + k / 3, column + 1 + k % 3);
        for (int k = -3; k <= 4; ++k)
            diagonal += k <= 0 ? dark(row + k, column + k - 1) : dark(row + k, column + k);
        diagonal += dark(row, column);
        if (block > 0 && diagonal < 0)
            return row + 15;
    }
    return firstRow + 75;
}

} // namespace

Image Scan(const scanner::Scene &scene) {
    constexpr int kFirstLine = 100, kLastLine = 2199; // the lines that a host asks for
    Image image;
    std::vector<uint8_t> line(scanner::kRgbLineBytes);
    const auto put = [&image](int row, int column, int channel, uint8_t value) {
        if (column >= 0 && column < kColumns)
            image.Pixel(row, column)[channel] = value;
    };
    for (int n = kLastLine; n >= kFirstLine; --n) {
        scanner::RenderRgbLine(scene, n, line.data());
        for (int p = 0; p < 1350; ++p) {
            const uint8_t *front = &line[static_cast<size_t>(3 * p)];
            put(p, 2295 - n, 2, front[0]);
            put(p, 2299 - n, 1, front[1]);
            put(p, 2303 - n, 0, front[2]);
            const uint8_t *back = &line[static_cast<size_t>(3 * (1328 + p))];
            put(2699 - p, n + 4, 2, back[0]);
            put(2699 - p, n, 1, back[1]);
            put(2699 - p, n - 4, 0, back[2]);
        }
    }
    return image;
}

int Levelled(int value, int response) {
    const double gain = std::min(2.55, std::pow(224.0 / response, 0.97));
    return std::min(255, value * static_cast<int>(gain * 128) >> 7);
}

Found FindCard(Image &image) {
    const int front = Lead(image, 210), back = Lead(image, 1500);
    return {front, back, Edge(image, front, {1000, 1010, 1020, 1030, 1040, 1050, 1060}, 1125),
            Edge(image, back, {2200, 2210, 2220, 2230, 2480, 2485, 2490}, 2485)};
}

} // namespace stored
