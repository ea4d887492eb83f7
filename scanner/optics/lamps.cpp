// The lamps as a white target shows them: brightest over the middle of each sensor half, every light with a
// shape of its own, and no two sensor positions quite alike.
#include "scanner/optics/hash.h"
#include "scanner/optics/light.h"
#include "scanner/optics/optics.h"

#include <algorithm>

namespace scanner {
namespace {

/// One lamp over one sensor half. Around the middle the response falls by the square and the fourth power of
/// the distance; the distance is 1 at the edge of the lit stretch, beyond which the light fades fast.
struct Lamp {
    int peak;                // response in the middle
    int square, fourth;      // what is lost at the edge
    int tilt;                // what the upper edge has more and the lower edge less
    int first, last;         // the lit positions: a little more than a card can cover
    int halfFirst, halfLast; // the positions of this sensor half
};

constexpr int kFrontFirst = 1, kFrontLast = 1181;
constexpr int kBackFirst = 1360, kBackLast = 2546;

constexpr Lamp Front(int peak, int square, int fourth, int tilt) {
    return {peak, square, fourth, tilt, kFrontFirst, kFrontLast, 0, 1349};
}
constexpr Lamp Back(int peak, int square, int fourth, int tilt) {
    return {peak, square, fourth, tilt, kBackFirst, kBackLast, 1350, 2699};
}
// Ultraviolet light is read at half the pitch: both halves fit into the first 1350 positions, and the back is
// not turned round.
constexpr Lamp UvFront(int peak, int square, int fourth, int tilt) {
    return {peak, square, fourth, tilt, 1, 592, 0, 674};
}
constexpr Lamp UvBack(int peak, int square, int fourth, int tilt) {
    return {peak, square, fourth, tilt, 740, 1336, 675, 1349};
}

constexpr int kTables = 7;
constexpr Lamp kLamps[kTables][2] = {
    {Front(212, 36, 38, 4), Back(209, 30, 42, -3)},     // blue
    {Front(217, 44, 30, -3), Back(214, 40, 32, 5)},     // green
    {Front(221, 52, 24, 6), Back(218, 56, 18, -5)},     // red
    {Front(219, 48, 20, -6), Back(214, 44, 26, 4)},     // infrared
    {UvFront(61, 14, 10, 2), UvBack(58, 12, 10, -2)},   // the white target glowing under ultraviolet light:
    {UvFront(186, 38, 30, 4), UvBack(182, 34, 32, -3)}, // its red, its green
    {UvFront(198, 42, 30, -4), UvBack(193, 38, 32, 5)}, // and its blue
};

constexpr int kFadePositions = 22; // from full light to next to none
constexpr int kDimmest = 4;        // what still comes back from beyond the lit stretch

/// Light on a position in 1/256 of the response, before the sensor's own unevenness.
int Lit(const Lamp &lamp, int position) {
    constexpr int kOne = 1024;
    const int half = (lamp.last - lamp.first) / 2, middle = (lamp.first + lamp.last) / 2;
    const int u = std::clamp((position - middle) * kOne / half, -kOne, kOne);
    const int u2 = u * u / kOne, u4 = u2 * u2 / kOne;
    const int full = lamp.peak * 256 + (lamp.tilt * u - lamp.square * u2 - lamp.fourth * u4) * 256 / kOne;
    const int beyond = std::max({lamp.first - position, position - lamp.last, 0});
    return std::max(full * std::max(kFadePositions - beyond, 0) / kFadePositions, kDimmest * 256);
}

} // namespace

WhiteResponse LampResponse() {
    constexpr uint32_t kSensorSeed = 0x5EED0274u;
    constexpr int kUneven = 1700; // up to 2.6 percent, in 1/65536
    WhiteResponse response{};
    for (int table = 0; table < kTables; ++table) {
        for (const Lamp &lamp : kLamps[table]) {
            for (int position = lamp.halfFirst; position <= lamp.halfLast; ++position) {
                const int index = table * kSensorRows + position;
                const uint32_t random = Hash(kSensorSeed, static_cast<uint32_t>(index));
                const int uneven = Pick(random, -kUneven, kUneven);
                const int level = Lit(lamp, position);
                const int seen = (level + level / 256 * uneven / 256 + 128) >> 8;
                response[static_cast<size_t>(index)] = static_cast<uint8_t>(std::min(seen, 255));
            }
        }
    }
    return response;
}

} // namespace scanner
