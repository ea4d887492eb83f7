#include "src/passes/analysis_step.h"

#include "src/state/line_buffers.h"
#include "src/state/locks.h"
#include "src/state/measures.h"
#include "src/state/session.h"

namespace k274 {

namespace {

constexpr int kDustEntry = 1347; // of row 0, one more for each further row

} // namespace

void CheckDust() {
    imageProcessor.DustCheck(RawColour(), RawInfrared());
    for (int row = 0; row < 4; ++row)
        CcdRawResp[row][kDustEntry + row] = static_cast<uint8_t>(imageProcessor.dustPerChannel[row]);
    std::lock_guard guard(recordLock);
    session.metadata.dustCount = static_cast<uint16_t>(imageProcessor.dustCount);
}

void AnalyseUltraviolet() {
    imageProcessor.UvResp(RawUltraviolet(), CorrectedUltraviolet(), CcdRawResp, CcdCorResp);
    AnalyseScan();
}

void AnalyseScan() {
    imageProcessor.ScanAnalysis({RawColour(), RawInfrared(), RawUltraviolet()}, CcdRawResp, CcdCorResp);
}

} // namespace k274
