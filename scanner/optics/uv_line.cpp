// Lines under ultraviolet light, which nothing sends back: what is seen is what glows. They have half the
// pitch, and their colour rows see the card two lines apart.
#include "scanner/optics/sensor.h"
#include "scanner/optics/travel.h"

namespace scanner {
namespace {

constexpr uint32_t kNoiseStream = 0x07A5u;
constexpr uint32_t kSurroundings = 0; // they do not glow

// A card is this long in lines where it is 1856 columns long in visible light; its leading edge on the front
// comes to lie in line 1095.
constexpr int kCardLines = 1012, kLeadLine = 1095;

// Host libraries take 9/5 of what the sensor delivers before anything else, and the calibration record
// describes the light after that.
constexpr int kDeliveredOf9 = 5;

struct ColourRow {
    int byte;
    Light light;
    int lineOffset; // how much later than red it sees a point of the card
};
constexpr ColourRow kColourRows[] = {
    {0, Light::kUvRed, 0},
    {1, Light::kUvGreen, 2},
    {2, Light::kUvBlue, 4},
};

constexpr PositionRange kFrontUv{0, kUvLinePixels / 2}, kBackUv{kUvLinePixels / 2, kUvLinePixels};
constexpr int kLitPixels = 1350; // what the white response describes

constexpr std::array<uint16_t, kUvLineBytes> MakeDarkLevels() {
    std::array<uint16_t, kUvLineBytes> levels{};
    for (size_t i = 0; i < levels.size(); ++i)
        levels[i] = DarkLevel(0x20000u + static_cast<uint32_t>(i), 256, 2 * 256);
    return levels;
}
constexpr std::array<uint16_t, kUvLineBytes> kDarkLevels = MakeDarkLevels();

void PrepareLine(const Scene &scene, int line, LineState &state) {
    std::copy(kDarkLevels.begin(), kDarkLevels.end(), state.dark.begin());
    for (const ColourRow &row : kColourRows) {
        const uint8_t *response = scene.lamps->data() + static_cast<int>(row.light) * kSensorRows;
        auto &sensitivity = state.sensitivity[static_cast<size_t>(row.byte)];
        for (int p = 0; p < kUvLinePixels; ++p)
            sensitivity[static_cast<size_t>(p)] =
                static_cast<uint16_t>(p < kLitPixels ? 257 * response[p] * kDeliveredOf9 / 9 : 0);
    }
    FillNoise(Hash(scene.noiseSeed, kNoiseStream), line, kUvLinePixels, state);
}

/// The path of a full-pitch line, followed at half its pitch: a pixel's middle lies between two positions.
ArtPath HalfPitch(const ArtPath &path, Side side) {
    // Position 0 of the line lies half a position behind the first one; of the back the halves of the line
    // are three positions closer.
    const int halves = side == Side::kFront ? 1 : -5;
    return {path.x0 + halves * path.stepX / 2, path.y0 + halves * path.stepY / 2, 2 * path.stepX,
            2 * path.stepY};
}

} // namespace

void RenderUvLine(const Scene &scene, int line, uint8_t *bytes) {
    LineState state;
    PrepareLine(scene, line, state);
    for (const ColourRow &colour : kColourRows) {
        ElementRow row{&state, colour.byte, 3, kSurroundings, bytes};
        const int64_t travel =
            TravelAt(kLeadLine - (line - colour.lineOffset), kCardLines, UvSlip(scene)) + Wobble(scene, line);
        for (const Side side : {Side::kFront, Side::kBack}) {
            row.gain = scene.gains.Of(colour.light, side);
            const bool front = side == Side::kFront;
            ReadColour(
                row, scene.card, front ? &Card::frontUv : &Card::backUv, front ? kFrontUv : kBackUv,
                [&] { return HalfPitch(PathOnSide(*scene.card, scene.placement, side, travel), side); });
        }
    }
}

} // namespace scanner
