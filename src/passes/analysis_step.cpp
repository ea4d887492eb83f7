#include "src/passes/analysis_step.h"

#include "src/analysis/dust.h"
#include "src/analysis/scan_analysis.h"
#include "src/analysis/uv_profiles.h"
#include "src/state/line_buffers.h"
#include "src/state/locks.h"
#include "src/state/measures.h"
#include "src/state/records.h"

namespace k274 {

namespace {

constexpr int kDustEntry = 1347; // of row 0, one more for each further row

} // namespace

void CheckDust() {
    DustCheck(RawColour(), RawInfrared(), measures);
    for (int row = 0; row < 4; ++row)
        CcdRawResp[row][kDustEntry + row] = static_cast<uint8_t>(measures.dustPerChannel[row]);
    std::lock_guard guard(recordLock);
    records.metadata.dustCount = static_cast<uint16_t>(measures.dustCount);
}

void AnalyseUltraviolet() {
    UvResp(RawUltraviolet(), CorrectedUltraviolet(), measures, CcdRawResp, CcdCorResp);
    AnalyseScan();
}

void AnalyseScan() {
    ScanAnalysis({RawColour(), RawInfrared(), RawUltraviolet()}, measures, CcdRawResp, CcdCorResp);
}

} // namespace k274
