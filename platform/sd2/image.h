// What the decoder's files pass to each other: grey images, read symbols, points. Coordinates are
// continuous: pixel i covers i to i + 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace sd2 {

/// The caller's image or one of ours; never written through.
struct GreyImage {
    const uint8_t *data;
    int lines, pixels;
    ptrdiff_t stride;

    const uint8_t *Line(int line) const { return data + line * stride; }
};

/// An image that the decoder made for itself, without padding.
struct OwnImage {
    int lines = 0, pixels = 0;
    std::vector<uint8_t> grey;

    void Resize(int newLines, int newPixels) {
        lines = newLines;
        pixels = newPixels;
        grey.resize(static_cast<size_t>(lines) * static_cast<size_t>(pixels));
    }
    uint8_t *Line(int line) { return grey.data() + static_cast<ptrdiff_t>(line) * pixels; }
    const uint8_t *Line(int line) const { return grey.data() + static_cast<ptrdiff_t>(line) * pixels; }
    GreyImage View() const { return {grey.data(), lines, pixels, pixels}; }
};

struct Point {
    double x = 0, y = 0;
};
inline Point operator+(Point a, Point b) { return {a.x + b.x, a.y + b.y}; }
inline Point operator-(Point a, Point b) { return {a.x - b.x, a.y - b.y}; }
inline Point operator*(double s, Point p) { return {s * p.x, s * p.y}; }
inline double Dot(Point a, Point b) { return a.x * b.x + a.y * b.y; }

/// Symbologies by the codes that callers know.
enum Symbology : int32_t { kNone = 0, kCode128 = 0x10, kCode39 = 0x20, kPdf417 = 0x1000 };

} // namespace sd2
