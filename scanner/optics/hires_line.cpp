// Visible-light lines at twice the pitch, along the sensor and along the travel. The colour rows see the card
// eight of these lines apart; each line gets half the light.
#include "scanner/optics/sensor.h"
#include "scanner/optics/travel.h"

namespace scanner {
namespace {

constexpr int64_t kOne = 65536;
constexpr uint32_t kSurroundings = 3 * 256;
constexpr uint32_t kFullStream = 0x41F0u, kStripStream = 0x4150u;

// Where the leading edge comes to lie, counted in lines from the first one read: both sides of a whole card
// fit into the full pass, and the strip shows a little of what is before it.
constexpr int kFullLead = 152, kStripLead = 110;
constexpr int kLeadColumn = 200; // the same in columns of a visible-light line

struct ColourRow {
    int byte;
    Light light;
    int travelOffset; // lines
};
constexpr ColourRow kColourRows[] = {
    {0, Light::kRed, -8},
    {1, Light::kGreen, 0},
    {2, Light::kBlue, 8},
};

constexpr PositionRange kFrontHires{0, kHiresPixels / 2}, kBackHires{kHiresPixels / 2, kHiresPixels};
constexpr int kFirstPixel = 14; // the pixels before it see nothing that matters
constexpr int kBackFirstRow = 2607;

/// The sensor row of the white response at a pixel.
constexpr int SensorRow(int pixel) {
    const int p = std::max(pixel - kFirstPixel, 0);
    return pixel < kFrontHires.end ? p / 2 : kBackFirstRow - std::max(p - kFrontHires.end, 0) / 2;
}

constexpr std::array<uint16_t, kHiresLineBytes> MakeDarkLevels() {
    std::array<uint16_t, kHiresLineBytes> levels{};
    for (size_t i = 0; i < levels.size(); ++i)
        levels[i] = DarkLevel(0x30000u + static_cast<uint32_t>(i), 256, 2 * 256);
    return levels;
}

void PrepareLine(const Scene &scene, HiresWay way, int line, LineState &state) {
    static const std::array<uint16_t, kHiresLineBytes> darkLevels = MakeDarkLevels();
    std::copy(darkLevels.begin(), darkLevels.end(), state.dark.begin());
    for (const ColourRow &row : kColourRows) {
        const uint8_t *response = scene.lamps->data() + static_cast<int>(row.light) * kSensorRows;
        for (int p = 0; p < kHiresPixels; ++p)
            state.sensitivity[static_cast<size_t>(row.byte)][static_cast<size_t>(p)] =
                static_cast<uint16_t>(257 * response[SensorRow(p)]);
    }
    FillNoise(Hash(scene.noiseSeed, way == HiresWay::kFull ? kFullStream : kStripStream), line, kHiresPixels,
              state);
}

/// The path of a full-pitch line, followed at twice its pitch.
ArtPath DoublePitch(const ArtPath &path, Side side) {
    // Full-pitch pixels, in quarters, where pixel 0 of this line would lie.
    const int quarters = side == Side::kFront
                             ? -(2 * kFirstPixel + 1)
                             : 4 * (kBackTurn - kBackFirstRow) - (2 * (kFirstPixel + kFrontHires.end) + 1);
    return {path.x0 + quarters * path.stepX / 4, path.y0 + quarters * path.stepY / 4, path.stepX / 2,
            path.stepY / 2};
}

} // namespace

void RenderHiresLine(const Scene &scene, HiresWay way, int line, uint8_t *bytes) {
    LineState state;
    PrepareLine(scene, way, line, state);
    const int lines = way == HiresWay::kFull ? kFullLines : kStripLines;
    const int lead = way == HiresWay::kFull ? kFullLead : kStripLead;
    for (const ColourRow &colour : kColourRows) {
        ElementRow row{&state, colour.byte, 3, kSurroundings, bytes};
        const int fromLead = lines - 1 - line + colour.travelOffset - lead;
        const int64_t travel = kLeadColumn * kOne + fromLead * kOne / 2 + Wobble(scene, line / 2);
        for (const Side side : {Side::kFront, Side::kBack}) {
            row.gain = scene.gains.Of(colour.light, side) / 2;
            const bool front = side == Side::kFront;
            ReadColour(
                row, scene.card, front ? &Card::front : &Card::back, front ? kFrontHires : kBackHires,
                [&] { return DoublePitch(PathOnSide(*scene.card, scene.placement, side, travel), side); });
        }
    }
}

} // namespace scanner
