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
#include "src/state/records.h"

#include <algorithm>
#include <iterator>

namespace k274 {

namespace {

// Under imageLock. Only the count may be set to 0 by others meanwhile.
void AddSample(int32_t value, int32_t device, int16_t textLength) {
    JitterSeries &series = measures.jitter;
    series.value = value;
    if (device != series.device || textLength != kJitterTextLength) {
        series.count = 0;
        series.device = device;
    }
    const int32_t before = series.count.fetch_add(1);
    series.samples[before % kJitterSeries] = value;
    series.most = -1;
    if (before + 1 >= kJitterSeries)
        series.most = std::max(0, *std::max_element(std::begin(series.samples), std::end(series.samples)));
}

BarcodeRecord CopyRecord() {
    std::lock_guard guard(barcode.lock);
    return barcode.record;
}

int32_t SerialNumber() {
    std::lock_guard guard(recordLock);
    return static_cast<int32_t>(records.version.serialNumber);
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
        value = measures.jitter.value;
        most = measures.jitter.most;
        DrawJitterChart(*band, levels, natBk);
        DrawJitterBoxes(*band, value, most, natBk);
        if (!IsJitterCard(read))
            DrawBarcodeBox(read.pdfLength > 0, natBk);
    }
    log.Write(Format("Jitr,    %05d, %d, %d", state.scanCounter.load(), value, most));
    return static_cast<int32_t>(static_cast<uint32_t>(most) << 16 | (static_cast<uint32_t>(value) & 0xFFFF));
}

void ResetJitterSeries() { measures.jitter.count = 0; }

} // namespace k274
