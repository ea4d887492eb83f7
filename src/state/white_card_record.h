// What the recognition of white cards keeps; monitor thread.
#pragma once

#include <cstdint>

namespace k274 {

constexpr int kWhiteCardLines = 280, kWhiteCardPixels = 632;

struct WhiteCardRecord {
    uint8_t region[kWhiteCardLines * kWhiteCardPixels]; // where the barcode is looked for
    int32_t factoryCountdown = 0; // scans for which a factory card still writes the white-card response
};
extern WhiteCardRecord whiteCard;

} // namespace k274
