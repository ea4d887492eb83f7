#include "src/maint/usb_test.h"

#include "src/common/text.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/state/flags.h"
#include "src/state/locks.h"

namespace k274 {

namespace {

// Numbers that stand for a step of the recovery ladder.
constexpr int32_t kCyclePort = 0xFFFFF, kHardReset = 0xFFFFE, kResetPipes = 0xFFFFD;

constexpr int32_t kFirstRunning = 1, kLastRunning = 3999998;
constexpr int32_t kReportInterval = 2000;
constexpr int32_t kExchangesPerMegabyte = 20;

UsbTestResult Exchange(int32_t number, uint32_t length) {
    if (number == 1)
        log.Usb("Loopback test Starting...\n");
    CmdPkt packet(command::kLoopback);
    packet.SetDword0(static_cast<uint32_t>(number));
    packet.SetDword1(length);
    if (!transport.SendCmd(packet).Ok()) {
        log.Usb("Loopback test SendCmd error");
        return kUsbTestNotSent;
    }
    // A reply that the buffer cannot hold is not waited for.
    if (length <= kTransferBufferSize - kReplyDataOffset && transport.ReadData(length).Ok())
        return kUsbTestDone;
    log.Usb("Loopback test ReadPacket error-1");
    return kUsbTestNoReply;
}

UsbTestResult Step(int32_t number, uint32_t length) {
    switch (number) {
    case kCyclePort:
        log.Write("");
        transport.CyclePort();
        return kUsbTestDone;
    case kHardReset:
        log.Write("");
        transport.HardReset();
        return kUsbTestDone;
    case kResetPipes:
        log.Write("");
        transport.ResetPipes();
        return kUsbTestDone;
    default:
        return Exchange(number, length);
    }
}

} // namespace

UsbTestResult UsbTest(int32_t number, uint32_t length) {
    state.loopbackCount = number;
    if (number == 0 && length == 0)
        return kUsbTestDone;
    DeviceGuard guard(deviceLock);
    const UsbTestResult result = Step(number, length);
    if ((number != 0 && number % kReportInterval == 0) || result != kUsbTestDone)
        log.Usb(Format("Loopback sent %d MB", number / kExchangesPerMegabyte));
    return result;
}

bool UsbTestRuns() {
    const int32_t count = state.loopbackCount;
    return count >= kFirstRunning && count <= kLastRunning;
}

} // namespace k274
