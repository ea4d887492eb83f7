// The exports: each hands on to the function that does the work.
#include "include/k274.h"

#include "src/analysis/image_processor.h"
#include "src/api/image_set.h"
#include "src/api/lifecycle.h"
#include "src/api/options.h"
#include "src/api/settings.h"
#include "src/capture/ccd_pix.h"
#include "src/common/locks.h"
#include "src/common/state.h"
#include "src/link/session.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/device_commands.h"
#include "src/scan/line_transfer.h"
#include "src/scan/monitor.h"

#include <cstring>

using namespace k274;

// ---- life ----

int32_t K274_Init(int32_t) { return StartLibrary(); }
void K274_Close(void) { StopLibrary(); }
void K274_RegNewScanCB(K274_ScanStateCallback callback) { state.callback = callback; }
void K274_Reset(void) { session.Reset(); }

void K274_Clear(uint8_t fill) {
    state.cleared = 1;
    ClearImages(fill);
    CmdPkt packet(command::kClear);
    transport.SendCmd(packet);
}

// ---- link and status ----

uint8_t K274_UsbIsOnline(void) { return state.linkState == kLinkOnline ? 1 : 0; }
uint32_t K274_ScanState(void) { return state.statusWord; }

void K274_UpdateStatus(void *record) {
    std::lock_guard guard(recordLock);
    std::memcpy(record, &session.status, sizeof session.status);
}

void K274_GetVersion(void *record) {
    std::lock_guard guard(recordLock);
    std::memcpy(record, &session.version, sizeof session.version);
}

uint32_t K274_GefXfrErrs(void) { return session.transferErrors; }
void K274_ClrXfrErrs(void) { session.transferErrors = 0; }
void K274_Verbose(uint32_t level) { transport.SetVerbose(level); }

// ---- log ----

void K274_SetLogPath(const char *directory) { log.SetPath(directory); }

void K274_Log(const char *text) {
    if (!text)
        return;
    log.Defer(text);
    os::SleepMs(strnlen(text, 4) <= 3 ? 10 : 20);
}

// ---- options ----

void K274_ScanMode(uint8_t mode) { state.scanMode = mode; }
void K274_SetIllumOpt(int32_t flags) { SetIllumOpt(flags); }
void K274_SetUvOpt(int32_t flags) { SetUvOpt(flags); }
void K274_UvEnhance(uint8_t on) { SetUvOpt(on ? 7 : 1); }

void K274_UseCertaxis(int32_t value) {
    if (value != 300)
        return;
    SecondScan(0);
    SetUvOpt(7);
}

void K274_IrEnhance(uint8_t on) { settings.irEnhance = on ? 1 : 0; }
void K274_SetMsImgOpt(int32_t option) { settings.stripeImageOption = option; }
void K274_AutoFwUpgrade(uint8_t enable) { state.autoFwUpgrade = enable; }
void K274_LstScan(int32_t mode, int32_t lines) { LastScan(mode, lines); }
void K274_2ndScan(int32_t value) { SecondScan(value); }

// ---- requests ----

void K274_Eject(void) { PostEject(); }
void K274_UserLED(int32_t value) { PostUserLed(value); }
void K274_UserBeep(uint8_t value) { PostUserBeep(value); }
void K274_GuiScan(void) { state.guiScanRequest = 1; }
void K274_DebugLEDs(uint8_t led, uint8_t on) { DebugLeds(led, on); }
uint8_t K274_LogIn(uint8_t flag) { return LogIn(flag); }
uint32_t K274_RdCcUv(void) { return ReadFirstRgbPixels(); }

// ---- images and tables ----

uint8_t *K274_GetImgNatFr(void) { return imageSet.NatFr; }
uint8_t *K274_GetImgNatBk(void) { return imageSet.NatBk; }
uint8_t *K274_GetImgIrFr(void) { return imageSet.IrFr; }
uint8_t *K274_GetImgIrBk(void) { return imageSet.IrBk; }
uint8_t *K274_GetImgIrbFr(void) { return imageSet.IrbFr; }
uint8_t *K274_GetImgIrbBk(void) { return imageSet.IrbBk; }
uint8_t *K274_GetImgUvFr(void) { return imageSet.UvFr; }
uint8_t *K274_GetImgUvBk(void) { return imageSet.UvBk; }
uint8_t *K274_GetImgSliFr(void) { return imageSet.SliFr; }
uint8_t *K274_GetImgSliBk(void) { return imageSet.SliBk; }
uint8_t *K274_GetImgEdge(void) { return imageSet.Edge; }
uint8_t *K274_GetImgMsIr(void) { return imageSet.MsIr; }
uint8_t *K274_GetImgMsBl(void) { return imageSet.MsBl; }

uint8_t *K274_GetCcdWccResp(void) { return &ccdPix.resp[0][0]; }
uint8_t *K274_GetCcdRawResp(void) { return &CcdRawResp[0][0]; }
uint8_t *K274_GetCcdCorResp(void) { return &CcdCorResp[0][0]; }
