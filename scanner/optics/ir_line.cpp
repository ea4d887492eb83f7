// Infrared lines: one byte a pixel, the pixels as in visible light, the card on its way back and slower.
#include "scanner/optics/sensor.h"
#include "scanner/optics/travel.h"

namespace scanner {
namespace {

constexpr uint32_t kSurroundings = 3 * 256;
constexpr uint32_t kNoiseStream = 0x14A1u;

// A card is this long in infrared lines where it is 1856 columns long in visible light.
constexpr int kCardLines = 2025;
// Where the leading edge comes to lie: columns of the front image, of which line 0 is the last.
constexpr int kLeadColumn = 180, kLastColumn = 2393;

constexpr std::array<uint16_t, kLinePixels> MakeDarkLevels() {
    std::array<uint16_t, kLinePixels> levels{};
    for (size_t i = 0; i < levels.size(); ++i)
        levels[i] = DarkLevel(0x10000u + static_cast<uint32_t>(i), 2 * 256, 4 * 256);
    return levels;
}
constexpr std::array<uint16_t, kLinePixels> kDarkLevels = MakeDarkLevels();

} // namespace

void RenderIrLine(const Scene &scene, int line, uint8_t *bytes) {
    LineState state;
    std::copy(kDarkLevels.begin(), kDarkLevels.end(), state.dark.begin());
    FillSensitivity(*scene.lamps, Light::kInfrared, state.sensitivity[0]);
    LayDust(scene, 1, state);
    FillNoise(Hash(scene.noiseSeed, kNoiseStream), line, kLinePixels, state);

    ElementRow row{&state, 0, 1, kSurroundings, bytes};
    const int64_t travel =
        TravelAt(kLastColumn - line - kLeadColumn, kCardLines, IrSlip(scene)) + Wobble(scene, line);
    for (const Side side : {Side::kFront, Side::kBack}) {
        row.gain = scene.gains.Of(Light::kInfrared, side);
        const PositionRange pixels = side == Side::kFront ? kFrontPixels : kBackPixels;
        if (scene.card == nullptr) {
            ReadSurroundings(row, pixels);
            continue;
        }
        const GreyPicture &art = side == Side::kFront ? scene.card->frontIr : scene.card->backIr;
        ReadSide(row, {art.grey.data(), art.width, art.height, 1}, scene.card->cornerRadius,
                 PathOnSide(*scene.card, scene.placement, side, travel), pixels);
    }
    ReadSurroundings(row, kTailPixels);
}

} // namespace scanner
