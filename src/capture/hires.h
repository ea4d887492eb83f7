// The 1200-dpi passes: lines as the scanner sent them into the turned image, and the front and back images
// that are cut from it. The steps run in this order, each once for every capture.
#pragma once

#include "src/capture/rgb_gain.h"
#include "src/common/view.h"

namespace k274 {

constexpr int kHrLines = 4000, kHrPixels = 5000; // pixels: the front sensor's, then the back's, mirrored
constexpr size_t kHrImageBytes = size_t{kHrLines} * kHrPixels * 3;

/// Which pass filled the line store: the full one, or the short one of a card scan.
enum class HrMode { Full, Short };

/// Brings the three colour rows of the sensor onto one line, shifts the lines, and turns the byte order
/// from red, green, blue into that of the images. The pixels at the lines' ends keep what they hold.
/// @param lines  the line store, kHrLines rows of kHrPixels
void HrRealign(HrMode mode, ColourView lines);

/// Levels the lamps and doubles the brightness: every byte becomes min(255, (byte x gain) >> 6). A byte's
/// place in the pixel says its colour, also where the lines were not realigned.
void HrGain(HrMode mode, const RgbGains &gains, ColourView lines);

/// Lays every line into a column of the turned image, the last one leftmost.
/// @param turned  kHrPixels rows of kHrLines
void HrTurn(HrMode mode, ConstColourView lines, ColourView turned);

/// Cuts the images of the short pass, 2300 rows of 1000 pixels each.
void HrSplit(ConstColourView turned, ColourView sliFr, ColourView sliBk);

} // namespace k274
