// What the maintenance functions keep from call to call; the device lock guards the still image.
#pragma once

#include "include/k274.h"
#include "platform/labjack/labjackud.h"
#include "src/common/geometry.h"

#include <atomic>
#include <cstdint>

namespace k274 {

constexpr int kCapturedLines = 200;

// The image: three segments of lines, each lit in its own way. The last line of each becomes its mean line.
constexpr int kSegmentLines = 50, kMeanLine = kSegmentLines - 1;
constexpr int kSegmentA = 0, kSegmentB = kSegmentLines, kSegmentC = 2 * kSegmentLines; // first lines
constexpr int kStillLines = 3 * kSegmentLines;

/// Brightness across the sensor: 0 to 2 are the colours of segment A, blue, green and red; 3 is the red of
/// segment B; 4 and 5 are the blue and green of segment C.
constexpr int kStillProfiles = 6;
using StillProfiles = uint8_t[kStillProfiles][kSensorRows];

using StillRecord = K274_StillResult;

struct StillImageRecord {
    uint8_t captured[kCapturedLines * kRgbLineBytes];
    uint8_t image[kStillLines * kRgbLineBytes]; // the work copy
    StillProfiles profiles;
    StillRecord record;
};
extern StillImageRecord still;

/// The test rig's driver, once it has been found; any thread sets lines.
struct Rig {
    std::atomic<labjack::EDoFunction> setLine{nullptr};
    std::atomic<int32_t> handle{0};
};
extern Rig rig;

/// For the log; the device lock guards it.
extern int32_t focusCount;

} // namespace k274
