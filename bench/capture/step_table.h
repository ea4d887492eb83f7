// The steps of the three passes, each as plain loops, as the library does it and as a memcpy of the bytes
// that it moves. One program measures them all, interleaved in one run.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace k274::bench {

using Step = void (*)();

struct StepRow {
    const char *name;
    Step plain, library, copy;
    const char *wanted = "";
    Step prepare = nullptr; ///< not measured
};

template <Step... steps>
void All() {
    (steps(), ...);
}

// A pass's rows in the order of a scan, and all that the host does during it.
std::vector<StepRow> RgbRows();
std::vector<StepRow> IrRows();
std::vector<StepRow> UvRows();
std::vector<StepRow> HrRows();
void PlainRgbPass();
void RgbPass();
void PlainIrPass();
void IrPass();
void PlainUvPass();
void UvPass();
void CopyRgbRaw();

/// Brightness of a device byte: a noisy card, or dark ground.
inline uint8_t Noise(std::mt19937 &random, bool card) {
    return static_cast<uint8_t>((card ? 100 : 0) + (random() >> 8) % (card ? 128 : 8));
}

} // namespace k274::bench
