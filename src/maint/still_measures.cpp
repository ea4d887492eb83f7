// What the still image is measured for: levels of its profiles, steps, the target's edges, noise.
#include "src/common/find_from.h"
#include "src/maint/still_analysis.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace k274 {

namespace {

constexpr int kSampleLine = 25; // of a segment
constexpr int kDark = 64;       // what is below

struct Range {
    int first, end;
};

// ---- Levels

constexpr Range kSides[2] = {{70, 1080}, {1620, 2630}};
constexpr int kMeanDivisor = 1050; // for 1010 positions
constexpr int kSpot = 4;           // a dark spot may be that wide

struct DefectRule {
    int darkWeight, least, most;
};
constexpr DefectRule kDefectRules[kStillProfiles] = {{4, 80, 250}, {4, 80, 250}, {4, 80, 250},
                                                     {3, 74, 250}, {2, 80, 250}, {2, 76, 250}};

// ---- Steps

constexpr int kStepDistances[] = {9, 14, 19};

struct Extremes {
    int least = 255, most = 0;
    void Take(int value) {
        least = std::min(least, value);
        most = std::max(most, value);
    }
};

int LargestStep(const uint8_t *line, const Range &range) {
    int largest = 0;
    for (int p = range.first; p < range.end; p++) {
        Extremes left, right;
        for (const int distance : kStepDistances) {
            left.Take(line[3 * (p - distance)]);
            right.Take(line[3 * (p + distance)]);
        }
        largest = std::max({largest, right.least - left.most, left.least - right.most});
    }
    return largest;
}

int Excess(int value, int allowed) { return std::max(0, value - allowed); }

// ---- Noise

constexpr Range kNoiseLines = {20, 30};
constexpr Range kNoiseSides[2] = {{100, 1100}, {1600, 2600}};
constexpr int kMostNoise = 300;

} // namespace

void MeasureLevels(const StillProfiles &profiles, StillRecord &record) {
    for (int k = 0; k < kStillProfiles; k++) {
        const uint8_t *profile = profiles[k];
        const DefectRule &rule = kDefectRules[k];
        for (int side = 0; side < 2; side++) {
            int peak = 0, floor = 255, sum = 0, defects = 0;
            for (int p = kSides[side].first; p < kSides[side].end; p++) {
                const int value = profile[p];
                peak = std::max(peak, value);
                floor = std::min<int>(floor, std::max({profile[p - kSpot], profile[p], profile[p + kSpot]}));
                sum += value;
                defects += (value < kDark ? rule.darkWeight : 0) + (value < rule.least || value > rule.most);
            }
            record.peaks[k][side] = peak;
            record.floors[k][side] = floor;
            record.means[k][side] = sum / kMeanDivisor;
            record.defects[k][side] = defects;
        }
    }
}

void CountDark(ConstColourView image, StillRecord &record) {
    constexpr int kLeastMeans = 160; // a target that dim is not counted
    int count = 0;
    for (int line = 1; line < kMeanLine; line++)
        for (int pixel = 200; pixel <= 984; pixel += 16)
            count += image.Pixel(kSegmentC + line, pixel)[0] < kDark;
    record.darkCount = record.means[5][0] + record.means[5][1] < kLeastMeans ? 0 : count;
}

void MeasureSteps(ConstColourView image, StillRecord &record) {
    constexpr Range kRangesA[2] = {{150, 1000}, {1700, 2550}}, kRangesC[2] = {{200, 1000}, {1700, 2500}};
    constexpr int kAllowedA = 13, kAllowedC = 18;
    for (int side = 0; side < 2; side++) {
        record.stepsA[side] =
            Excess(LargestStep(image.Row(kSegmentA + kSampleLine), kRangesA[side]), kAllowedA);
        record.stepsC[side] =
            Excess(LargestStep(image.Row(kSegmentC + kSampleLine), kRangesC[side]), kAllowedC);
    }
}

void FindTargetEdges(ConstColourView image, StillRecord &record) {
    // Where the brightness on either side falls below two thirds of what three pixels near the edge show.
    constexpr struct {
        int reference, from, none;
    } kEdges[4] = {{95, 100, 0}, {1070, 1090, 1190}, {1620, 1590, 1490}, {2595, 2600, 2699}};
    const uint8_t *line = image.Row(kSegmentA + kSampleLine);
    const auto brightest = [&](int first, int step) {
        return std::max({line[3 * first], line[3 * (first + step)], line[3 * (first + 2 * step)]});
    };
    int levels[4];
    for (int i = 0; i < 4; i++)
        levels[i] = brightest(kEdges[i].reference, 5);
    int32_t(&edges)[4] = record.edges;
    std::fill(std::begin(edges), std::end(edges), 0);
    if (levels[1] >= kDark && levels[2] >= kDark)
        for (int i = 0; i < 4; i++) {
            const int limit = levels[i] * 2 / 3;
            edges[i] =
                FindFrom(kEdges[i].from, kEdges[i].none, [&](int p) { return brightest(p - 1, 1) < limit; });
        }
    record.widthDifference = (edges[3] - edges[2]) + (edges[0] - edges[1]);
}

void MeasureNoise(ConstColourView image, StillRecord &record) {
    int sums[3] = {}; // of the segments
    for (int line = kNoiseLines.first; line < kNoiseLines.end; line++)
        for (int side = 0; side < 2; side++) {
            const auto difference = [&](int segment, int distance, int i) {
                return std::abs(image.Row(segment + line)[i] - image.Row(segment + line + distance)[i]);
            };
            const int distanceC = side == 0 ? 2 : 1;
            for (int p = kNoiseSides[side].first; p < kNoiseSides[side].end; p++) {
                for (int channel = 0; channel < 3; channel++)
                    sums[0] += difference(kSegmentA, 1, 3 * p + channel) / 16;
                sums[1] += difference(kSegmentB, 1, 3 * p + 2) / 18;
                sums[2] += difference(kSegmentC, distanceC, 3 * p) / 20;
            }
        }
    record.noise = (std::min(sums[0] / 30, kMostNoise) + std::min(sums[1] / 10, kMostNoise) +
                    std::min(sums[2] / 10, kMostNoise)) /
                   3;
}

} // namespace k274
