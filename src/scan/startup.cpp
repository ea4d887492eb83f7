#include "src/scan/startup.h"

#include "src/common/text.h"
#include "src/decoders/barcode.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/ccd_load.h"
#include "src/maint/device_commands.h"
#include "src/maint/programming.h"
#include "src/maint/version.h"
#include "src/state/flags.h"
#include "src/state/locks.h"
#include "src/state/notify.h"
#include "src/state/records.h"
#include "wire/status.h"
#include "wire/version.h"

#include <algorithm>

namespace k274 {

namespace {

constexpr int32_t kExpectedBarcodeMajor = 1;
constexpr int32_t kExpectedBarcodeMinor = 5;

// AFE registers that hold 10-bit values; 4, 5 and 15 upwards hold others.
constexpr int kCheckedAfeWords[] = {0, 1, 2, 3, 6, 7, 8, 9, 10, 11, 12, 13, 14};
constexpr uint16_t kLargestAfeValue = 999;
constexpr int kAfeGain = 1;
constexpr int kAfeExposure = 9;

int32_t Number(const uint8_t (&version)[3]) { return version[0] << 16 | version[1] << 8 | version[2]; }

void CheckBarcodeLibrary(const DecoderVersion &found) {
    if (found.major == kExpectedBarcodeMajor && found.minor == kExpectedBarcodeMinor)
        return;
    log.Write(Format("Barcode ver error, is: %d.%d SB: %d.%d", found.major, found.minor,
                     kExpectedBarcodeMajor, kExpectedBarcodeMinor));
    DebugLeds(kStateLed, 3);
    RaiseScanState(K274_STATE_BARCODE_LIB_DIFFERS);
}

void CheckAfeRegisters() {
    AfeRegisters afe;
    if (!ReadAfeRegisters(afe))
        return;
    if (std::none_of(std::begin(kCheckedAfeWords), std::end(kCheckedAfeWords),
                     [&](int word) { return afe.words[word] > kLargestAfeValue; }))
        return;
    log.Write(
        Format("AFE register error exposure=%d, gain=%d", afe.words[kAfeExposure], afe.words[kAfeGain]));
    RaiseScanState(K274_STATE_AFE_ERROR);
}

// A version of three parts, whose last one is shown only when it is not 0.
FixedText<128> VersionLine(const char *label, const uint8_t (&version)[3]) {
    if (version[2] == 0)
        return Format("init,    %s ver %d.%d", label, version[0], version[1]);
    return Format("init,    %s ver %d.%d.%d", label, version[0], version[1], version[2]);
}

void UpgradeFirmware() {
    const uint8_t *version = wire::kVersion;
    if (const int32_t holdOff = state.firmwareHoldOff) {
        log.Write(Format("fwver,   Firmware recently updated, tmr = %d", holdOff));
        return;
    }
    ProgramFirmware(nullptr);
    RaiseScanState(K274_STATE_FIRMWARE_UPGRADE);
    log.Write(Format("fwver,   Forced firmware update to ver %d.%d.%d", version[0], version[1], version[2]));
}

void CompareFirmware(const uint8_t (&firmware)[3]) {
    if (Number(firmware) == Number(wire::kVersion))
        return;
    const uint8_t *is = firmware;
    const uint8_t *shouldBe = wire::kVersion;
    if (Number(firmware) < Number(wire::kVersion) && state.autoFwUpgrade) {
        UpgradeFirmware();
        return;
    }
    RaiseScanState(K274_STATE_FIRMWARE_DIFFERS);
    log.Write(Format("fwver,   Firmware ver error, is: %d.%d.%d SB: %d.%d.%d", is[0], is[1], is[2],
                     shouldBe[0], shouldBe[1], shouldBe[2]));
}

void CheckVersions(const DecoderVersion &found) {
    {
        std::lock_guard guard(recordLock);
        std::copy(std::begin(wire::kVersion), std::end(wire::kVersion), records.version.library);
        records.version.barcodeLibrary[0] = static_cast<uint8_t>(found.major);
        records.version.barcodeLibrary[1] = static_cast<uint8_t>(found.minor);
    }
    log.Write(Format("init,    SD2      ver %d.%d", found.major, found.minor));
    log.Write(VersionLine("DLL     ", wire::kVersion));
    if (!ReadVersion())
        return;
    // Written by this thread alone, so that it reads without the lock.
    const K274_Version &version = records.version;
    log.Write(VersionLine("Firmware", version.firmware));
    log.Write(Format("init,    FPGA     ver %d.%d", version.fpga[0], version.fpga[1]));
    log.Write(Format("init,    Hardware ver %d", version.hardware));
    log.Write(Format("init,    Norvex,  SN  %d, SSN %d", version.serialNumber, version.serialNumber2Low));
    CompareFirmware(version.firmware);
}

} // namespace

void StartupChecks() {
    const DecoderVersion found = BarcodeLibraryVersion();
    CheckBarcodeLibrary(found);
    CheckAfeRegisters();
    CheckVersions(found);
    log.Blank();
}

bool SyncFirmware() {
    CmdPkt packet(command::kMechanism, wire::sub::mechanism::kState);
    transport.SendCmd(packet);
    transport.ReadPacketHdr(packet);
    if (!(packet.Word(wire::mechanism::kFlags) & wire::mechanism::kWantsFirmware)) {
        StartupChecks();
        return false;
    }
    // Written by the polling thread alone, which this is.
    if (records.status.device17 == wire::status::kProgramming)
        return false;
    log.Write("fwupg,   Syncing firmware to DLL's version...");
    ProgFlash(nullptr);
    return true;
}

void HandleReset() {
    SetScanStateUnlocked(K274_STATE_DEVICE_RESET);
    ReadVersion();
    LoadCcdTables();
    SyncFirmware();
}

} // namespace k274
