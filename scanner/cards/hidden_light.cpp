// Derives infrared and ultraviolet pictures from the visible art, pixel by pixel.
#include "scanner/cards/hidden_light.h"

#include <algorithm>
#include <array>

namespace scanner {
namespace {

uint8_t Luminance(const uint8_t *pixel) {
    return static_cast<uint8_t>((77 * pixel[0] + 150 * pixel[1] + 29 * pixel[2] + 128) >> 8);
}

/// Dyes let infrared light through, so that only what dims the brightest colour, too, is black ink. A trace
/// of the dyes remains.
uint8_t Infrared(const uint8_t *pixel) {
    const int brightest = std::max({pixel[0], pixel[1], pixel[2]});
    return static_cast<uint8_t>((7 * brightest + Luminance(pixel) + 4) / 8);
}

GreyPicture MakeGrey(const Picture &picture, uint8_t (*level)(const uint8_t *)) {
    GreyPicture made{picture.width, picture.height, std::vector<uint8_t>(picture.rgb.size() / 3)};
    for (size_t i = 0; i < made.grey.size(); ++i)
        made.grey[i] = level(&picture.rgb[3 * i]);
    return made;
}

using Glow = std::array<uint8_t, 3>;

// What glows at a whiteness of 0 to 255. Paper, up to about 250, has little of what makes the white target
// glow; what is drawn as white as the target is made like it. Between the two the glow rises steeply.
constexpr int kPaper = 250, kWhite = 255;
constexpr Glow kPaperGlow = {6, 40, 110};

constexpr std::array<Glow, 256> MakeGlow() {
    std::array<Glow, 256> table{};
    for (int v = 0; v <= kWhite; ++v)
        for (size_t k = 0; k < 3; ++k) {
            const int paper = kPaperGlow[k];
            const int glow =
                v <= kPaper ? paper * v / kPaper : paper + (255 - paper) * (v - kPaper) / (kWhite - kPaper);
            table[static_cast<size_t>(v)][k] = static_cast<uint8_t>(glow);
        }
    return table;
}
constexpr std::array<Glow, 256> kGlow = MakeGlow();

} // namespace

GreyPicture DeriveInfrared(const Picture &art) { return MakeGrey(art, Infrared); }

GreyPicture Luminance(const Picture &picture) { return MakeGrey(picture, Luminance); }

Picture DeriveUltraviolet(const Picture &art) {
    Picture made{art.width, art.height, std::vector<uint8_t>(art.rgb.size())};
    for (size_t i = 0; i + 3 <= art.rgb.size(); i += 3) {
        // Ink of any colour covers the paper's glow.
        const uint8_t white = std::min({art.rgb[i], art.rgb[i + 1], art.rgb[i + 2]});
        std::copy(kGlow[white].begin(), kGlow[white].end(), made.rgb.begin() + static_cast<ptrdiff_t>(i));
    }
    return made;
}

} // namespace scanner
