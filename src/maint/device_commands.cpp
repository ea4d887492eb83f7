#include "src/maint/device_commands.h"

#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/rig.h"
#include "src/state/flags.h"
#include "src/state/locks.h"
#include "src/state/records.h"

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

void ResetScanner() {
    CmdPkt packet(command::kReset);
    transport.SendCmd(packet);
    log.Blank();
    log.Write("Reset    K274...");
}

bool LogIn(uint8_t flag) {
    LabJackSet(kRigLogIn, flag ? kRigLow : kRigHigh);
    CmdPkt packet(command::kLogIn, wire::sub::logIn::kSetFlag);
    packet.arg0 = flag;
    bool sent;
    {
        DeviceGuard guard(deviceLock);
        sent = transport.SendCmd(packet).Ok();
    }
    state.loginFlag = flag;
    return sent;
}

void PostUserLed(int32_t value) { Post(state.ledRequest, value); }
void PostUserBeep(uint8_t value) { Post(state.beepRequest, value); }
void PostEject() { Post(state.ejectRequest, 0); }

void SetLeds(uint8_t a, uint8_t b, uint8_t c) {
    CmdPkt packet(command::kLeds);
    packet.arg0 = a;
    packet.arg1 = b;
    packet.arg2 = c;
    DeviceGuard guard(deviceLock);
    transport.SendCmd(packet);
    transport.ReadPacketHdr(packet);
}

void GuiLedAging(uint8_t mode) {
    CmdPkt packet(command::kLedAging, mode);
    transport.SendCmd(packet);
}

void MechTest(uint8_t test, uint32_t first, uint32_t second) {
    CmdPkt packet(command::kMechanism, test);
    packet.SetDword0(first);
    packet.SetDword1(second);
    DeviceGuard guard(deviceLock);
    transport.SendCmd(packet);
    transport.ReadPacketHdr(packet);
}

bool ExchangeParameters(K274_Parameters &block, uint8_t mode) {
    if (mode == kWriteParameters && block.fields[wire::kParameterMarkAt] != wire::kParameterMark)
        return false;
    CmdPkt packet(command::kParameters, mode);
    for (int i = 0; i < wire::kParameters; ++i)
        wire::Store32(packet.payload + 4 * i, block.fields[i]);
    {
        std::unique_lock lock(deviceLock, std::try_to_lock);
        if (!lock || !FwCmd(packet))
            return false;
    }
    for (int i = 0; i < wire::kParameters; ++i)
        block.fields[i] = wire::Load32(packet.payload + 4 * i);
    if (mode == kReadBlock) {
        std::lock_guard guard(recordLock);
        records.metadata.parameter0 = block.fields[0];
        records.metadata.parameter1 = block.fields[1];
        records.metadata.parameter3 = block.fields[3];
    }
    return true;
}

bool ExchangeAfe(AfeRegisters &registers, uint8_t mode) {
    CmdPkt packet(command::kAfeRegisters, mode);
    for (int i = 0; i < kAfeWords; ++i)
        wire::Store16(packet.payload + 2 * i, registers.words[i]);
    {
        DeviceGuard guard(deviceLock);
        if (!FwCmd(packet))
            return false;
    }
    for (int i = 0; i < kAfeWords; ++i)
        registers.words[i] = wire::Load16(packet.payload + 2 * i);
    std::lock_guard guard(recordLock);
    records.afe = registers;
    return true;
}

bool ReadAfeRegisters(AfeRegisters &registers) {
    registers = {};
    return ExchangeAfe(registers, kReadBlock);
}

bool AfeRegs(AfeRegisters &registers, uint8_t mode) {
    const bool exchanged = ExchangeAfe(registers, mode);
    os::SleepMs(80);
    return exchanged;
}

} // namespace k274
