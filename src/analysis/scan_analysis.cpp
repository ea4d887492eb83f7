#include "src/analysis/scan_analysis.h"

#include "src/analysis/ft_profile.h"
#include "src/analysis/quality.h"
#include "src/analysis/response_levels.h"
#include "src/analysis/summary.h"

#include <algorithm>

namespace k274 {

namespace {

constexpr int kIrRow = 3, kUvRow = 6;

} // namespace

void ScanAnalysis(const ScanImages &images, ScanMeasures &measures, ResponseTable &raw,
                  ResponseTable &corrected) {
    StoreSummary(raw, kCardEntry,
                 {measures.cardClass, measures.cardVariant, measures.cardCode, measures.forwardRead});
    ResponseLevels(raw, measures);
    const auto &high = measures.respHigh, &lows = measures.respLow;
    int entry = kHighLevelEntry;
    for (const int row : {0, 1, 2, kIrRow, kUvRow}) {
        StoreSummary(raw, entry, {high[0][row], high[1][row]});
        entry += 2;
    }
    const auto low = [&](int row) { return std::min(lows[0][row], lows[1][row]); };
    StoreSummary(raw, kLowLevelEntry, {std::min({low(0), low(1), low(2)}), low(kIrRow), low(kUvRow)});
    StoreSummary(raw, kFormatEntry, {kFormatMark});
    QualityMeans(raw, corrected, measures);
    RawDips(raw);
    CorDips(corrected);
    if (measures.cardClass >= 0)
        ProfileAnalysis(images, measures, raw);
}

} // namespace k274
