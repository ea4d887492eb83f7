// The sensor while it reads one line: how sensitive each of its positions is under a light, its dark level,
// its noise and the dust before it, and how it turns a path through card art into bytes.
#pragma once

#include "scanner/optics/art_path.h"
#include "scanner/optics/hash.h"

#include <algorithm>
#include <cstddef>

namespace scanner {

constexpr int kMostPixels = kHiresPixels; // of any line

// The pixels of full-pitch lines: the front sensor first, the back sensor turned round behind it, and at the
// end some that see nothing.
constexpr PositionRange kFrontPixels{0, 1350}, kBackPixels{1350, 2678}, kTailPixels{2678, kLinePixels};

/// What is fixed for one line, for up to three colours. All levels are in 1/256.
struct LineState {
    /// 257 times the white response, so that a product with art comes out right after 16 bits.
    std::array<std::array<uint16_t, kMostPixels>, 3> sensitivity;
    std::array<uint16_t, size_t{3} * kMostPixels> dark; // as the line's bytes are ordered
    std::array<uint32_t, kMostPixels> noise;            // 30 bits each, ten for a colour
};

/// The dark level of an element, from low to high.
constexpr uint16_t DarkLevel(uint32_t element, int low, int high) {
    return static_cast<uint16_t>(Pick(Hash(0xDA2Cu, element), low, high));
}

/// The sensitivity of a full-pitch line.
void FillSensitivity(const WhiteResponse &lamps, Light light, std::array<uint16_t, kMostPixels> &sensitivity);

void FillNoise(uint32_t noiseSeed, int line, size_t positions, LineState &state);

/// Grains of dust on the glass, each taking light from one to three positions of a full-pitch line. Many
/// grains also scatter the lamps' light where no card is.
/// @param colours  1 or 3
void LayDust(const Scene &scene, size_t colours, LineState &state);

/// One colour of one side's art.
struct ArtPlane {
    const uint8_t *bytes; // of the first pixel
    int width, height;
    int pixelBytes;
};

/// The elements of one colour along the line. Passed by value: bytes that are written are no part of it then.
struct ElementRow {
    const LineState *state;
    int colour, colours;   // which of a pixel's bytes
    uint32_t surroundings; // what is round the card, as a level of art
    uint8_t *bytes;        // of the line
    uint32_t gain = kUnityGain;

    uint8_t Expose(int position, uint32_t level) const {
        constexpr int kNoiseStep = 20; // makes a standard deviation of one level
        const auto p = static_cast<size_t>(position);
        const auto k = static_cast<size_t>(colour);
        const uint32_t bits = state->noise[p] >> (10 * k);
        const int noise = (static_cast<int>(bits & 31) - static_cast<int>((bits >> 5) & 31)) * kNoiseStep;
        // At most 255 levels and sixteen times unity: the product fits.
        const auto light = static_cast<int>((((level * state->sensitivity[k][p]) >> 16) * gain) / kUnityGain);
        const int dark = state->dark[static_cast<size_t>(colours) * p + k];
        return static_cast<uint8_t>(std::clamp((light + dark + noise + 128) >> 8, 0, 255));
    }
    void Write(int position, uint32_t level) const {
        bytes[colours * position + colour] = Expose(position, level);
    }
};

void ReadSurroundings(ElementRow row, PositionRange range);

/// One colour along one side: the card where the path meets it, its surroundings elsewhere.
void ReadSide(ElementRow row, const ArtPlane &art, int cornerRadius, const ArtPath &path,
              PositionRange range);

/// One colour of a coloured line along one side, or the surroundings when no card is there.
/// @param makePath  gives the path through the card's art; called only with a card
template <typename MakePath>
void ReadColour(const ElementRow &row, const Card *card, Picture Card::*art, PositionRange range,
                MakePath makePath) {
    if (card == nullptr) {
        ReadSurroundings(row, range);
        return;
    }
    const Picture &picture = card->*art;
    ReadSide(row, {picture.rgb.data() + row.colour, picture.width, picture.height, row.colours},
             card->cornerRadius, makePath(), range);
}

} // namespace scanner
