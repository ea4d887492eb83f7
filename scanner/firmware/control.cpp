// The control functions of the virtual scanner and the scanner that they control. The driver refers to
// TheScanner, which brings this file, and with it the exports, into the driver library.
#include "scanner/firmware/scanner.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>

namespace scanner {

Scanner &TheScanner() {
    static auto *const scanner = new Scanner(ReadEnvironment());
    return *scanner;
}

namespace {

// A text of its own for every thread, so that no call pulls it away from another thread's reader.
thread_local char lastError[512];

int32_t Fail(int32_t result, const char *why) {
    std::snprintf(lastError, sizeof lastError, "%s", why);
    return result;
}

class Locked {
public:
    Locked() : lock_(TheScanner().mutex) { lastError[0] = 0; }
    ~Locked() { TheScanner().changed.notify_all(); }
    Locked(const Locked &) = delete;
    Locked &operator=(const Locked &) = delete;
    Scanner *operator->() { return &TheScanner(); }
    DeviceState &State() { return TheScanner().device.State(); }

private:
    std::unique_lock<std::mutex> lock_;
};

bool SlotFree() { return Locked()->device.SlotFree(); }

} // namespace
} // namespace scanner

using scanner::Fail;
using scanner::Locked;

extern "C" {

int32_t VS_InsertCard(const char *folder) {
    if (folder == nullptr || folder[0] == 0)
        return Fail(VS_BAD_ARGUMENT, "no folder is named");
    constexpr const char *kBusy = "a card is in the slot or being scanned; wait until VS_CardWaiting says 0";
    if (!scanner::SlotFree())
        return Fail(VS_SLOT_BUSY, kBusy);
    std::shared_ptr<const scanner::Card> card;
    try {
        card = std::make_shared<const scanner::Card>(scanner::LoadCard(folder));
    } catch (const std::exception &error) {
        return Fail(VS_BAD_CARD, error.what());
    }
    // Somebody else may have been quicker meanwhile.
    if (!Locked()->device.InsertCard(std::move(card)))
        return Fail(VS_SLOT_BUSY, kBusy);
    return VS_OK;
}

int32_t VS_SetCards(const char *folder) {
    std::vector<std::string> folders;
    if (folder != nullptr && folder[0] != 0) {
        try {
            folders = scanner::ListCards(folder);
        } catch (const std::exception &error) {
            return Fail(VS_BAD_CARD, error.what());
        }
    }
    Locked()->SetCards(std::move(folders));
    return VS_OK;
}

int32_t VS_CardWaiting(void) {
    Locked locked;
    return !locked->device.SlotFree() || locked->CardsWaiting() ? 1 : 0;
}

void VS_OpenDoor(void) { Locked()->device.OpenDoor(); }
void VS_CloseDoor(void) { Locked()->device.CloseDoor(); }
void VS_PressEject(void) { Locked()->device.PressEject(); }

int32_t VS_PostEvent(const char *text) {
    if (text == nullptr || text[0] == 0 || std::strlen(text) > wire::event::kMostTextBytes)
        return Fail(VS_BAD_ARGUMENT, "an event text has 1 to 127 characters");
    if (!Locked().State().events.Post(text))
        return Fail(VS_QUEUE_FULL, "the scanner holds as many events as it can; let the host fetch some");
    return VS_OK;
}

void VS_Unplug(void) { Locked()->Unplug(); }
void VS_PlugIn(void) { Locked()->PlugIn(); }
void VS_RestartFirmware(void) { Locked()->device.Restart(); }
const char *VS_LastError(void) { return scanner::lastError; }

int32_t VS_SetSpeed(double factor) {
    if (!scanner::UsableSpeed(factor))
        return Fail(VS_BAD_ARGUMENT, "a speed is a number from 0 upwards");
    Locked()->clock.SetSpeed(factor);
    return VS_OK;
}

void VS_SetSeed(uint32_t seed) { Locked()->device.SetSeed(seed); }

void VS_GetIdentity(VS_Identity *identity) {
    if (identity == nullptr)
        return;
    Locked locked;
    scanner::AdvanceProgramming(locked.State());
    *identity = locked.State().identity;
}

void VS_SetIdentity(const VS_Identity *identity) {
    if (identity == nullptr)
        return;
    Locked locked;
    scanner::DeviceState &device = locked.State();
    device.identity = *identity;
    device.stored.firmwareMissing = false;
    device.flashFile.Keep(device);
}

void VS_SetAfeRegisters(const uint16_t registers[26]) {
    if (registers == nullptr)
        return;
    Locked locked;
    scanner::DeviceState &device = locked.State();
    std::copy_n(registers, scanner::kAfeWords, device.afe.begin());
    device.stored.afe = device.afe;
    device.flashFile.Keep(device);
}

int32_t VS_SetCalibrationRecord(const uint8_t *record, uint32_t size) {
    Locked locked;
    scanner::DeviceState &device = locked.State();
    if (record == nullptr)
        device.calibration.Follow(device.lines.Lamps());
    else
        device.calibration.Set(record, size);
    device.flashFile.Keep(device);
    return VS_OK;
}

int32_t VS_SetTransportJitter(double columns) {
    if (!scanner::UsableJitter(columns))
        return Fail(VS_BAD_ARGUMENT, "a transport's jitter is a number from 0 to 16");
    Locked().State().lines.SetJitter(scanner::JitterOf(columns));
    return VS_OK;
}

int32_t VS_SetLensBlur(int32_t pixels) {
    constexpr int32_t kMost = 32;
    if (pixels < 0 || pixels > kMost)
        return Fail(VS_BAD_ARGUMENT, "a lens is from 0 to 32 pixels from sharp");
    Locked().State().lensBlur = pixels;
    return VS_OK;
}

int32_t VS_SetStillDefects(const VS_StillDefects *defects) {
    scanner::StillDefects taken;
    if (defects != nullptr) {
        constexpr uint32_t kPixels = scanner::kLinePixels, kLevels = 255, kNoise = 64;
        if (defects->deadFirst >= kPixels || defects->deadCount > kPixels || defects->stepPixel >= kPixels ||
            defects->stepLevels > kLevels || defects->noise > kNoise)
            return Fail(VS_BAD_ARGUMENT, "a value of the defects is outside its range");
        taken = {static_cast<int>(defects->deadFirst), static_cast<int>(defects->deadCount),
                 static_cast<int>(defects->stepPixel), static_cast<int>(defects->stepLevels),
                 static_cast<int>(defects->noise)};
    }
    Locked().State().still.defects = taken;
    return VS_OK;
}

void VS_GetObserved(VS_Observed *observed) {
    if (observed == nullptr)
        return;
    Locked locked;
    scanner::AdvanceProgramming(locked.State());
    *observed = locked->device.Observed();
}

int32_t VS_ArmFault(const VS_Fault *fault) {
    if (fault == nullptr || !Locked()->faults.Arm(*fault))
        return Fail(VS_BAD_ARGUMENT, "a value of the fault is outside its list");
    return VS_OK;
}

void VS_ClearFaults(void) { Locked()->faults.Clear(); }

} // extern "C"
