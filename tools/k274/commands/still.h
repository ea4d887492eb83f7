// The still image that still and selftest take.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <vector>

#include "include/k274.h"

namespace host {

struct StillImage {
    std::vector<uint8_t> pixels;
    K274_StillResult result;
    nlohmann::ordered_json description; // with the profiles
};
/// Takes a still image and describes its scores. Throws HostError(kTimeout).
StillImage TakeStill();

} // namespace host
