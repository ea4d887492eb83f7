// Visible-light lines. The three colour rows of the sensor see the card at three places of its travel.
#include "scanner/optics/sensor.h"
#include "scanner/optics/travel.h"

namespace scanner {
namespace {

constexpr int64_t kOne = 65536;

// What is round the card, as a level of art: nearly black, not quite.
constexpr uint32_t kSurroundings = 3 * 256;

/// One colour row of the sensor: its place in a device pixel, its light, and where it looks.
struct ColourRow {
    int byte;
    Light light;
    int travelOffset; // columns
};
constexpr ColourRow kColourRows[] = {
    {0, Light::kRed, -4},
    {1, Light::kGreen, 0},
    {2, Light::kBlue, 4},
};

constexpr std::array<uint16_t, kRgbLineBytes> MakeDarkLevels() {
    std::array<uint16_t, kRgbLineBytes> levels{};
    for (size_t i = 0; i < levels.size(); ++i)
        levels[i] = DarkLevel(static_cast<uint32_t>(i), 2 * 256, 4 * 256);
    return levels;
}
constexpr std::array<uint16_t, kRgbLineBytes> kDarkLevels = MakeDarkLevels();

void PrepareLine(const Scene &scene, int line, LineState &state) {
    std::copy(kDarkLevels.begin(), kDarkLevels.end(), state.dark.begin());
    for (const ColourRow &row : kColourRows)
        FillSensitivity(*scene.lamps, row.light, state.sensitivity[static_cast<size_t>(row.byte)]);
    LayDust(scene, 3, state);
    FillNoise(scene.noiseSeed, line, kLinePixels, state);
}

} // namespace

void RenderRgbLine(const Scene &scene, int line, uint8_t *bytes) {
    LineState state;
    PrepareLine(scene, line, state);
    for (const ColourRow &colour : kColourRows) {
        ElementRow row{&state, colour.byte, 3, kSurroundings, bytes};
        const int64_t travel = (kScanLines - 1 - line + colour.travelOffset) * kOne + Wobble(scene, line);
        for (const Side side : {Side::kFront, Side::kBack}) {
            row.gain = scene.gains.Of(colour.light, side);
            const bool front = side == Side::kFront;
            ReadColour(row, scene.card, front ? &Card::front : &Card::back,
                       front ? kFrontPixels : kBackPixels,
                       [&] { return PathOnSide(*scene.card, scene.placement, side, travel); });
        }
        ReadSurroundings(row, kTailPixels);
    }
}

} // namespace scanner
