#include "src/scan/analysis_step.h"

#include "src/analysis/image_processor.h"
#include "src/capture/line_buffers.h"
#include "src/common/locks.h"
#include "src/link/session.h"

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
