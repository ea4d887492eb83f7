// Draws parts of the caller's image upright at another scale. Places outside the image take the nearest
// pixel inside.
#pragma once

#include "platform/sd2/image.h"

namespace sd2 {

/// Where the first sample lies and how far apart samples are, in image coordinates.
struct Grid {
    Point first;
    Point step;   // to the next sample of a line
    Point across; // between the taps of one sample
    int taps;     // averaged, the first sample's place being the middle one
};

/// Writes `count` bilinear samples, each the mean of grid.taps.
void SampleLine(const GreyImage &image, const Grid &grid, int count, uint8_t *out);

/// Steepens edges along the lines: each sample moves away from the mean of those `reach` to either side.
void Sharpen(OwnImage &image, int reach, double amount);

/// The image at half its size, each pixel the mean of four.
void Halve(const GreyImage &image, OwnImage &out);

} // namespace sd2
