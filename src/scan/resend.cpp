#include "src/scan/resend.h"

#include "src/decoders/barcode.h"
#include "src/log/log.h"
#include "src/maint/ccd_load.h"
#include "src/maint/options.h"
#include "src/passes/analysis_step.h"
#include "src/passes/hires_pass.h"
#include "src/passes/ir_pass.h"
#include "src/passes/rgb_pass.h"
#include "src/passes/stripe_pass.h"
#include "src/passes/uv_pass.h"
#include "src/saved/saved_scan.h"
#include "src/scan/status.h"
#include "src/state/capture_state.h"
#include "src/state/flags.h"
#include "src/state/locks.h"
#include "src/state/measures.h"
#include "src/state/notify.h"
#include "src/state/pass_results.h"
#include "src/state/settings.h"
#include "wire/status.h"

namespace k274 {

namespace {

// A transfer under the device lock; what it brought is taken as it is.
template <typename Pass>
void Transfer(Pass pass) {
    DeviceGuard guard(deviceLock);
    pass();
}

void DecodeBarcodes() {
    const BarcodeTicket ticket = DrawBarcodeTicket();
    BarcodeRecord read;
    BcDecode(BarcodeSource::Red1, ticket, false, read);
    BcDecode(BarcodeSource::Red0, ticket, false, read);
}

} // namespace

void ResendLastScan() {
    log.Blank();
    log.Image("Re-send last scan");
    settings.LoadSettings();
    ClearCapture();
    Transfer(LoadCcdTables);
    if (!ccdPix.valid)
        log.Image("CCD illum table is not valid -rs");
    Transfer([] {
        SecondScan(settings.irEnhance ? 0 : 1);
        XfrMS();
    });
    SetScanState(K274_STATE_STRIPE_TAKEN);
    ForgetPdf();
    Transfer(XfrRgb);
    SetScanState(K274_STATE_RGB_DONE);
    SetScanState(K274_STATE_CARD_MEASURED);
    if (state.scanMode == wire::kVisibleLightOnly) {
        SetScanState(K274_STATE_COMPLETE);
        return;
    }
    PollStatus();
    Transfer(XfrIR);
    SetScanState(K274_STATE_IR_DONE);
    if (state.lastScanMode == kLastScanUltraviolet) {
        Transfer(XfrUV);
        AnalyseUltraviolet();
    } else if (state.lastScanMode == kLastScanShortHires) {
        Transfer([] {
            Xfr12S();
            Process1200S();
        });
    }
    StampScanTime();
    SetScanState(K274_STATE_LAST_DONE);
    if (barcode.enabled == 1)
        DecodeBarcodes();
    log.FlushDeferred();
    SetScanState(K274_STATE_COMPLETE);
}

} // namespace k274
