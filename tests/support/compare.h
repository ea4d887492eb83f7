// Compares an image that came out of a scan with the card art that went in.
#pragma once

#include "scanner/cards/card.h"

#include <cstdint>
#include <vector>

/// An image of the library: grey, or blue, green, red.
struct ScanImage {
    const uint8_t *data;
    int width, height, channels;
};

/// The art at the image's resolution, its channels in the order of the image's.
struct Art {
    int width, height, channels;
    std::vector<uint8_t> bytes;
};
Art ArtAt(int dotsPerInch, const scanner::Picture &picture);
Art ArtAt(int dotsPerInch, const scanner::GreyPicture &picture);

/// What an image row makes of an art value: value x scale + offset, at most 255. One entry a row and channel,
/// row after row.
struct Transfer {
    std::vector<float> scale, offset;
};
/// One scale and offset for each channel of the whole image, by mean and deviation over the card's middle.
Transfer FittedTransfer(const ScanImage &image, const Art &art);

/// Peak signal-to-noise ratio in dB over tiles of the card's inside, each at its best displacement (the card
/// lies a little askew): all channels at the same one.
double CompareWithArt(const ScanImage &image, const Art &art, const Transfer &transfer);
