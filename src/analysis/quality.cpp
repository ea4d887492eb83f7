#include "src/analysis/quality.h"

#include "src/analysis/summary.h"

#include <algorithm>
#include <cstdlib>

namespace k274 {

namespace {

// ---- Means and grades

struct EntryRange {
    int first, end;
    constexpr int Length() const { return end - first; }
};
constexpr EntryRange kSensorRanges[2] = {{40, 1120}, {1390, 2470}}; // front, back
constexpr EntryRange kUvRanges[2] = {{25, 565}, {765, 1305}};
constexpr int kSensorLength = 1080, kUvLength = 540;
static_assert(kSensorRanges[0].Length() == kSensorLength && kSensorRanges[1].Length() == kSensorLength);
static_assert(kUvRanges[0].Length() == kUvLength && kUvRanges[1].Length() == kUvLength);

// What is bad below and marginal below; whether 255, which may be any excess, is marginal, too.
struct GradeLimits {
    int bad, marginal;
    bool fullIsMarginal;
};

// The rows that are judged, in the order in which their means are kept.
struct JudgedRow {
    int row;
    const EntryRange (&ranges)[2];
    int entries;
    GradeLimits limits;
};
constexpr JudgedRow kJudgedRows[] = {
    {2, kSensorRanges, 2 * kSensorLength, {176, 184, false}},
    {1, kSensorRanges, 2 * kSensorLength, {184, 192, true}},
    {0, kSensorRanges, 2 * kSensorLength, {184, 192, true}},
    {3, kSensorRanges, 2 * kSensorLength, {176, 184, true}},
    {6, kUvRanges, 2 * kUvLength, {176, 184, true}},
    {5, kUvRanges, 2 * kUvLength, {164, 176, false}},
};

int Grade(int value, const GradeLimits &limits) {
    if (value < limits.bad)
        return 2;
    return value < limits.marginal || (limits.fullIsMarginal && value == 255) ? 1 : 0;
}

constexpr EntryRange kMismatchRanges[] = {{50, 550}, {790, 1290}};
constexpr int kMismatch = 32; // between two channels of the ultraviolet response

int UvMismatches(const ResponseTable &raw) {
    int count = 0;
    for (const EntryRange &range : kMismatchRanges)
        for (int i = range.first; i < range.end; i++)
            count += std::abs(raw[5][i] - raw[6][i]) >= kMismatch;
    return count;
}

// ---- Dips

constexpr int kDipRows[2] = {0, 2};

// How far an entry lies below the mean of its neighbours at some distances on both sides.
template <size_t Distances>
int Dip(const uint8_t *entry, const int (&distances)[Distances]) {
    int sum = 0;
    for (const int distance : distances)
        sum += entry[-distance] + entry[distance];
    return sum / static_cast<int>(2 * Distances) - *entry;
}

} // namespace

void QualityMeans(const ResponseTable &raw, ResponseTable &corrected, ScanMeasures &measures) {
    int grades[kResponseTables] = {};
    for (int i = 0; i < 6; i++) {
        const JudgedRow &judged = kJudgedRows[i];
        int sum = 0;
        for (const EntryRange &range : judged.ranges)
            for (int entry = range.first; entry < range.end; entry++) {
                const int value = corrected[judged.row][entry];
                sum += value;
                grades[judged.row] += Grade(value, judged.limits);
            }
        measures.correctedMeans[i] = sum / judged.entries;
    }
    grades[5] += UvMismatches(raw);
    const int kept[5] = {grades[0], grades[1], grades[2], grades[3], std::max(grades[6], grades[5])};
    for (int i = 0; i < 5; i++) {
        measures.gradeSums[i] = std::min(kept[i], 255);
        StoreSummary(corrected, kMeanEntry + i, {measures.correctedMeans[i]});
        StoreSummary(corrected, kGradeEntry + i, {measures.gradeSums[i]});
    }
}

void RawDips(ResponseTable &raw) {
    constexpr int kDistances[] = {10, 12, 14};
    constexpr int kStep = 10; // one count for each
    for (int k = 0; k < 2; k++) {
        int count = 0;
        for (const EntryRange &range : {EntryRange{55, 1105}, EntryRange{1405, 2455}})
            for (int i = range.first; i < range.end; i++) {
                const int dip = Dip(&raw[kDipRows[k]][i], kDistances);
                if (dip > kStep)
                    count += dip / kStep;
            }
        StoreSummary(raw, kDipEntry + k, {count});
    }
}

void CorDips(ResponseTable &corrected) {
    constexpr int kDistances[] = {13, 14, 15, 16};
    constexpr int kMinDip = 6;
    for (int k = 0; k < 2; k++) {
        int count = 0;
        for (const EntryRange &range : {EntryRange{56, 1104}, EntryRange{1406, 2454}})
            for (int i = range.first; i < range.end; i++)
                count += Dip(&corrected[kDipRows[k]][i], kDistances) > kMinDip;
        StoreSummary(corrected, kDipEntry + k, {count});
    }
}

} // namespace k274
