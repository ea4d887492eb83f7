#include "src/analysis/response_levels.h"

#include <algorithm>
#include <array>

namespace k274 {

namespace {

constexpr int kFirstUvRow = 4;
constexpr uint32_t kOutliers = 24; // entries at either end that say nothing

struct EntryRange {
    int first, end;
};
constexpr EntryRange kSensorRanges[2] = {{60, 1100}, {1420, 2460}}; // front, back
constexpr EntryRange kUvRanges[2] = {{30, 550}, {780, 1300}};

using Histogram = std::array<uint32_t, 256>;

Histogram Count(const uint8_t *entries, const EntryRange &range) {
    Histogram counts{};
    for (int entry = range.first; entry < range.end; entry++)
        counts[entries[entry]]++;
    return counts;
}

int32_t HighLevel(const Histogram &counts) {
    uint32_t total = 0;
    for (int level = 255; level > 0; level--)
        if ((total += counts[static_cast<size_t>(level)]) > kOutliers)
            return level;
    return 0;
}

int32_t LowLevel(const Histogram &counts) {
    uint32_t total = 0;
    for (int level = 0; level < 255; level++)
        if ((total += counts[static_cast<size_t>(level)]) > kOutliers)
            return level;
    return 255;
}

} // namespace

void ResponseLevels(const ResponseTable &raw, ScanMeasures &measures) {
    for (int side = 0; side < 2; side++) {
        for (int row = 0; row < kResponseTables; row++) {
            const Histogram counts =
                Count(raw[row], row < kFirstUvRow ? kSensorRanges[side] : kUvRanges[side]);
            measures.respHigh[side][row] = HighLevel(counts);
            measures.respLow[side][row] = LowLevel(counts);
        }
        measures.visibleMax[side] = std::max(measures.respHigh[side][1], measures.respHigh[side][2]);
    }
}

} // namespace k274
