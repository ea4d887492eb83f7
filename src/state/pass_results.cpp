#include "src/state/pass_results.h"

#include "src/state/line_buffers.h"

#include <cstring>

namespace k274 {

namespace {

void RestLines() {
    constexpr int kRestingValue = 192; // of the raw line buffers between scans
    std::memset(MSIr, kRestingValue, sizeof MSIr);
    std::memset(RGBr, kRestingValue, sizeof RGBr);
    std::memset(IRr, kRestingValue, sizeof IRr);
    std::memset(UVr, kRestingValue, sizeof UVr);
}

} // namespace

PassResults::PassResults() { RestLines(); }

void ClearCapture() {
    passResults.rgbOk = passResults.irOk = passResults.uvOk = false;
    RestLines();
}

} // namespace k274
