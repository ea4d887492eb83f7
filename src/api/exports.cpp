// The exports: each hands on to the function that does the work.
#include "include/k274.h"

#include "src/analysis/jitter.h"
#include "src/api/lifecycle.h"
#include "src/capture/ccd_pix.h"
#include "src/capture/merge.h"
#include "src/decoders/barcode.h"
#include "src/decoders/jitter_step.h"
#include "src/decoders/reparse.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/device_commands.h"
#include "src/maint/flash_data.h"
#include "src/maint/focus.h"
#include "src/maint/options.h"
#include "src/maint/programming.h"
#include "src/maint/rig.h"
#include "src/maint/still_image.h"
#include "src/maint/usb_test.h"
#include "src/passes/hires_pass.h"
#include "src/passes/line_transfer.h"
#include "src/saved/saved_scan.h"
#include "src/saved/work_images.h"
#include "src/state/capture_state.h"
#include "src/state/flags.h"
#include "src/state/image_set.h"
#include "src/state/locks.h"
#include "src/state/measures.h"
#include "src/state/monitor_record.h"
#include "src/state/records.h"
#include "src/state/settings.h"

#include <algorithm>
#include <cstring>

using namespace k274;

namespace {

// A caller without a buffer gets nothing.
template <typename Record>
void CopyOut(void *to, const Record &record) {
    if (to)
        std::memcpy(to, &record, sizeof record);
}

size_t RecordLength(int32_t length) {
    return static_cast<size_t>(std::clamp<int32_t>(length, 0, kRecordBytes));
}

uint8_t CopyRecordOut(DataRecord which, uint8_t *buffer, int32_t length) {
    uint8_t record[kRecordBytes];
    const RecordRead read = ReadRecord(which, record);
    if (buffer && read != RecordRead::Busy)
        std::memcpy(buffer, record, RecordLength(length));
    return read == RecordRead::Done ? 1 : 0;
}

uint8_t WriteRecordFrom(DataRecord which, const uint8_t *data, int32_t length) {
    uint8_t record[kRecordBytes] = {};
    if (!data)
        return 0;
    std::memcpy(record, data, RecordLength(length));
    return WriteRecord(which, record) ? 1 : 0;
}

} // namespace

// ---- life ----

int32_t K274_Init(int32_t) { return StartLibrary(); }
void K274_Close(void) { StopLibrary(); }
void K274_RegNewScanCB(K274_ScanStateCallback callback) { state.callback = callback; }
void K274_Reset(void) { ResetScanner(); }

void K274_Clear(uint8_t fill) {
    state.cleared = 1;
    ClearImages(fill);
    ClearBarcodeForHost();
    ClearMagnetic();
    CmdPkt packet(command::kClear);
    transport.SendCmd(packet);
}

// ---- link and status ----

uint8_t K274_UsbIsOnline(void) { return state.linkState == kLinkOnline ? 1 : 0; }
uint32_t K274_ScanState(void) { return state.statusWord; }

void K274_UpdateStatus(void *record) {
    std::lock_guard guard(recordLock);
    CopyOut(record, records.status);
}

void K274_GetVersion(void *record) {
    std::lock_guard guard(recordLock);
    CopyOut(record, records.version);
}

uint32_t K274_GefXfrErrs(void) { return records.transferErrors; }
void K274_ClrXfrErrs(void) { records.transferErrors = 0; }
void K274_Verbose(uint32_t level) { transport.SetVerbose(level); }

// ---- log ----

void K274_SetLogPath(const char *directory) { log.SetPath(directory); }

