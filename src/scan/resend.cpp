#include "src/scan/resend.h"

#include "src/analysis/image_processor.h"
#include "src/api/options.h"
#include "src/api/settings.h"
#include "src/capture/ccd_load.h"
#include "src/capture/ccd_pix.h"
#include "src/carddata/barcode.h"
#include "src/common/locks.h"
#include "src/common/state.h"
#include "src/link/session.h"
#include "src/log/log.h"
#include "src/scan/analysis_step.h"
#include "src/scan/hires_pass.h"
#include "src/scan/line_transfer.h"
#include "src/scan/notify.h"
#include "src/scan/status.h"
#include "src/tiff/scan_state.h"

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
    session.ClearCapture();
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
    if (state.scanMode == kScanModeRgbOnly) {
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
