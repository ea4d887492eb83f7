// How a card comes to lie in the transport: near the place where the guides hold it, never twice the same.
#include "scanner/optics/hash.h"
#include "scanner/optics/optics.h"

namespace scanner {
namespace {

// Where the middle of a card's edges comes to lie: columns and rows of the front and back images, 1/256.
constexpr int kLeadColumn = 200 * 256;
constexpr int kFrontEdgeRow = 1175 * 256;
constexpr int kBackEdgeRow = 2535 * 256;

// The play that the guides leave.
constexpr int kLeadPlay = 12 * 256;
constexpr int kRowPlay = 3 * 256 / 2;
constexpr int kSkewPlay = 171; // 0.15 degree

// Half a card in columns and rows: it turns about its middle.
constexpr int kHalfWidth = 928;
constexpr int kHalfHeight = 584;

} // namespace

Placement PlaceCard(uint32_t seed, uint32_t scanNumber) {
    const uint32_t stream = Hash(seed, scanNumber);
    const int skew = Pick(Hash(stream, 0), -kSkewPlay, kSkewPlay);
    const int lead = Pick(Hash(stream, 1), -kLeadPlay, kLeadPlay);
    const int row = Pick(Hash(stream, 2), -kRowPlay, kRowPlay) - skew * kHalfWidth / 256;
    return {kLeadColumn + lead - skew * kHalfHeight / 256, kFrontEdgeRow + row, kBackEdgeRow + row, skew};
}

Scene MakeScene(const Card &card, const WhiteResponse &lamps, uint32_t seed, uint32_t scanNumber) {
    constexpr uint32_t kNoiseStream = 0x4E01u, kDustStream = 0xD057u;
    const bool clean = card.traits.dust == Dust::kNone;
    return {&card, PlaceCard(seed, scanNumber), &lamps, Hash(Hash(seed, kNoiseStream), scanNumber),
            clean ? 0 : Hash(seed, kDustStream) | 1u};
}

} // namespace scanner
