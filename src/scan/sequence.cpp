#include "src/scan/sequence.h"

#include "src/analysis/image_processor.h"
#include "src/api/options.h"
#include "src/api/settings.h"
#include "src/capture/ccd_load.h"
#include "src/capture/ccd_pix.h"
#include "src/capture/line_buffers.h"
#include "src/common/locks.h"
#include "src/common/state.h"
#include "src/link/session.h"
#include "src/log/log.h"
#include "src/maint/rig.h"
#include "src/scan/line_transfer.h"
#include "src/scan/monitor.h"
#include "src/scan/notify.h"
#include "src/scan/status.h"
#include "src/scan/wait.h"

namespace k274 {

namespace {

// The step functions tell whether the scan goes on; one that does not has said why.

bool Cancel(const char *message) {
    log.Image(message);
    SetScanState(K274_STATE_CANCELLED);
    return false;
}

bool Await(uint32_t mask, bool acceptIdle, const char *message) {
    if (WaitForStatus(mask, acceptIdle) == kWaitFailed || !Running())
        return Cancel(message);
    return true;
}

bool NotCancelledByEvent() {
    if (monitor.cancelled)
        SetScanState(K274_STATE_CANCELLED);
    return !monitor.cancelled;
}

void Prepare() {
    monitor.cancelled = false;
    settings.LoadSettings();
    session.ClearCapture();
    {
        DeviceGuard guard(deviceLock);
        LoadCcdTables();
    }
    if (!ccdPix.valid)
        log.Image("CCD illum table is not valid");
}

bool AwaitFirstStage() {
    if (WaitForStatus(kStatusFirst, false) != kWaitFailed && Running())
        return true;
    const auto word = static_cast<uint32_t>(PollStatus());
    if (word & kStatusJam)
        return Cancel("EV_CANCEL - Card jam");
    if (word & kStatusCleaning) {
        SetScanState(K274_STATE_CLEANING_CARD);
        return Cancel("EV_CANCEL - Cleaning card");
    }
    return Cancel("EV_CANCEL - Timeout");
}

bool TransferRgb() {
    bool transferred;
    {
        DeviceGuard guard(deviceLock);
        transferred = XfrRgb();
    }
    if (transferred)
        return true;
    // A lost scanner's failed poll has every bit and so counts as a jam here; the link state tells of it.
    if (static_cast<uint32_t>(PollStatus()) & kStatusJam) {
        log.Image("EV_CANCEL - Card jam during XfrRGB");
        return false;
    }
    SetScanState(K274_STATE_CANCELLED);
    log.Image("EV_CANCEL - Error during XfrRGB");
    return false;
}

void Measure() {
    session.measure = MeasureCard(RawColour());
    PublishMeasure();
    SetScanState(K274_STATE_CARD_MEASURED);
    if (imageProcessor.cardClass >= 0)
        SetScanState(K274_STATE_WHITE_CARD);
}

// The rest of a scan that takes the visible-light pass alone.
void FinishRgbOnly() {
    WaitForStatus(kStatusEnd, true);
    ++state.scanCounter;
    SetScanState(K274_STATE_COMPLETE);
    if (RgbLengthCheck(RawColour()).mismatch)
        SetScanState(K274_STATE_LENGTH_MISMATCH);
}

void CheckLength() {
    const LengthResult rgb = RgbLengthCheck(RawColour());
    {
        std::lock_guard guard(recordLock);
        session.status.rgbDeviation = rgb.deviation;
    }
    if (rgb.mismatch)
        SetScanState(K274_STATE_LENGTH_MISMATCH);
}

// The rest of a scan of all passes: follows the scanner through them to its end.
void FinishFull() {
    if (!Await(STE_SCAN_IR, false, "EV_CANCEL - Timeout waiting for STE_SCAN_IR") || !NotCancelledByEvent())
        return;
    LabJackSet(kRigScan, kRigHigh);
    if (!Await(STE_SCAN_LST, true, "EV_CANCEL - Timeout waiting for STE_SCAN_LST") || !NotCancelledByEvent())
        return;
    LabJackSet(kRigScan, kRigLow);
    if (!Await(0, true, "EV_CANCEL - Timeout waiting for DONE"))
        return;
    log.FlushDeferred();
    WaitForStatus(kStatusEnd, true);
    ++state.scanCounter;
    CheckLength();
    SetScanState(K274_STATE_COMPLETE);
}

} // namespace

void ScanSequence() {
    Prepare();
    SetScanState(K274_STATE_SCAN_STARTED);
    if (!AwaitFirstStage())
        return;
    SecondScan(settings.irEnhance ? 0 : 1);
    if (!Await(STE_SCAN_RGB, false, "EV_CANCEL - Timeout waiting for STE_SCAN_RGB"))
        return;
    if (!TransferRgb())
        return;
    SetScanState(K274_STATE_RGB_DONE);
    LabJackSet(kRigScan, kRigLow);
    Measure();
    if (state.scanMode == kScanModeRgbOnly)
        FinishRgbOnly();
    else
        FinishFull();
}

} // namespace k274
