// The infrared picture of the magnetic stripe: paper to the left of the stripe's edge, the stripe to its
// right, and nothing before and behind the card.
#include "scanner/optics/hash.h"
#include "scanner/optics/optics.h"

#include <algorithm>

namespace scanner {
namespace {

constexpr uint32_t kSeedStream = 0x57E1u;

constexpr int kDark = 3, kPaper = 150, kStripe = 26;
constexpr int kEdgePixel = 392, kEdgePlay = 5;
constexpr int kMargin = 4, kMarginPlay = 3; // lines before and behind the card

} // namespace

void RenderStripeLine(const Scene &scene, int line, uint8_t *bytes) {
    const uint32_t seed = Hash(scene.noiseSeed, kSeedStream);
    const uint32_t noise = Hash(Hash(seed, 2), static_cast<uint32_t>(line));
    const int edge = kEdgePixel + Pick(Hash(seed, 0), -kEdgePlay, kEdgePlay);
    const int margin = kMargin + Pick(Hash(seed, 1), -kMarginPlay, kMarginPlay);
    const bool card = scene.card != nullptr && line >= margin && line < kStripeLines - margin;
    const bool stripe = card && scene.card->traits.stripe;
    for (int p = 0; p < kStripeLinePixels; ++p) {
        // Paper has fibres, short along the card's travel; the coating of a stripe was drawn along it.
        const auto pixel = static_cast<uint32_t>(p);
        const uint32_t grain = stripe && p >= edge
                                   ? Hash(Hash(seed, 3), pixel)
                                   : Hash(Hash(Hash(seed, 4), pixel / 3), static_cast<uint32_t>(line) / 6);
        int level = kDark;
        if (stripe && p >= edge)
            level = kStripe + Pick(grain, -4, 4);
        else if (card)
            level = kPaper + Pick(grain, -9, 9);
        bytes[p] = static_cast<uint8_t>(level + Pick(Hash(noise, pixel), -2, 2));
    }
}

} // namespace scanner
