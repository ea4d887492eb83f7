#include "src/maint/device_commands.h"

#include "src/common/locks.h"
#include "src/common/state.h"
#include "src/link/transport.h"
#include "src/maint/rig.h"

namespace k274 {

namespace {

constexpr int32_t kRequestMark = 0x100; // tells a posted 0 from an empty mailbox
constexpr uint32_t kPostWaitMs = 20;

void Post(std::atomic<int32_t> &mailbox, int32_t value) {
    mailbox = value | kRequestMark;
    os::SleepMs(kPostWaitMs);
}

} // namespace

void DebugLeds(uint8_t led, uint8_t on) {
    constexpr int32_t kRigLines[] = {kRigLed0, kRigLed1, kRigScan, kRigLed3};
    if (led < 4)
        LabJackSet(kRigLines[led], on ? kRigHigh : kRigLow);
    CmdPkt packet(command::kDebugLed);
    packet.arg0 = led;
    packet.arg1 = on;
    {
        DeviceGuard guard(deviceLock);
        transport.SendCmd(packet);
    }
    os::SleepMs(10);
}

uint8_t LogIn(uint8_t flag) {
    LabJackSet(kRigLogIn, flag ? kRigLow : kRigHigh);
    CmdPkt packet(command::kLogIn, 2);
    packet.arg0 = flag;
    uint32_t status;
    {
        DeviceGuard guard(deviceLock);
        status = transport.SendCmd(packet);
    }
    state.loginFlag = flag;
    return status == 0 ? 1 : 0;
}

void PostUserLed(int32_t value) { Post(state.ledRequest, value); }
void PostUserBeep(uint8_t value) { Post(state.beepRequest, value); }
void PostEject() { Post(state.ejectRequest, 0); }

bool ReadAfeRegisters(AfeRegisters &registers) {
    CmdPkt packet(command::kAfeRegisters);
    {
        DeviceGuard guard(deviceLock);
        if (!FwCmd(packet))
            return false;
    }
    for (int i = 0; i < kAfeWords; ++i)
        registers.words[i] = Load16(packet.payload + 2 * i);
    return true;
}

} // namespace k274
