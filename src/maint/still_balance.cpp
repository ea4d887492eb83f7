// How well the still image's colours agree, and how far its levels spread.
#include "src/maint/still_analysis.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace k274 {

namespace {

// Differences are stretched piece by piece, the larger the more; single precision, jumps included.
struct Piece {
    float above, slope, base; // a difference beyond `above` gives (difference - above) * slope + base
};
constexpr Piece kPiecesA[] = {{20, 2, 26}, {16, 1.75F, 19}, {12, 1.5F, 13}, {8, 1.25F, 8}};
constexpr Piece kPiecesBAbove[] = {{40, 2.5F, 52}, {32, 2, 38}, {24, 1.5F, 26}, {16, 1.25F, 16}};
constexpr Piece kPiecesBBelow[] = {{32, 2, 36}, {24, 1.5F, 24}};
constexpr Piece kPiecesC[] = {{28, 9.9F, 99}, {24, 8, 67}, {20, 6, 43}, {16, 4, 27}, {12, 3, 15}, {6, 2, 6}};

template <size_t Count>
float Stretch(const Piece (&pieces)[Count], float amount) {
    for (const Piece &piece : pieces)
        if (amount > piece.above)
            return (amount - piece.above) * piece.slope + piece.base;
    return amount;
}

// With the sign of the difference; truncation is symmetric.
template <size_t Count>
int Stretched(const Piece (&pieces)[Count], float difference) {
    return static_cast<int>(std::copysign(Stretch(pieces, std::abs(difference)), difference));
}

int ShapeA(int green, int red) { return Stretched(kPiecesA, static_cast<float>(green - red)); }

int ShapeB(int blue, int red) {
    const auto difference = static_cast<float>(blue - red);
    return difference > 0 ? Stretched(kPiecesBAbove, difference) : Stretched(kPiecesBBelow, difference);
}

int ShapeC(float gain, int blue, int green) {
    return Stretched(kPiecesC, static_cast<float>(blue) - static_cast<float>(green) * gain);
}

// A mean of 0 takes the largest gain.
float GreenGain(int32_t blueMean, int32_t greenMean) {
    constexpr float kLeast = 0.92F, kMost = 1.08F;
    if (greenMean == 0)
        return kMost;
    return std::clamp(static_cast<float>(blueMean) / static_cast<float>(greenMean), kLeast, kMost);
}

struct Range {
    int first, end;
};
template <typename Shape>
int Sum(const Range &range, Shape shape) {
    int sum = 0;
    for (int p = range.first; p < range.end; p++)
        sum += shape(p);
    return sum;
}

int32_t BalanceScore(int sum, float allowed, float weight) {
    const float excess = static_cast<float>(std::abs(sum)) / 1000.0F - allowed;
    return static_cast<int32_t>(std::max(0.0F, excess) * weight);
}

// Of the largest of some peaks to the least of some floors.
int32_t RangeScore(int32_t peak, int32_t floor, float allowed) {
    const float excess = static_cast<float>(peak) / static_cast<float>(floor + 1) - allowed;
    return static_cast<int32_t>(std::max(0.0F, excess) * 40.0F);
}

int32_t Larger(const int32_t (&sides)[2]) { return std::max(sides[0], sides[1]); }
int32_t Smaller(const int32_t (&sides)[2]) { return std::min(sides[0], sides[1]); }

} // namespace

void BalanceColours(const StillProfiles &profiles, StillRecord &record) {
    constexpr Range kRangesA[2] = {{900, 1000}, {1700, 2600}}, kRangesB[2] = {{100, 1000}, {1700, 2600}},
                    kRangesC[2] = {{100, 1100}, {1600, 2600}};
    constexpr int32_t kMost = 55;
    for (int side = 0; side < 2; side++) {
        const float gain = GreenGain(record.means[4][side], record.means[5][side]);
        const int sumA = Sum(kRangesA[side], [&](int p) { return ShapeA(profiles[1][p], profiles[2][p]); });
        const int sumB = Sum(kRangesB[side], [&](int p) { return ShapeB(profiles[0][p], profiles[2][p]); });
        const int sumC =
            Sum(kRangesC[side], [&](int p) { return ShapeC(gain, profiles[4][p], profiles[5][p]); });
        record.balance[0][side] = BalanceScore(sumA, 8.0F, 1.5F);
        record.balance[1][side] = std::min(BalanceScore(sumB, 16.0F, 1.25F), kMost);
        record.balance[2][side] = std::min(BalanceScore(sumC, 2.0F, 4.25F), kMost);
    }
    // The front's first has no limit.
    record.balance[0][1] = std::min(record.balance[0][1], kMost);
}

void MeasureRanges(StillRecord &record) {
    const auto &peaks = record.peaks, &floors = record.floors;
    record.rangeA = RangeScore(std::max({Larger(peaks[0]), Larger(peaks[1]), Larger(peaks[2])}),
                               std::min({Smaller(floors[0]), Smaller(floors[1]), Smaller(floors[2])}), 1.9F);
    record.rangeB = RangeScore(Larger(peaks[3]), Smaller(floors[3]), 2.4F);
    record.rangeC = RangeScore(std::max(Larger(peaks[4]), Larger(peaks[5])),
                               std::min(Smaller(floors[4]), Smaller(floors[5]) + 8), 2.4F);
}

} // namespace k274
