// Steps of a full 1200-dpi pass, after its transfer.
#include "bench/capture/step_table.h"

#include "src/capture/hires.h"
#include "tests/reference/formulas.h"

#include <cstring>
#include <memory>

namespace k274::bench {
namespace {

// The store and the turned image behind it, 120 MB.
std::unique_ptr<uint8_t[]> block;
RgbGains gains;

ColourView Lines() { return {block.get(), kHrLines, kHrPixels}; }
ColourView Turned() { return {block.get() + kHrImageBytes, kHrPixels, kHrLines}; }

void Prepare() {
    block = std::make_unique<uint8_t[]>(2 * kHrImageBytes);
    std::mt19937 random(4);
    for (size_t i = 0; i < kHrImageBytes; i++)
        block[i] = Noise(random, i / 15000 > 400 && i / 15000 < 3600);
    for (auto &gain : gains)
        for (uint16_t &channel : gain)
            channel = static_cast<uint16_t>(128 + random() % 200);
}

void PlainRealign() { reference::HrRealign(HrMode::Full, Lines()); }
void Realign() { HrRealign(HrMode::Full, Lines()); }
void PlainGain() { reference::HrGain(HrMode::Full, gains, Lines()); }
void Gain() { HrGain(HrMode::Full, gains, Lines()); }
void PlainTurn() { reference::HrTurn(HrMode::Full, Lines(), Turned()); }
void Turn() { HrTurn(HrMode::Full, Lines(), Turned()); }
void Copy() { std::memcpy(Turned().data, Lines().data, kHrImageBytes); }

} // namespace

std::vector<StepRow> HrRows() {
    Prepare();
    return {
        {"1200 dpi realign", PlainRealign, Realign, Copy},
        {"1200 dpi gain", PlainGain, Gain, Copy},
        {"1200 dpi turn", PlainTurn, Turn, Copy},
        {"1200 dpi pass", All<PlainRealign, PlainGain, PlainTurn>, All<Realign, Gain, Turn>, Copy},
    };
}

} // namespace k274::bench
