// What is computed once a whole scan has been transferred: response statistics, quality, summary bytes.
#include "src/state/measures.h"

#include "src/analysis/quality.h"
#include "src/analysis/summary.h"

#include <algorithm>
#include <cstring>

namespace k274 {

namespace {

constexpr int kIrRow = 3, kUvRow = 6;
constexpr uint32_t kOutliers = 24; // entries at either end that say nothing

struct EntryRange {
    int first, end;
};
constexpr EntryRange kSensorRanges[2] = {{60, 1100}, {1420, 2460}}; // front, back
constexpr EntryRange kUvRanges[2] = {{30, 550}, {780, 1300}};

using Histogram = uint32_t[256];

int32_t HighLevel(const Histogram &counts) {
    uint32_t total = 0;
    for (int level = 255; level > 0; level--)
        if ((total += counts[level]) > kOutliers)
            return level;
    return 0;
}

int32_t LowLevel(const Histogram &counts) {
    uint32_t total = 0;
    for (int level = 0; level < 255; level++)
        if ((total += counts[level]) > kOutliers)
            return level;
    return 255;
}

} // namespace

void ImageProcessor::BuildHistograms(const ResponseTable &raw) {
    std::memset(histograms, 0, sizeof histograms);
    for (int side = 0; side < 2; side++)
        for (int row = 0; row < kResponseTables; row++) {
            const EntryRange &range = row <= kIrRow ? kSensorRanges[side] : kUvRanges[side];
            for (int entry = range.first; entry < range.end; entry++)
                histograms[side][row][raw[row][entry]]++;
        }
}

void ImageProcessor::ResponseLevels() {
    for (int side = 0; side < 2; side++) {
        for (int row = 0; row < kResponseTables; row++) {
            respHigh[side][row] = HighLevel(histograms[side][row]);
            respLow[side][row] = LowLevel(histograms[side][row]);
        }
        visibleMax[side] = std::max(respHigh[side][1], respHigh[side][2]);
    }
}

void ImageProcessor::ScanAnalysis(const ScanImages &images, ResponseTable &raw, ResponseTable &corrected) {
    StoreSummary(raw, kCardEntry, {cardClass, cardVariant, cardCode, forwardRead});
    BuildHistograms(raw);
    ResponseLevels();
    int entry = kHighLevelEntry;
    for (const int row : {0, 1, 2, kIrRow, kUvRow}) {
        StoreSummary(raw, entry, {respHigh[0][row], respHigh[1][row]});
        entry += 2;
    }
    const auto low = [&](int row) { return std::min(respLow[0][row], respLow[1][row]); };
    StoreSummary(raw, kLowLevelEntry, {std::min({low(0), low(1), low(2)}), low(kIrRow), low(kUvRow)});
    StoreSummary(raw, kFormatEntry, {kFormatMark});
    QualityMeans(raw, corrected);
    RawDips(raw);
    CorDips(corrected);
    ProfileAnalysis(images, raw);
}

} // namespace k274