void K274_Log(const char *text) {
    if (!text)
        return;
    log.Post(text);
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
void K274_ReSend(void) { state.resendRequest = 1; }
void K274_DebugLEDs(uint8_t led, uint8_t on) { DebugLeds(led, on); }
uint8_t K274_LogIn(uint8_t flag) { return LogIn(flag) ? 1 : 0; }
uint32_t K274_RdCcUv(void) { return ReadFirstRgbPixels(); }

// ---- stripe and barcodes ----

void K274_GetMag(void *record) {
    std::lock_guard guard(recordLock);
    CopyOut(record, records.magnetic);
}
void K274_GetBC(void *record) {
    std::lock_guard guard(barcode.lock);
    CopyOut(record, barcode.record);
}
void K274_SetBcdOpt(uint8_t flag) { barcode.enabled = flag; }
void K274_SetBcDecMode(int32_t mode) { SetDecodeMode(mode); }
int32_t K274_GetBcDecMode(void) { return barcode.decodeMode; }
uint32_t K274_GetBcDec1Cnt(void) { return barcode.dec1Count; }
uint32_t K274_GetBcDec2Cnt(void) { return barcode.dec2Count; }
uint32_t K274_GetBcDecKCnt(void) { return barcode.decKCount; }
int32_t K274_ReParseBC(const uint8_t *image, int32_t rows, int32_t columns, int32_t format) {
    return ReParse(image, rows, columns, format);
}

// ---- scan files ----

int32_t K274_Save(const char *path) { return SaveScan(path); }
int32_t K274_Open(const char *path, uint32_t *variant) { return OpenScan(path, variant); }
void K274_GetInfo(void *information) {
    if (information)
        CopyScanInfo(information);
}
void K274_SaveImages(uint16_t which) { DumpWorkImage(which); }

// ---- programming ----

int32_t K274_ProgFlash(const char *path) { return ProgramFirmware(path); }
void K274_FormatFlash(void) { FormatFlash(); }
void K274_EraseFPGA(void) { EraseFpga(); }
int32_t K274_ProgFpga(const char *path) { return ProgFpga(path, true); }
int32_t K274_ProgFpgaEx(const char *path) { return ProgFpga(path, false); }

// ---- data areas and registers ----

uint8_t K274_RdFlashData(uint8_t *buffer, uint16_t block) {
    uint8_t bytes[kFlashBlockBytes];
    if (!buffer || !ReadFlashBlock(bytes, block))
        return 0;
    std::memcpy(buffer, bytes, sizeof bytes);
    return 1;
}
uint8_t K274_RdFactData(uint8_t *buffer, int32_t length) {
    return CopyRecordOut(DataRecord::Factory, buffer, length);
}
uint8_t K274_WrFactData(const uint8_t *data, int32_t length) {
    return WriteRecordFrom(DataRecord::Factory, data, length);
}
uint8_t K274_RdUserData(uint8_t *buffer, int32_t length) {
    return CopyRecordOut(DataRecord::User, buffer, length);
}
uint8_t K274_WrUserData(const uint8_t *data, int32_t length) {
    return WriteRecordFrom(DataRecord::User, data, length);
}
int32_t K274_Params(void *block, uint8_t mode) {
    K274_Parameters parameters;
    if (!block)
        return -1;
    std::memcpy(&parameters, block, sizeof parameters);
    if (!ExchangeParameters(parameters, mode))
        return -1;
    std::memcpy(block, &parameters, sizeof parameters);
    return 0;
}
int32_t K274_GetParams(void *block) {
    K274_Params(block, kReadBlock);
    return 0;
}
int32_t K274_AfeRegs(void *block, uint8_t mode) {
    AfeRegisters registers;
    static_assert(sizeof registers == sizeof(K274_Afe));
    if (!block)
        return -1;
    std::memcpy(&registers, block, sizeof registers);
    if (!AfeRegs(registers, mode))
        return -1;
    std::memcpy(block, &registers, sizeof registers);
    return 0;
}
int32_t K274_SaveWcc(const uint8_t *response) {
    constexpr int32_t kNotSaved = 6;
    return response && SaveWcc(response) ? 0 : kNotSaved;
}

// ---- maintenance ----

void K274_SetLEDs(uint8_t a, uint8_t b, uint8_t c) { SetLeds(a, b, c); }
void K274_GuiLedAging(uint8_t mode) { GuiLedAging(mode); }
void K274_MechTest(uint8_t test, uint32_t first, uint32_t second) { MechTest(test, first, second); }
int32_t K274_UsbTest(int32_t n, uint32_t length) { return UsbTest(n, length); }
void K274_LabJack(int32_t channel, int32_t action) { LabJack(channel, action); }
uint8_t K274_GetFocusImg(uint8_t mode, uint8_t parameter) { return FocusImage(mode, parameter, nullptr); }
uint8_t K274_GetFocImgAry(uint8_t *image) {
    constexpr uint8_t kParameter = 1;
    if (image)
        FocusImage(kFocusKeep, kParameter, image);
    return 1;
}
int32_t K274_StillImage(uint8_t *image) { return image && StillImage(image) ? 0 : -1; }
void K274_SiRes(const uint8_t *image) {
    if (image)
        ReanalyseStill(image);
}
void K274_SiDat(void *result) {
    if (result)
        CopyStillData(result);
}
void K274_SiAry(void *profiles) {
    if (profiles)
        CopyStillProfiles(profiles);
}
int32_t K274_JitterTest(void) { return JitterTest(); }
void K274_JitterCheck(uint8_t on) { state.jitterCheck = on; }

// ---- 1200 dpi ----

int32_t K274_1200F(void) {
    Capture1200F();
    return 0;
}
int32_t K274_1200S(void) {
    Process1200S();
    return 0;
}
void K274_MergeImg(uint8_t *image) {
    if (image)
        MergeImage(mergeHistory, image);
}

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
void K274_UpdateFT(void *profile) { CopyOut(profile, measures.ftProfile); }
