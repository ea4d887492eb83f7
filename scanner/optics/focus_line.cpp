// Lines of a target of bars at twice the pitch, as a lens shows them that may stand beside its place.
#include "scanner/optics/sensor.h"

namespace scanner {
namespace {

constexpr int kPixels = kFocusLineBytes / 3;
constexpr int kBlack = 20, kWhite = 210;

// Widths of the bars in pixels, group by group, over each half of the line.
constexpr int kBars[] = {16, 12, 8, 6, 5, 4, 3, 2};
constexpr int kGroups = sizeof kBars / sizeof kBars[0];
constexpr int kGroupPixels = kPixels / 2 / kGroups;

constexpr int TargetLevel(int pixel) {
    const int p = std::clamp(pixel, 0, kPixels - 1) % (kPixels / 2);
    return p % kGroupPixels / kBars[p / kGroupPixels] % 2 == 0 ? kWhite : kBlack;
}

} // namespace

void RenderFocusLine(int blur, uint32_t noiseSeed, int line, uint8_t *bytes) {
    constexpr int kNoiseStep = 20;
    const uint32_t stream = Hash(noiseSeed, static_cast<uint32_t>(line));
    for (int p = 0; p < kPixels; ++p) {
        // Weights that fall evenly to both sides, so that no bar comes out inverted.
        int sum = 0;
        for (int d = -blur; d <= blur; ++d)
            sum += TargetLevel(p + d) * (blur + 1 - std::abs(d));
        const int level = 256 * sum / ((blur + 1) * (blur + 1));
        const uint32_t noise = Hash(stream + static_cast<uint32_t>(p));
        for (int k = 0; k < 3; ++k) {
            const uint32_t bits = noise >> (10 * k);
            const int swing = static_cast<int>(bits & 31) - static_cast<int>((bits >> 5) & 31);
            bytes[3 * p + k] =
                static_cast<uint8_t>(std::clamp((level + swing * kNoiseStep + 128) >> 8, 0, 255));
        }
    }
}

} // namespace scanner
