// The still image's five scores and its verdict.
#include "src/maint/still_analysis.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <initializer_list>
#include <iterator>

namespace k274 {

namespace {

// Means that the profiles are to reach.
constexpr int kMeanA = 144, kMeanB = 140, kMeanC = 128;

constexpr int kReferencePositions[2] = {1000, 1700};

struct Step {
    int limit, value; // below the limit; the first that holds
};
int Look(std::initializer_list<Step> steps, int amount, int beyond) {
    for (const Step &step : steps)
        if (amount < step.limit)
            return step.value;
    return beyond;
}

int Lack(int mean, int wanted) { return std::max(0, wanted - mean); }

// For the visible profiles' peaks: their disagreement, their distance from a fixed position, their height
// above the floor.
int PeakPenalty(const StillProfiles &profiles, const StillRecord &record, int side) {
    const int blue = record.peaks[0][side], green = record.peaks[1][side], floor = record.floors[0][side];
    const int apart = std::abs(blue - green) + (blue > green ? 4 : 0);
    int penalty = Look({{20, 0}, {32, apart - 20}}, apart, 12);
    const int off = std::abs(blue - profiles[0][kReferencePositions[side]]);
    penalty += Look({{24, 0}, {28, 10}, {32, 25}, {36, 35}}, off, 45);
    const float height = static_cast<float>(blue) / static_cast<float>(floor + 1) - 1.7F;
    return height >= 0 ? penalty + static_cast<int>(height * 25.0F) : penalty;
}

int32_t Verdict(const StillRecord &record) {
    const int32_t scores[] = {record.sideScores[0], record.sideScores[1], record.segmentScores[0],
                              record.segmentScores[1], record.segmentScores[2]};
    const int32_t least = *std::min_element(std::begin(scores), std::end(scores));
    const int32_t difference = std::abs(record.widthDifference);
    if (record.noise > 20 || record.darkCount > 20 || difference > 30 || least < 50)
        return -1;
    if (std::min(scores[0], scores[1]) < 67 || difference > 25)
        return 0;
    return least == 100 ? 2 : 1;
}

} // namespace

int32_t StillScore(int32_t penalty) {
    if (penalty < 1)
        return 100;
    if (penalty < 34)
        return 100 - penalty;
    if (penalty < 151) {
        const double exponent = 0.82F; // single precision, in a power of double precision
        return 100 - static_cast<int32_t>(std::pow(penalty - 33.0, exponent) + 33.0);
    }
    // Each of these costs one more of the points that are left.
    constexpr int kLimits[] = {175,  300,  500,  750,  1000, 1250, 1500, 1800, 2100,
                               2500, 3000, 3500, 4000, 4500, 5000, 5500, 6000};
    return static_cast<int32_t>(std::end(kLimits) -
                                std::upper_bound(std::begin(kLimits), std::end(kLimits), penalty));
}

void ScoreStill(const StillProfiles &profiles, StillRecord &record) {
    const auto &means = record.means, &defects = record.defects;
    const auto &balance = record.balance;
    int penalties[3] = {}; // of the segments: the worse side's
    for (int side = 0; side < 2; side++) {
        const int lacks[3] = {Lack(means[1][side], kMeanA), Lack(means[3][side], kMeanB),
                              Lack(means[4][side], kMeanC)};
        const int faults[3] = {PeakPenalty(profiles, record, side) + record.stepsA[side] + balance[0][side] +
                                   balance[1][side] + (defects[0][side] + defects[1][side]) / 2,
                               defects[3][side] / 2,
                               record.stepsC[side] + balance[2][side] +
                                   (defects[4][side] + defects[5][side]) / 4};
        record.sideScores[side] = StillScore(*std::max_element(std::begin(lacks), std::end(lacks)) +
                                             faults[0] + faults[1] + faults[2]);
        for (int k = 0; k < 3; k++)
            penalties[k] = std::max(penalties[k], lacks[k] + faults[k]);
    }
    record.segmentScores[0] = StillScore(penalties[0] + record.rangeA);
    record.segmentScores[1] = StillScore(penalties[1] + record.rangeB);
    record.segmentScores[2] = StillScore(penalties[2] + record.rangeC + record.darkCount);
    record.verdict = Verdict(record);
}

} // namespace k274
