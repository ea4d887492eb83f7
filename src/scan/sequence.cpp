#include "src/scan/sequence.h"

#include "src/analysis/calibration.h"
#include "src/analysis/jitter.h"
#include "src/carddata/magstripe.h"
#include "src/common/running.h"
#include "src/common/text.h"
#include "src/decoders/barcode.h"
#include "src/decoders/barcode_threads.h"
#include "src/log/log.h"
#include "src/maint/ccd_load.h"
#include "src/maint/device_commands.h"
#include "src/maint/options.h"
#include "src/maint/rig.h"
#include "src/passes/analysis_step.h"
#include "src/passes/hires_pass.h"
#include "src/passes/ir_pass.h"
#include "src/passes/rgb_pass.h"
#include "src/passes/stripe_marker.h"
#include "src/passes/stripe_pass.h"
#include "src/passes/uv_pass.h"
#include "src/passes/white_card.h"
#include "src/saved/saved_scan.h"
#include "src/scan/status.h"
#include "src/scan/wait.h"
#include "src/state/capture_state.h"
#include "src/state/flags.h"
#include "src/state/line_buffers.h"
#include "src/state/locks.h"
#include "src/state/measures.h"
#include "src/state/monitor_record.h"
#include "src/state/notify.h"
#include "src/state/pass_results.h"
#include "src/state/records.h"
#include "src/state/settings.h"
#include "wire/status.h"

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

// Ends a scan whose transfer failed. A lost scanner's failed poll has every bit and so counts as a jam here;
// the link state tells of it.
bool EndTransfer(const char *jam, const char *error) {
    if (static_cast<uint32_t>(PollStatus()) & wire::status::kJam) {
        log.Image(jam);
    } else {
        SetScanState(K274_STATE_CANCELLED);
        log.Image(error);
    }
    return false;
}

void Prepare() {
    monitor.cancelled = false;
    state.irProgress = -1;
    settings.LoadSettings();
    ClearCapture();
    {
        DeviceGuard guard(deviceLock);
        LoadCcdTables();
    }
    if (!ccdPix.valid)
        log.Image("CCD illum table is not valid");
}

bool AwaitFirstStage() {
    if (WaitForStatus(wire::status::kFirst, false) != kWaitFailed && Running())
        return true;
    const auto word = static_cast<uint32_t>(PollStatus());
    if (word & wire::status::kJam)
        return Cancel("EV_CANCEL - Card jam");
    if (word & wire::status::kCleaning) {
        SetScanState(K274_STATE_CLEANING_CARD);
        return Cancel("EV_CANCEL - Cleaning card");
    }
    return Cancel("EV_CANCEL - Timeout");
}

void TakeStripe() {
    {
        DeviceGuard guard(deviceLock);
        SecondScan(settings.irEnhance ? 0 : 1);
        XfrMS();
    }
    const MagneticRecord magnetic = CopyMagnetic();
    log.Image(Format("%05d, MS%s %d:%d:%d", state.scanCounter + 1, StripeMark(magnetic),
                     magnetic.tracks[0].count, magnetic.tracks[1].count, magnetic.tracks[2].count));
    SetScanState(K274_STATE_STRIPE_TAKEN);
    LabJackSet(kRigScan, kRigLow);
    ForgetPdf();
    LabJackSet(kRigScan, kRigHigh);
}

bool TransferRgb() {
    bool transferred;
    {
        DeviceGuard guard(deviceLock);
        transferred = XfrRgb();
        AfeRegisters current; // the records keep them for the calibration
        if (measures.cardClass == kMaintenanceClass)
            ReadAfeRegisters(current);
    }
    if (!transferred)
        return EndTransfer("EV_CANCEL - Card jam during XfrRGB", "EV_CANCEL - Error during XfrRGB");
    SetScanState(K274_STATE_RGB_DONE);
    LabJackSet(kRigScan, kRigLow);
    return true;
}

void Measure() {
    passResults.measure = MeasureCard(RawColour());
    ShowCardWidth(static_cast<uint32_t>(passResults.measure.width));
    PublishMeasure();
    SetScanState(K274_STATE_CARD_MEASURED);
    if (measures.cardClass >= 0)
        SetScanState(K274_STATE_WHITE_CARD);
}

