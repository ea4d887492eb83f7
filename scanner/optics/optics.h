// From card art to sensor lines: lamps, the sensor's geometry, the way the card lies, noise and dust.
// All of it is integer or exactly rounded arithmetic on counters, so that the same seed and card give the
// same bytes on every system.
#pragma once

#include "scanner/cards/card.h"

#include <array>
#include <cstdint>

namespace scanner {

constexpr int kLinePixels = 2720;
constexpr int kRgbLineBytes = 3 * kLinePixels;
constexpr int kScanLines = 2300;
constexpr int kSensorRows = 2700;
constexpr int kResponseBytes = 7 * kSensorRows;

/// Brightness of the white target at every sensor position under every light, as the calibration record
/// tells it: seven tables of 2700 bytes (blue, green, red, infrared, unused, unused, ultraviolet).
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
};

/// The scene of one scan: the card lies differently and the noise is new each time, the dust stays where
/// it is as long as the seed does.
Scene MakeScene(const Card &card, const WhiteResponse &lamps, uint32_t seed, uint32_t scanNumber);

/// One visible-light line as the device delivers it: 2720 pixels of red, green, blue.
/// @param line  0 to 2299; the head delivers the highest number first
void RenderRgbLine(const Scene &scene, int line, uint8_t *bytes);

} // namespace scanner
