// The still image as it is handed to the host, and its profiles across the sensor.
#include "src/common/byte_map.h"
#include "src/common/pixel_sums.h"
#include "src/maint/still_analysis.h"

#include <algorithm>
#include <cstring>

namespace k274 {

namespace {

// The dark level shows between the sensor's halves. It counts where segment C is lit, and behind.
constexpr int kFirstDimLine = kSegmentC;
constexpr int kDarkLine = 110, kDarkLines = 10, kDarkPixel = 1350, kDarkPixels = 100;
constexpr float kGreenGain = 1.33F;

// The back's half lies so many pixels further on than the sensor delivers it.
constexpr int kBackShift = 30, kBackShiftEnd = 1371;

// Lines of a segment and pixels of a line that are averaged; the outermost pixels have no neighbours.
constexpr int kAveragedLine = 20, kAveragedLines = 20;
constexpr int kNeighbours = 2;

void ShiftBack(uint8_t *line) {
    std::memmove(line + 3 * kBackShiftEnd, line + 3 * (kBackShiftEnd - kBackShift),
                 3 * (kSensorRows - kBackShiftEnd));
}

void FillMeanLine(ColourView image, int segment) {
    constexpr int kBytes = 3 * kSensorRows;
    uint16_t sums[kBytes] = {};
    for (int i = 0; i < kAveragedLines; i++)
        AddBytes(image.Row(segment + kAveragedLine + i), kBytes, sums);
    uint8_t *mean = image.Row(segment + kMeanLine);
    for (int i = 0; i < kBytes; i++) {
        sums[i] = static_cast<uint16_t>(sums[i] / kAveragedLines);
        mean[i] = static_cast<uint8_t>(sums[i]);
    }
    for (int i = 3 * kNeighbours; i < kBytes - 3 * kNeighbours; i++)
        mean[i] = static_cast<uint8_t>((sums[i - 6] + sums[i - 3] + sums[i] + sums[i + 3] + sums[i + 6]) /
                                       (2 * kNeighbours + 1));
}

} // namespace

void SubtractDark(ColourView captured) {
    int32_t sums[3] = {};
    for (int line = kDarkLine; line < kDarkLine + kDarkLines; line++) {
        const PixelSums pixels = SumPixels(captured.Pixel(line, kDarkPixel), 1, kDarkPixels);
        for (int channel = 0; channel < 3; channel++)
            sums[channel] += pixels.channel[channel];
    }
    ByteMap maps[3];
    for (int channel = 0; channel < 3; channel++)
        for (int value = 0; value < 256; value++) {
            const int lit = std::max(0, value - sums[channel] / (kDarkLines * kDarkPixels));
            const float gain = channel == 1 ? kGreenGain : 1.0F;
            maps[channel][static_cast<size_t>(value)] =
                static_cast<uint8_t>(std::min(static_cast<float>(lit) * gain, 255.0F));
        }
    for (int line = kFirstDimLine; line < kCapturedLines; line++) {
        uint8_t *bytes = captured.Row(line);
        for (int i = 0; i < 3 * kSensorRows; i++)
            bytes[i] = maps[i % 3][bytes[i]];
    }
}

void ArrangeStill(ConstColourView captured, ColourView image) {
    for (int line = 0; line < kStillLines; line++) {
        const uint8_t *from = captured.Row(line);
        uint8_t *to = image.Row(line);
        for (int i = 0; i < 3 * kLinePixels; i += 3) {
            to[i] = from[i + 2];
            to[i + 1] = from[i + 1];
            to[i + 2] = from[i];
        }
        ShiftBack(to);
    }
    for (const int segment : {kSegmentA, kSegmentB, kSegmentC})
        FillMeanLine(image, segment);
}

void BuildStillProfiles(ConstColourView image, StillProfiles &profiles) {
    constexpr struct {
        int segment, channel;
    } kSources[kStillProfiles] = {{kSegmentA, 0}, {kSegmentA, 1}, {kSegmentA, 2},
                                  {kSegmentB, 2}, {kSegmentC, 0}, {kSegmentC, 1}};
    for (int k = 0; k < kStillProfiles; k++) {
        const uint8_t *mean = image.Row(kSources[k].segment + kMeanLine) + kSources[k].channel;
        for (int p = 0; p < kSensorRows; p++)
            profiles[k][p] = mean[3 * p];
    }
}

} // namespace k274
