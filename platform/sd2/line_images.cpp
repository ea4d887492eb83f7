#include "platform/sd2/line_images.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace sd2 {

void AverageLines(const GreyImage &image, int group, LineImages &out) {
    out.axis = Axis::kAlongPixels;
    out.group = group;
    out.image.Resize(image.lines / group, image.pixels);
    const int shift = group == 8 ? 3 : 2;
    constexpr int kBlock = 256; // pixels summed at once: the sums stay in the nearest cache
    std::array<uint16_t, kBlock> sum;
    for (int line = 0; line < out.image.lines; ++line)
        for (int at = 0; at < image.pixels; at += kBlock) {
            const int count = std::min(kBlock, image.pixels - at);
            sum.fill(static_cast<uint16_t>(group / 2));
            for (int k = 0; k < group; ++k) {
                const uint8_t *source = image.Line(line * group + k) + at;
                for (int i = 0; i < count; ++i)
                    sum[static_cast<size_t>(i)] =
                        static_cast<uint16_t>(sum[static_cast<size_t>(i)] + source[i]);
            }
            uint8_t *target = out.image.Line(line) + at;
            for (int i = 0; i < count; ++i)
                target[i] = static_cast<uint8_t>(sum[static_cast<size_t>(i)] >> shift);
        }
}

namespace {

/// Sum of eight bytes, or of the first four.
uint32_t ByteSum(const uint8_t *bytes, int group) {
    uint64_t v = 0;
    std::memcpy(&v, bytes, static_cast<size_t>(group));
    constexpr uint64_t kEven = 0x00FF00FF00FF00FFull;
    const uint64_t pairs = (v & kEven) + ((v >> 8) & kEven);
    return static_cast<uint32_t>((pairs * 0x0001000100010001ull) >> 48);
}

template <int kGroup>
void AveragePixelGroups(const GreyImage &image, OwnImage &out) {
    constexpr int kBlock = 64; // lines transposed at once: one cache line of every target line
    std::array<uint8_t, kBlock> column;
    for (int line = 0; line < image.lines; line += kBlock) {
        const int count = std::min(kBlock, image.lines - line);
        for (int g = 0; g < out.lines; ++g) {
            for (int k = 0; k < count; ++k)
                column[static_cast<size_t>(k)] = static_cast<uint8_t>(
                    (ByteSum(image.Line(line + k) + g * kGroup, kGroup) + kGroup / 2) / kGroup);
            std::memcpy(out.Line(g) + line, column.data(), static_cast<size_t>(count));
        }
    }
}

} // namespace

void AveragePixels(const GreyImage &image, int group, LineImages &out) {
    out.axis = Axis::kAlongLines;
    out.group = group;
    out.image.Resize(image.pixels / group, image.lines);
    if (group == 8)
        AveragePixelGroups<8>(image, out.image);
    else
        AveragePixelGroups<4>(image, out.image);
}

} // namespace sd2
