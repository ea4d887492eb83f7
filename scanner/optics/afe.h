// The registers of the analog front end, and how they scale what the sensor delivers.
#pragma once

#include "scanner/optics/light.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace scanner {

constexpr int kAfeWords = 26;
using AfeRegisters = std::array<uint16_t, kAfeWords>;

/// The registers under which the sensor delivers what LampResponse tells.
extern const AfeRegisters kFactoryAfe;

constexpr int kLights = 7;
constexpr uint32_t kUnityGain = 4096;

/// What the sensor delivers under each light on each side, against the factory's registers: kUnityGain is
/// the same.
class SensorGains {
public:
    constexpr SensorGains() {
        for (auto &side : of_)
            side[0] = side[1] = kUnityGain;
    }
    constexpr uint32_t Of(Light light, Side side) const {
        return of_[static_cast<size_t>(light)][static_cast<size_t>(side)];
    }
    void Set(Light light, Side side, uint32_t gain) {
        of_[static_cast<size_t>(light)][static_cast<size_t>(side)] = gain;
    }

private:
    std::array<std::array<uint32_t, 2>, kLights> of_{};
};

/// Gain and exposure both count; more than sixteen times the factory's light is sixteen times.
SensorGains GainsUnder(const AfeRegisters &registers);

} // namespace scanner
