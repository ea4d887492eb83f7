// From card art to sensor lines: lamps, the sensor's geometry, the way the card lies, noise and dust.
// All of it is integer or exactly rounded arithmetic on counters, so that the same seed and card give the
// same bytes on every system.
#pragma once

#include "scanner/cards/card.h"
#include "scanner/optics/afe.h"

#include <array>
#include <cstdint>

namespace scanner {

constexpr int kLinePixels = 2720;
constexpr int kRgbLineBytes = 3 * kLinePixels;
constexpr int kScanLines = 2300;
constexpr int kIrLines = 2400;
constexpr int kUvLines = 1200, kUvLinePixels = 1368, kUvLineBytes = 3 * kUvLinePixels;
constexpr int kHiresPixels = 5000, kHiresLineBytes = 3 * kHiresPixels;
constexpr int kStillLines = 200, kStillLineBytes = 3 * kLinePixels;
constexpr int kFocusLines = 10, kFocusLineBytes = 2 * 3 * kLinePixels;
constexpr int kStripeLines = 640, kStripeLinePixels = 900;
constexpr int kSensorRows = 2700;
constexpr int kResponseBytes = 7 * kSensorRows;

/// Brightness of the white target at every sensor position under every light, as the calibration record
/// tells it: seven tables of 2700 bytes (blue, green, red, infrared, then red, green and blue of the glow
/// under ultraviolet light, at half the pitch).
using WhiteResponse = std::array<uint8_t, kResponseBytes>;
WhiteResponse LampResponse();

/// How one card lies in the transport during one scan: where its upper leading corner is (the corner drawn
/// sharp, before rounding; upper left in the front's art) and how far the card is turned.
struct Placement {
    int leadColumn;   // scan column of the leading edge on the front, in 1/256 columns
    int frontEdgeRow; // sensor row just past the upper edge on the front, in 1/256 rows
    int backEdgeRow;  // the same on the back
    int skew;         // rows per column, in 1/65536
};
Placement PlaceCard(uint32_t seed, uint32_t scanNumber);

/// Everything that one scan's lines are made of.
struct Scene {
    const Card *card;
    Placement placement;
    const WhiteResponse *lamps;
    uint32_t noiseSeed;
    uint32_t dustSeed = 0; // where dust lies on the glass; 0: the glass is clean
    SensorGains gains{};
    int32_t jitter = 0; // how far the transport runs ahead and behind, in 1/65536 columns
};

/// The scene of one scan: the card lies differently and the noise is new each time, the dust stays where
/// it is as long as the seed does. A card may ask for clean glass.
Scene MakeScene(const Card &card, const WhiteResponse &lamps, uint32_t seed, uint32_t scanNumber);

/// One visible-light line as the device delivers it: 2720 pixels of red, green, blue.
/// @param line  0 to 2299; the head delivers the highest number first
void RenderRgbLine(const Scene &scene, int line, uint8_t *bytes);

/// One infrared line: 2720 bytes.
/// @param line  0 to 2399; the head delivers the lowest number first
void RenderIrLine(const Scene &scene, int line, uint8_t *bytes);

/// One line under ultraviolet light: 1368 pixels of red, green, blue.
/// @param line  0 to 1199; the head delivers the highest number first
void RenderUvLine(const Scene &scene, int line, uint8_t *bytes);

/// The passes at twice the pitch: of the whole card, and of a strip along its leading edge.
enum class HiresWay { kFull, kStrip };
constexpr int kFullLines = 4010, kStripLines = 4400;

/// One visible-light line at twice the pitch: 5000 pixels of red, green, blue, with half the light.
/// @param line  below kFullLines or kStripLines; the head delivers the highest number first
void RenderHiresLine(const Scene &scene, HiresWay way, int line, uint8_t *bytes);

/// What is wrong with a sensor that images a target at rest.
struct StillDefects {
    int deadFirst = 0, deadCount = 0;  // pixels of a line that see nothing
    int stepPixel = 0, stepLevels = 0; // from this pixel to the end of its half of the line it is darker
    int noise = 1;                     // standard deviation in levels, nearly
};

/// One line of a white target at rest: 2720 pixels of red, green, blue. The lines are lit differently.
/// @param line  0 to 199
void RenderStillLine(const WhiteResponse &lamps, const SensorGains &gains, const StillDefects &defects,
                     uint32_t noiseSeed, int line, uint8_t *bytes);

/// One line of a target of bars, ever finer, at twice the pitch: 5440 pixels of red, green, blue.
/// @param blur  how far the lens is from sharp, in pixels of the line
/// @param line  0 to 9
void RenderFocusLine(int blur, uint32_t noiseSeed, int line, uint8_t *bytes);

/// One line of the magnetic stripe's infrared picture: 900 bytes.
/// @param line  0 to 639
void RenderStripeLine(const Scene &scene, int line, uint8_t *bytes);

} // namespace scanner
