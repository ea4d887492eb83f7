// What a workshop asks for: LEDs one by one, lamps that age, tests of the mechanism and of the cable.
#include "scanner/firmware/workshop.h"

#include "scanner/firmware/device_state.h"
#include "wire/commands.h"

#include <algorithm>

namespace scanner {
Answer SetLeds(DeviceState &device, const Command &command) {
    std::copy_n(command.arg, 3, device.observed.ledBytes);
    device.reply.Begin(command, wire::kHeaderBytes, Tells::Nothing);
    return Answer::Reply;
}

Answer LedAging(DeviceState &device, const Command &command) {
    device.observed.agingMode = command.sub;
    return Answer::None;
}

Answer Mechanism(DeviceState &device, const Command &command) {
    constexpr uint8_t kCardInTheWay = 1;
    uint8_t *reply = device.reply.Begin(command, wire::kHeaderBytes, Tells::Nothing);
    if (command.sub == wire::sub::mechanism::kState) {
        wire::Store16(reply + wire::mechanism::kFlags,
                      device.stored.firmwareMissing ? wire::mechanism::kWantsFirmware : uint16_t{0});
        return Answer::Reply;
    }
    if (device.status.Scanning()) { // the transport is needed
        reply[wire::field::kStatus] = kCardInTheWay;
        return Answer::Reply;
    }
    device.observed.mechTests++;
    device.observed.lastMechTest = command.sub;
    device.observed.mechParameters[0] = command.dword0;
    device.observed.mechParameters[1] = command.dword1;
    wire::Store32(reply + wire::field::kDword0, command.dword0);
    wire::Store32(reply + wire::field::kDword1, command.dword1);
    return Answer::Reply;
}

Answer Loopback(DeviceState &device, const Command &command) {
    constexpr uint8_t kTooLong = 1;
    device.observed.loopbacks++;
    const bool fits = command.dword1 <= wire::kMostDataBytes;
    const uint32_t count = fits ? command.dword1 : 0;
    uint8_t *reply = device.reply.Begin(command, wire::kHeaderBytes + count, Tells::Nothing);
    reply[wire::field::kStatus] = fits ? 0 : kTooLong; // the header alone, which no host takes for the whole
    wire::Store32(reply + wire::field::kDword0, command.dword0);
    wire::Store32(reply + wire::field::kDword1, command.dword1);
    // Counts on from the exchange's number, so that a byte out of its place is seen.
    for (uint32_t k = 0; k < count; k++)
        reply[wire::kHeaderBytes + k] = static_cast<uint8_t>(command.dword0 + k);
    return Answer::Reply;
}

} // namespace scanner
