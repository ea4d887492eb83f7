#include "src/api/lifecycle.h"

#include "platform/os/os.h"
#include "src/api/settings.h"
#include "src/carddata/barcode.h"
#include "src/link/session.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/device_commands.h"
#include "src/scan/monitor.h"
#include "src/tiff/scan_state.h"

#include <mutex>

namespace k274 {

namespace {

enum class Life { Closed, Opening, Open, Closing };

std::mutex lifeLock; // guards the two values below, for a moment each time
Life life = Life::Closed;
bool closeRequested = false; // K274_Close came while the library was opening

void CloseSession() {
    DebugLeds(kStateLed, 0);
    CmdPkt packet(command::kClose);
    transport.SendCmd(packet);
    transport.ReadPacketHdr(packet);
    session.Close();
    os::SleepMs(20);
}

bool Move(Life from, Life to) {
    std::lock_guard guard(lifeLock);
    if (life != from)
        return false;
    life = to;
    return true;
}

int32_t OpenSession() {
    ResetScanHeader();
    os::SleepMs(100);
    log.Open();
    settings.FixPath();
    settings.LoadSettings();
    const int32_t result = session.Start();
    StartMonitor();
    return result;
}

} // namespace

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
        std::lock_guard guard(lifeLock);
        close = closeRequested;
        closeRequested = false;
        life = Life::Open;
    }
    if (close)
        StopLibrary();
    return result;
}

void StopLibrary() {
    {
        std::lock_guard guard(lifeLock);
        if (life == Life::Opening)
            closeRequested = true;
        if (life != Life::Open)
            return;
        life = Life::Closing;
    }
    StopMonitor();
    DrawBarcodeTicket(); // decoders that are still at work are abandoned
    CloseSession();
    Move(Life::Closing, Life::Closed);
}

} // namespace k274
