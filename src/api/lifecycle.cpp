#include "src/api/lifecycle.h"

#include "platform/os/os.h"
#include "src/decoders/barcode.h"
#include "src/link/attach.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/device_commands.h"
#include "src/maint/rig.h"
#include "src/saved/saved_scan.h"
#include "src/scan/monitor.h"
#include "src/state/life_cycle.h"
#include "src/state/line_buffers.h"
#include "src/state/settings.h"

#include <mutex>

namespace k274 {

namespace {

void CloseSession() {
    DebugLeds(kStateLed, 0);
    CmdPkt packet(command::kClose);
    transport.SendCmd(packet);
    transport.ReadPacketHdr(packet);
    DriverUninit();
    os::SleepMs(20);
}

bool Move(Life from, Life to) {
    std::lock_guard guard(lifeCycle.lock);
    if (lifeCycle.life != from)
        return false;
    lifeCycle.life = to;
    return true;
}

// A missing or wrong reply is no error.
int32_t GreetScanner() {
    CmdPkt packet(command::kOpen);
    const Outcome sent = transport.SendCmd(packet);
    transport.ReadPacketHdr(packet);
    return static_cast<int32_t>(sent.status);
}

int32_t OpenSession() {
    ResetScanHeader();
    os::SleepMs(100);
    log.Open();
    settings.FixPath();
    settings.LoadSettings();
    const int32_t result = OpenLink();
    StartMonitor();
    return result;
}

} // namespace

int32_t OpenLink() {
    LabJackOpen();
    SdVersion();
    const auto opened = static_cast<int32_t>(DriverInit());
    const int32_t result = opened == 0 ? GreetScanner() : opened;
    contrastTable = BuildContrastTable();
    return result;
}

int32_t StartLibrary() {
    // A start without a stop in between closes the running session first. Another thread that starts or
    // stops at this moment is waited for.
    while (!Move(Life::Closed, Life::Opening)) {
        StopLibrary();
        os::SleepMs(1);
    }
    const int32_t result = OpenSession();
    bool close;
    {
        std::lock_guard guard(lifeCycle.lock);
        close = lifeCycle.closeRequested;
        lifeCycle.closeRequested = false;
        lifeCycle.life = Life::Open;
    }
    if (close)
        StopLibrary();
    return result;
}

void StopLibrary() {
    {
        std::lock_guard guard(lifeCycle.lock);
        if (lifeCycle.life == Life::Opening)
            lifeCycle.closeRequested = true;
        if (lifeCycle.life != Life::Open)
            return;
        lifeCycle.life = Life::Closing;
    }
    StopMonitor();
    DrawBarcodeTicket(); // decoders that are still at work are abandoned
    CloseSession();
    Move(Life::Closing, Life::Closed);
}

} // namespace k274
