#include "src/decoders/jitter_step.h"

#include "src/analysis/jitter.h"
#include "src/analysis/jitter_chart.h"
#include "src/common/text.h"
#include "src/log/log.h"
#include "src/state/barcode_state.h"
#include "src/state/flags.h"
#include "src/state/image_set.h"
#include "src/state/locks.h"
#include "src/state/measures.h"
#include "src/state/session.h"

#include <algorithm>
#include <iterator>

namespace k274 {

namespace {

// Under imageLock. Only jitterCount may be set to 0 by others meanwhile.
void AddSample(int32_t value, int32_t device, int16_t textLength) {
    ImageProcessor &p = imageProcessor;
    p.jitterValue = value;
    if (device != p.jitterDevice || textLength != kJitterTextLength) {
        p.jitterCount = 0;
        p.jitterDevice = device;
    }
    const int32_t before = p.jitterCount.fetch_add(1);
    p.jitterSamples[before % ImageProcessor::kJitterSeries] = value;
    p.jitterMax = -1;
    if (before + 1 >= ImageProcessor::kJitterSeries)
        p.jitterMax = std::max(0, *std::max_element(std::begin(p.jitterSamples), std::end(p.jitterSamples)));
}

BarcodeRecord CopyRecord() {
    std::lock_guard guard(barcode.lock);
    return barcode.record;
}

int32_t SerialNumber() {
    std::lock_guard guard(recordLock);
    return static_cast<int32_t>(session.version.serialNumber);
}

} // namespace

int32_t JitterTest() {
    const BarcodeRecord read = CopyRecord();
    const auto band = ChooseJitterBand(read);
    if (!band)
        return 0;
    const int32_t device = SerialNumber();
    int32_t value, most;
    {
        std::lock_guard guard(imageLock);
        const ColourView natBk{imageSet.NatBk, K274_NAT_HEIGHT, K274_NAT_WIDTH};
        const FringeLevels levels = MeasureFringes(natBk, *band);
        AddSample(JitterScore(levels, *band), device, read.pdfLength);
        value = imageProcessor.jitterValue;
        most = imageProcessor.jitterMax;
        DrawJitterChart(*band, levels, natBk);
        DrawJitterBoxes(*band, value, most, natBk);
        if (!IsJitterCard(read))
            DrawBarcodeBox(read.pdfLength > 0, natBk);
    }
    log.Write(Format("Jitr,    %05d, %d, %d", state.scanCounter.load(), value, most));
    return static_cast<int32_t>(static_cast<uint32_t>(most) << 16 | (static_cast<uint32_t>(value) & 0xFFFF));
}

void ResetJitterSeries() { imageProcessor.jitterCount = 0; }

} // namespace k274
