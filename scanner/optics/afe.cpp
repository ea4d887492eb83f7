// Which registers belong to which light.
#include "scanner/optics/afe.h"

#include <algorithm>

namespace scanner {
namespace {

// The words of a light: its gain, and its exposures on the front and behind it on the back.
constexpr struct {
    Light light;
    int gain, exposure;
} kWords[kLights] = {
    {Light::kBlue, 2, 9},   {Light::kGreen, 1, 9},    {Light::kRed, 0, 9},     {Light::kInfrared, 3, 11},
    {Light::kUvRed, 6, 13}, {Light::kUvGreen, 7, 13}, {Light::kUvBlue, 8, 13},
};

} // namespace

// Gains of red, green, blue and infrared, two offsets, gains of the glow's red, green and blue, exposures of
// visible, infrared and ultraviolet light on front and back, spare words.
const AfeRegisters kFactoryAfe = {150, 120, 96, 160, 64,  64,  408, 420, 280, 300, 322, 300, 310,
                                  700, 730, 32, 32,  256, 256, 0,   0,   0,   0,   0,   0,   0};

SensorGains GainsUnder(const AfeRegisters &registers) {
    constexpr uint64_t kMost = 16 * kUnityGain;
    SensorGains gains;
    for (const auto &words : kWords) {
        for (const Side side : {Side::kFront, Side::kBack}) {
            const auto gain = static_cast<size_t>(words.gain);
            const auto exposure = static_cast<size_t>(words.exposure + static_cast<int>(side));
            const uint64_t now = uint64_t{registers[gain]} * registers[exposure];
            const uint64_t factory = uint64_t{kFactoryAfe[gain]} * kFactoryAfe[exposure];
            const uint64_t scaled = (now * kUnityGain + factory / 2) / factory;
            gains.Set(words.light, side, static_cast<uint32_t>(std::min(scaled, kMost)));
        }
    }
    return gains;
}

} // namespace scanner
