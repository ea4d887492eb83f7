// Lamps for the user, and the options that hosts set.
#include "scanner/firmware/registers.h"

#include "scanner/firmware/device_state.h"
#include "wire/commands.h"

#include <algorithm>
#include <iterator>

namespace scanner {
namespace {

// Exchanges of options answer with the command itself.
Answer Echo(DeviceState &device, const Command &command) {
    uint8_t *reply = device.reply.Begin(command, wire::kHeaderBytes, Tells::Nothing);
    std::copy(command.bytes.begin() + wire::kShortHeaderBytes, command.bytes.end(),
              reply + wire::kShortHeaderBytes);
    return Answer::Reply;
}

} // namespace

Answer UvOption(DeviceState &device, const Command &command) {
    device.observed.uvOption = command.sub;
    return Echo(device, command);
}

Answer WhiteCardNumber(DeviceState &device, const Command &command) {
    device.observed.whiteCardNumber = command.sub;
    return Answer::None;
}

Answer LogIn(DeviceState &device, const Command &command) {
    if (command.sub != wire::sub::logIn::kSetFlag)
        return Answer::Refused;
    device.observed.loggedIn = command.arg[0];
    return Answer::None;
}

Answer UserLed(DeviceState &device, const Command &command) {
    device.observed.userLed = command.arg[0];
    return Answer::None;
}

Answer LastScanMode(DeviceState &device, const Command &command) {
    device.observed.lastScanMode = command.sub;
    device.observed.lastScanLines = command.dword0;
    return Echo(device, command);
}

Answer SecondScan(DeviceState &device, const Command &command) {
    device.observed.secondScan = command.sub;
    return Echo(device, command);
}

Answer DebugLed(DeviceState &device, const Command &command) {
    if (command.arg[0] < std::size(device.observed.leds)) // a number without an LED lights nothing
        device.observed.leds[command.arg[0]] = command.arg[1];
    return Answer::None;
}

Answer Beep(DeviceState &device, const Command &command) {
    device.observed.beeps++;
    device.observed.lastBeep = command.arg[0];
    return Answer::None;
}

} // namespace scanner
