// Compares an image that came out of a scan with the card art that went in.
#pragma once

#include "scanner/cards/card.h"

#include <cstdint>
#include <vector>

/// What an image row makes of an art value: value x scale + offset, at most 255. One entry a row and channel
/// (blue, green, red), row after row.
struct Transfer {
    std::vector<float> scale, offset;
};

/// Peak signal-to-noise ratio in dB over tiles of the card's inside, each at its best displacement (the card
/// lies a little askew): all three colours at the same one. The image is 1880 x 1180, blue, green, red.
double CompareWithArt(const uint8_t *image, const scanner::Picture &art, const Transfer &transfer);
