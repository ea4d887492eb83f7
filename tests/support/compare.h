// Compares an image that came out of a scan with the card art that went in.
#pragma once

#include "scanner/cards/card.h"

#include <cstdint>
#include <functional>

/// What a sensor row of the image makes of an art value.
/// @param row      image row
/// @param channel  0 blue, 1 green, 2 red
using Transfer = std::function<double(int row, int channel, int art)>;

/// Peak signal-to-noise ratio in dB over tiles of the card's inside, each at its best displacement (the card
/// lies a little askew): all three colours at the same one. The image is 1880 x 1180, blue, green, red.
double CompareWithArt(const uint8_t *image, const scanner::Picture &art, const Transfer &transfer);
