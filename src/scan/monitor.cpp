#include "src/scan/monitor.h"

#include "platform/os/os.h"
#include "src/common/running.h"
#include "src/link/attach.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/rig.h"
#include "src/maint/usb_test.h"
#include "src/scan/link_state.h"
#include "src/scan/resend.h"
#include "src/scan/sequence.h"
#include "src/scan/startup.h"
#include "src/scan/status.h"
#include "src/state/flags.h"
#include "src/state/locks.h"
#include "src/state/monitor_record.h"
#include "src/state/notify.h"
#include "src/state/renew.h"

#include <mutex>

namespace k274 {

namespace {

constexpr uint32_t kStartDelayMs = 200;
constexpr uint32_t kPassIntervalMs = 100;

// Status words of a card under way: bits 0x01 to 0x10, at least one.
constexpr uint32_t kFirstScanWord = 1;
constexpr uint32_t kLastScanWord = 31;

// A thread whose session is over does not begin.
bool Begin(uint32_t own) {
    std::lock_guard guard(monitorTurn.sessionLock);
    if (own != monitorTurn.currentSession)
        return false;
    running = true;
    return true;
}

void SendGuiScan() {
    CmdPkt packet(command::kGuiScan);
    DeviceGuard guard(deviceLock);
    transport.SendCmd(packet);
    transport.ReadPacketHdr(packet);
    state.guiScanRequest = 0;
}

void Start() {
    RenewSession();
    monitor.startTime = os::CalendarSeconds();
    os::SleepMs(kStartDelayMs);
    if (!Running()) // closed meanwhile: there is nothing to tell any more
        return;
    LinkStart(PollStatus() != kPollFailed);
    {
        DeviceGuard guard(deviceLock);
        StartupChecks();
    }
    DeliverRaisedStates();
    LabJackSet(kRigScan, kRigLow);
    LabJackSet(kRigSpare, kRigLow);
}

// One pass of the loop; returns the wait before the next one.
uint32_t Pass() {
    monitor.uptime = static_cast<double>(os::CalendarSeconds() - monitor.startTime);
    if (state.firmwareHoldOff > 0)
        --state.firmwareHoldOff;
    if (UsbTestRuns())
        return kPassIntervalMs;
    if (state.guiScanRequest) {
        SendGuiScan();
        return 0;
    }
    PollStatus();
    const bool sendGood = transport.LastSendWentOut();
    if (state.linkState != kLinkOnline || !sendGood) {
        LinkStep(sendGood);
        return kPassIntervalMs;
    }
    const uint32_t word = state.statusWord;
    if (word >= kFirstScanWord && word <= kLastScanWord) {
        state.cleared = 0;
        LabJackSet(kRigScan, kRigHigh);
        ScanSequence();
        LabJackSet(kRigScan, kRigLow);
    } else if (state.resendRequest) {
        if (deviceLink.online && !state.cleared)
            ResendLastScan();
        state.resendRequest = 0;
    }
    log.FlushDeferred();
    return kPassIntervalMs;
}

void Run(void *argument) {
    const auto own = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(argument));
    std::lock_guard slot(monitorTurn.slot);
    if (!Begin(own))
        return;
    Start();
    while (Running()) {
        const uint32_t wait = Pass();
        if (Running())
            os::SleepMs(wait);
    }
}

} // namespace

void StartMonitor() {
    uint32_t own;
    {
        std::lock_guard guard(monitorTurn.sessionLock);
        own = ++monitorTurn.currentSession;
    }
    os::StartThread(Run, reinterpret_cast<void *>(static_cast<uintptr_t>(own)));
}

void StopMonitor() {
    std::lock_guard guard(monitorTurn.sessionLock);
    ++monitorTurn.currentSession;
    running = false;
}

} // namespace k274
