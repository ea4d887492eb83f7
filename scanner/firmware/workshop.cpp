// What a workshop asks for: LEDs one by one, lamps that age, tests of the mechanism and of the cable.
#include "scanner/firmware/command_table.h"

#include <algorithm>

namespace scanner {
namespace {

constexpr size_t kFirstAt = 44, kSecondAt = 52;

} // namespace

Answer SetLeds(DeviceState &device, const Command &command) {
    std::copy_n(command.arg, 3, device.observed.ledBytes);
    device.reply.Begin(command, kHeaderBytes, Tells::Nothing);
    return Answer::Reply;
}

Answer LedAging(DeviceState &device, const Command &command) {
    device.observed.agingMode = command.sub;
    return Answer::None;
}

Answer Mechanism(DeviceState &device, const Command &command) {
    constexpr uint8_t kState = 1;
    constexpr size_t kFlagsAt = 42;
    constexpr unsigned kWantsFirmware = 0x10;
    constexpr uint8_t kCardInTheWay = 1;
    uint8_t *reply = device.reply.Begin(command, kHeaderBytes, Tells::Nothing);
    if (command.sub == kState) {
        Put16(reply + kFlagsAt, device.stored.firmwareMissing ? kWantsFirmware : 0);
        return Answer::Reply;
    }
    if (device.status.Scanning()) { // the transport is needed
        reply[2] = kCardInTheWay;
        return Answer::Reply;
    }
    device.observed.mechTests++;
    device.observed.lastMechTest = command.sub;
    device.observed.mechParameters[0] = command.dword0;
    device.observed.mechParameters[1] = command.dword1;
    Put32(reply + kFirstAt, command.dword0);
    Put32(reply + kSecondAt, command.dword1);
    return Answer::Reply;
}

Answer Loopback(DeviceState &device, const Command &command) {
    constexpr uint32_t kMostBytes = kMaxReplyBytes - kHeaderBytes;
    constexpr uint8_t kTooLong = 1;
    device.observed.loopbacks++;
    const bool fits = command.dword1 <= kMostBytes;
    const uint32_t count = fits ? command.dword1 : 0;
    uint8_t *reply = device.reply.Begin(command, kHeaderBytes + count, Tells::Nothing);
    reply[2] = fits ? 0 : kTooLong; // the header alone, which no host takes for the whole
    Put32(reply + kFirstAt, command.dword0);
    Put32(reply + kSecondAt, command.dword1);
    // Counts on from the exchange's number, so that a byte out of its place is seen.
    for (uint32_t k = 0; k < count; k++)
        reply[kHeaderBytes + k] = static_cast<uint8_t>(command.dword0 + k);
    return Answer::Reply;
}

} // namespace scanner
