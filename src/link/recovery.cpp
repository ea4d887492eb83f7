// The recovery steps of the transport, from the mildest up: pipe reset, hard reset, port cycle. Callers that
// retry an exchange use ResetDevice first; the monitor thread cycles the port after two bad polls in a row.
#include "platform/os/os.h"
#include "platform/windriver/wdapi.h"
#include "src/link/attach.h"
#include "src/link/transport.h"
#include "src/log/log.h"

namespace k274 {

namespace {

constexpr uint32_t kOfflineWaitMs = 500; // for the scanner to go
constexpr uint32_t kCycleWaitMs = 1000;  // in all, for it to come back
constexpr uint32_t kStepMs = 10;

// Without a scanner the driver is asked for nothing, and the step counts as failed.
uint32_t DriverReset(uint32_t option) {
    void *device = deviceLink.device;
    return device ? WDU_ResetDevice(device, option) : kNoDeviceRead;
}

uint32_t DriverResetPipe(uint32_t pipe) {
    void *device = deviceLink.device;
    return device ? WDU_ResetPipe(device, pipe) : kNoDeviceRead;
}

} // namespace

bool Transport::ResetPipes() {
    os::SleepMs(10);
    const uint32_t in = DriverResetPipe(wire::kInPipe);
    const uint32_t out = DriverResetPipe(wire::kOutPipe);
    lastResetStatus_ = out;
    const bool ok = in == 0 && out == 0;
    log.Usb(ok ? "Reset Pipe OK" : "Reset Pipe ERR");
    return ok;
}

bool Transport::HardReset() {
    os::SleepMs(20);
    log.Usb("Hard Reset...");
    lastResetStatus_ = DriverReset(wire::driver::kHardReset);
    const bool ok = lastResetStatus_ == 0;
    log.Usb(ok ? "Reset Port OK" : "Reset Port ERR");
    return ok;
}

void Transport::CyclePort() {
    os::SleepMs(100);
    log.Usb("Cycle Port...");
    lastResetStatus_ = DriverReset(wire::driver::kCyclePort);
    log.Usb(lastResetStatus_ == 0 ? "Cycle Port OK" : "Cycle Port ERR");
    uint32_t waited = 0;
    for (; deviceLink.online && waited < kOfflineWaitMs; waited += kStepMs)
        os::SleepMs(kStepMs);
    log.Usb("Cycle Port offline");
    for (; !deviceLink.online && waited < kCycleWaitMs; waited += kStepMs)
        os::SleepMs(kStepMs);
    log.Usb(deviceLink.online ? "Cycle Port ONLINE" : "Cycle Port OFFLINE");
}

void Transport::ResetDevice() {
    os::SleepMs(100);
    HardReset();
    os::SleepMs(200);
}

} // namespace k274
