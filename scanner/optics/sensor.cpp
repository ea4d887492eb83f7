// Sensitivity, noise and dust of a line.
#include "scanner/optics/sensor.h"

namespace scanner {

void FillSensitivity(const WhiteResponse &lamps, Light light,
                     std::array<uint16_t, kMostPixels> &sensitivity) {
    const uint8_t *response = lamps.data() + static_cast<int>(light) * kSensorRows;
    for (int p = 0; p < kLinePixels; ++p) {
        const int sensorRow = p < kFrontPixels.end ? p : kBackTurn - p;
        const int white = p < kBackPixels.end ? response[sensorRow] : 0;
        sensitivity[static_cast<size_t>(p)] = static_cast<uint16_t>(257 * white);
    }
}

void FillNoise(uint32_t noiseSeed, int line, size_t positions, LineState &state) {
    const uint32_t stream = Hash(noiseSeed, static_cast<uint32_t>(line));
    for (size_t p = 0; p < positions; ++p)
        state.noise[p] = Hash(stream + static_cast<uint32_t>(p));
}

void LayDust(const Scene &scene, size_t colours, LineState &state) {
    if (scene.dustSeed == 0)
        return;
    constexpr uint32_t kGrains = 5, kManyGrains = 60;
    // Bright enough to stand out from the dark, and not so bright that it could be a card.
    constexpr uint16_t kScattered = 17 * 256;
    const bool heavy = scene.card != nullptr && scene.card->traits.dust == Dust::kHeavy;
    for (uint32_t grain = 0; grain < (heavy ? kManyGrains : kGrains); ++grain) {
        const uint32_t stream = Hash(scene.dustSeed, grain);
        const bool front = (Hash(stream, 0) & 1) != 0;
        const int first = front ? Pick(Hash(stream, 1), 60, 1120) : Pick(Hash(stream, 1), 1550, 2600);
        const int width = Pick(Hash(stream, 2), 1, 3);
        const int taken = Pick(Hash(stream, 3), 8, 24); // of 256
        for (auto p = static_cast<size_t>(first); p < static_cast<size_t>(first + width); ++p) {
            for (size_t k = 0; k < colours; ++k) {
                uint16_t &value = state.sensitivity[k][p];
                value = static_cast<uint16_t>(value - value * taken / 256);
                if (heavy) // grains may lie on one another
                    state.dark[colours * p + k] = std::max(state.dark[colours * p + k], kScattered);
            }
        }
    }
}

} // namespace scanner