// The rest of a scan that takes the visible-light pass alone.
void FinishRgbOnly() {
    WaitForStatus(wire::status::kEnd, true);
    ++state.scanCounter;
    SetScanState(K274_STATE_COMPLETE);
    if (measures.cardClass == kMaintenanceClass) {
        Verify(measures.cardVariant);
        AnalyseScan();
        SetScanState(measures.forwardRead ? K274_STATE_CALIBRATION_FWD : K274_STATE_CALIBRATION_REV);
    }
    if (RgbLengthCheck(RawColour()).mismatch)
        SetScanState(K274_STATE_LENGTH_MISMATCH);
}

bool TransferInfrared() {
    state.irProgress = 0;
    bool transferred;
    {
        DeviceGuard guard(deviceLock);
        transferred = XfrIR();
    }
    if (!transferred)
        return Cancel("EV_CANCEL - Timeout waiting for XfrIR");
    WriteStripeMarker();
    CheckDust();
    state.irProgress = 1;
    SetScanState(K274_STATE_IR_DONE);
    LabJackSet(kRigScan, kRigHigh);
    return true;
}

bool TransferUltraviolet() {
    bool transferred;
    {
        DeviceGuard guard(deviceLock);
        transferred = XfrUV();
    }
    if (!transferred)
        return EndTransfer("EV_CANCEL - Card jam during XfrUV", "EV_CANCEL - Error during XfrUV");
    AnalyseUltraviolet();
    return true;
}

// What did arrive is processed in any case.
bool TransferShortHires() {
    DeviceGuard guard(deviceLock);
    const bool transferred = Xfr12S();
    Process1200S();
    return transferred;
}

void CaptureFullHires() {
    const int scan = state.scanCounter + 1;
    log.Image(Format("%05d, 1100 bpi...", scan));
    Capture1200F();
    log.Image(Format("%05d, 1100 bpi done", scan));
}

bool TransferLast() {
    switch (state.lastScanMode) {
    case kLastScanUltraviolet:
        return TransferUltraviolet();
    case kLastScanShortHires:
        return TransferShortHires() || Cancel("EV_CANCEL - Timeout waiting for XfrUV");
    case kLastScanFullHires:
        CaptureFullHires();
        return true;
    default:
        return true;
    }
}

void CheckLength() {
    LengthResults &length = passResults.length;
    if (state.lastScanMode == kLastScanUltraviolet) {
        length = LengthCheck(RawColour(), RawInfrared(), RawUltraviolet());
    } else {
        const LengthResult rgb = RgbLengthCheck(RawColour());
        length.rgb = rgb.deviation;
        length.mismatch = rgb.mismatch;
    }
    {
        std::lock_guard guard(recordLock);
        records.status.rgbDeviation = length.rgb;
        records.status.irDeviation = length.ir;
        records.status.uvDeviation = length.uv;
    }
    if (length.mismatch)
        SetScanState(K274_STATE_LENGTH_MISMATCH);
}

bool JitterCardWasScanned() {
    std::lock_guard guard(barcode.lock);
    return IsJitterCard(barcode.record);
}

// The rest of a scan of all passes.
void FinishFull() {
    if (!Await(wire::status::kIr, false, "EV_CANCEL - Timeout waiting for STE_SCAN_IR") ||
        !NotCancelledByEvent() || !TransferInfrared())
        return;
    if (!Await(wire::status::kLast, true, "EV_CANCEL - Timeout waiting for STE_SCAN_LST") ||
        !NotCancelledByEvent() || !TransferLast())
        return;
    StampScanTime();
    SetScanState(K274_STATE_LAST_DONE);
    LabJackSet(kRigScan, kRigLow);
    if (!Await(0, true, "EV_CANCEL - Timeout waiting for DONE"))
        return;
    log.FlushDeferred();
    WaitForStatus(wire::status::kEnd, true);
    ++state.scanCounter;
    CheckLength();
    SetScanState(K274_STATE_COMPLETE);
    FactoryVerify();
    if (JitterCardWasScanned() || state.jitterCheck == 1)
        SetScanState(K274_STATE_JITTER_CARD);
}

} // namespace

void ScanSequence() {
    Prepare();
    SetScanState(K274_STATE_SCAN_STARTED);
    ClearBarcode();
    if (!AwaitFirstStage())
        return;
    TakeStripe();
    if (!Await(wire::status::kRgb, false, "EV_CANCEL - Timeout waiting for STE_SCAN_RGB"))
        return;
    if (!TransferRgb())
        return;
    if (barcode.enabled == 1)
        StartBarcodeDecode();
    Measure();
    if (state.scanMode == wire::kVisibleLightOnly)
        FinishRgbOnly();
    else
        FinishFull();
}

} // namespace k274
