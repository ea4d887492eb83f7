// Lines of a white target at rest: fifty under visible light, fifty under infrared light, fifty under
// ultraviolet light and fifty in the dark.
#include "scanner/optics/sensor.h"

namespace scanner {
namespace {

constexpr int kLinesALight = 50;
constexpr int kSurroundings = 3 * 256;

// The target covers as much of either half of the sensor, well inside what is lit.
constexpr PositionRange kFrontTarget{30, 1151}, kBackTarget{1495, 2616};

// How bright the target is, as a level of art. It glows less green than blue, as hosts raise the green.
constexpr int kTarget = 230 * 256, kGreenGlow = 180 * 256;

/// What a byte of a pixel sees in one lighting; no target: nothing.
struct Seen {
    Light light;
    int target;
    bool halfPitch;
};
constexpr Seen kNothing{Light::kRed, 0, false};
constexpr Seen kSeen[4][3] = {
    {{Light::kRed, kTarget, false}, {Light::kGreen, kTarget, false}, {Light::kBlue, kTarget, false}},
    {{Light::kInfrared, kTarget, false}, kNothing, kNothing},
    {{Light::kUvRed, kTarget, true}, {Light::kUvGreen, kGreenGlow, true}, {Light::kUvBlue, kTarget, true}},
    {kNothing, kNothing, kNothing},
};

bool Inside(PositionRange range, int p) { return p >= range.first && p < range.end; }

/// The white response at a pixel of a full-pitch line.
int White(const WhiteResponse &lamps, const Seen &seen, int p) {
    constexpr int kUvBackShift = 2; // the back of the ultraviolet tables lies closer to the front
    int row = p < kFrontPixels.end ? p : kBackTurn - p;
    if (seen.halfPitch)
        row = (p < kFrontPixels.end ? p : p + kUvBackShift) / 2;
    return lamps[static_cast<size_t>(static_cast<int>(seen.light) * kSensorRows + row)];
}

} // namespace

void RenderStillLine(const WhiteResponse &lamps, const SensorGains &gains, const StillDefects &defects,
                     uint32_t noiseSeed, int line, uint8_t *bytes) {
    constexpr int kNoiseStep = 20;
    const PositionRange dead{defects.deadFirst, defects.deadFirst + defects.deadCount};
    const PositionRange darker{defects.stepPixel,
                               defects.stepPixel < kFrontPixels.end ? kFrontPixels.end : kBackPixels.end};
    for (int p = 0; p < kLinePixels; ++p) {
        const bool onTarget = Inside(kFrontTarget, p) || Inside(kBackTarget, p);
        const Side side = p < kFrontPixels.end ? Side::kFront : Side::kBack;
        const uint32_t noise = Hash(Hash(noiseSeed, static_cast<uint32_t>(line)) + static_cast<uint32_t>(p));
        for (int k = 0; k < 3; ++k) {
            const Seen &seen = kSeen[line / kLinesALight][k];
            int light = 0;
            if (seen.target > 0 && p < kBackPixels.end && !Inside(dead, p)) {
                const auto level = static_cast<uint32_t>(onTarget         ? seen.target
                                                         : seen.halfPitch ? 0
                                                                          : kSurroundings);
                const auto white = static_cast<uint32_t>(White(lamps, seen, p));
                light =
                    static_cast<int>((level * 257 * white >> 16) * gains.Of(seen.light, side) / kUnityGain);
                if (Inside(darker, p))
                    light = std::max(light - 256 * defects.stepLevels, 0);
            }
            const int dark = DarkLevel(static_cast<uint32_t>(3 * p + k), 2 * 256, 4 * 256);
            const uint32_t bits = noise >> (10 * k);
            const int swing = static_cast<int>(bits & 31) - static_cast<int>((bits >> 5) & 31);
            bytes[3 * p + k] = static_cast<uint8_t>(
                std::clamp((light + dark + swing * kNoiseStep * defects.noise + 128) >> 8, 0, 255));
        }
    }
}

} // namespace scanner
