// The card's travel in the passes after the first, in columns of the visible image.
#pragma once

#include "scanner/optics/hash.h"
#include "scanner/optics/optics.h"

namespace scanner {

/// How much further than it should the transport runs for every 1000 lines of a pass.
inline int IrSlip(const Scene &scene) {
    return scene.card != nullptr && scene.card->traits.behaviour == Behaviour::kSlipping ? 32 : 0;
}
inline int UvSlip(const Scene &scene) { return IrSlip(scene) / 2; }

/// How far ahead (or behind) an uneven transport has run when a line is read, in 1/65536 columns: it hurries
/// and hesitates in turns of a few lines.
inline int64_t Wobble(const Scene &scene, int line) {
    constexpr uint32_t kJitterStream = 0x717Eu;
    constexpr int kTurn = 12; // lines
    if (scene.jitter == 0)
        return 0;
    const auto at = [&scene](int turn) {
        const uint32_t random = Hash(Hash(scene.noiseSeed, kJitterStream), static_cast<uint32_t>(turn));
        return Pick(random, -1024, 1024);
    };
    const int turn = line / kTurn, past = line % kTurn;
    return int64_t{scene.jitter} * (at(turn) * (kTurn - past) + at(turn + 1) * past) / (1024 * kTurn);
}

/// Travel, in 1/65536 columns, of a line of a pass in which a card is `cardLines` lines long.
/// @param line  counted from where a card's leading edge usually lies, along the front's columns
constexpr int64_t TravelAt(int line, int cardLines, int slip) {
    constexpr int64_t kOne = 65536;
    constexpr int kLeadColumn = 200, kCardColumns = 1856;
    // A transport that slips draws the card out, about its middle.
    const int64_t fromMiddle = (2 * int64_t{line} - cardLines) * kOne * kCardColumns / (2 * cardLines);
    return (kLeadColumn + kCardColumns / 2) * kOne + fromMiddle * 1000 / (1000 + slip);
}

} // namespace scanner
