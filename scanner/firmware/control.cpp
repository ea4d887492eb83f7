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
    if (text == nullptr || text[0] == 0 || std::strlen(text) > scanner::kMaxEventText)
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
    if (identity != nullptr)
        *identity = Locked().State().identity;
}

void VS_SetIdentity(const VS_Identity *identity) {
    if (identity != nullptr)
        Locked().State().identity = *identity;
}

void VS_SetAfeRegisters(const uint16_t registers[26]) {
    if (registers != nullptr)
        std::copy_n(registers, scanner::kAfeWords, Locked().State().afe.begin());
}

int32_t VS_SetCalibrationRecord(const uint8_t *record, uint32_t size) {
    Locked locked;
    if (record == nullptr)
        locked.State().calibration.Follow(locked.State().lines.Lamps());
    else
        locked.State().calibration.Set(record, size);
    return VS_OK;
}

void VS_GetObserved(VS_Observed *observed) {
    if (observed != nullptr)
        *observed = Locked()->device.Observed();
}

int32_t VS_ArmFault(const VS_Fault *fault) {
    if (fault == nullptr || !Locked()->faults.Arm(*fault))
        return Fail(VS_BAD_ARGUMENT, "a value of the fault is outside its list");
    return VS_OK;
}

void VS_ClearFaults(void) { Locked()->faults.Clear(); }

} // extern "C"
