// First stage: the image averaged over groups of lines, and over groups of pixels. Bars that cross a group
// keep their contrast while noise shrinks, and everything after this stage has an eighth of the data.
#pragma once

#include "platform/sd2/image.h"

namespace sd2 {

/// Which way the line images run through the caller's image.
enum class Axis { kAlongPixels, kAlongLines };

struct LineImages {
    Axis axis = Axis::kAlongPixels;
    int group = 1; // lines, or pixels, averaged into one line image
    OwnImage image;
};

void AverageLines(const GreyImage &image, int group, LineImages &out);

/// The same for groups of adjacent pixels; the result is transposed.
/// @param group  4 or 8
void AveragePixels(const GreyImage &image, int group, LineImages &out);

} // namespace sd2
