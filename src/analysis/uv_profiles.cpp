#include "src/analysis/uv_profiles.h"

#include "src/common/find_from.h"
#include "src/common/pixel_sums.h"

#include <algorithm>
#include <array>

namespace k274 {

namespace {

constexpr int kUvPositions = 1350, kUvBytes = 3 * kUvPositions;
constexpr int kLeadFirstLine = 50, kLeadEndLine = 200, kLeadPixels[2] = {100, 200}, kLeadMin = 15;
constexpr int kRawLineOffset = 350, kRawLineStep = 2, kRawSamples = 250;
constexpr int kCorLine = 250, kCorLineStep = 5, kCorSamples = 100;
constexpr int kMaxGainClass = 19, kMinGainNumber = 100; // cards whose number is a gain

using LineSums = std::array<uint16_t, kUvBytes>;

LineSums SumLines(ConstColourView image, int firstLine, int step, int count) {
    LineSums sums{};
    for (int i = 0; i < count; i++)
        AddBytes(image.Row(firstLine + i * step), kUvBytes, sums.data());
    return sums;
}

int CardLine(ConstColourView uvr) {
    return FindFrom(kLeadFirstLine, kLeadEndLine, [&](int line) {
        return uvr.Pixel(line, kLeadPixels[0])[0] > kLeadMin && uvr.Pixel(line, kLeadPixels[1])[0] > kLeadMin;
    });
}

uint8_t ScaledMean(int sum, float gain, float samples) {
    return static_cast<uint8_t>(std::min(static_cast<float>(sum) * gain / samples, 255.0F));
}

} // namespace

void UvResp(ConstColourView uvr, ConstColourView uvc, const ScanMeasures &card, ResponseTable &raw,
            ResponseTable &corrected) {
    const float gain = card.cardClass <= kMaxGainClass && card.cardNumber >= kMinGainNumber
                           ? static_cast<float>(card.cardNumber) / 100.0F
                           : 1.0F;
    // At most line 1049 is read, whatever the leading edge.
    const LineSums rawSums = SumLines(uvr, CardLine(uvr) + kRawLineOffset, kRawLineStep, kRawSamples);
    const LineSums corSums = SumLines(uvc, kCorLine, kCorLineStep, kCorSamples);
    for (int channel = 0; channel < 3; channel++) {
        const int row = 6 - channel;
        const auto sumAt = [&](const LineSums &sums, int p) {
            return int{sums[static_cast<size_t>(3 * p + channel)]};
        };
        // The entries at both ends keep what they hold.
        for (int p = 1; p < kUvPositions - 1; p++)
            raw[row][p] = ScaledMean(sumAt(rawSums, p - 1) + sumAt(rawSums, p) + sumAt(rawSums, p + 1), gain,
                                     3 * kRawSamples);
        for (int p = 0; p < kUvPositions; p++)
            corrected[row][p] = ScaledMean(sumAt(corSums, p), gain, kCorSamples);
    }
}

} // namespace k274
