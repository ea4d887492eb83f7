// Registers, lamps for the user, and the options that hosts set.
#include "scanner/firmware/command_table.h"

#include <algorithm>
#include <iterator>

namespace scanner {
namespace {

// Exchanges of options answer with the command itself.
Answer Echo(DeviceState &device, const Command &command) {
    uint8_t *reply = device.reply.Begin(command, kHeaderBytes, Tells::Nothing);
    std::copy(command.bytes.begin() + kShortHeaderBytes, command.bytes.end(), reply + kShortHeaderBytes);
    return Answer::Reply;
}

} // namespace

// Ten-bit values as the factory sets them: offsets and gains of the colours, exposures, spare words.
const AfeRegisters kFactoryAfe = {120, 384, 392, 401, 64,  64,  118, 379, 388, 620, 604, 588, 700,
                                  512, 540, 32,  32,  256, 256, 0,   0,   0,   0,   0,   0,   0};

Answer UvOption(DeviceState &device, const Command &command) {
    device.observed.uvOption = command.sub;
    return Echo(device, command);
}

Answer LogIn(DeviceState &device, const Command &command) {
    constexpr uint8_t kSetFlag = 2;
    if (command.sub != kSetFlag)
        return Answer::Refused;
    device.observed.loggedIn = command.arg[0];
    return Answer::None;
}

Answer UserLed(DeviceState &device, const Command &command) {
    device.observed.userLed = command.arg[0];
    return Answer::None;
}

Answer AfeExchange(DeviceState &device, const Command &command) {
    constexpr uint8_t kRead = 0;
    constexpr size_t kRegistersAt = 24;
    if (command.sub != kRead)
        return Answer::Refused;
    uint8_t *reply = device.reply.Begin(command, kHeaderBytes, Tells::Nothing);
    for (size_t k = 0; k < device.afe.size(); k++)
        Put16(reply + kRegistersAt + 2 * k, device.afe[k]);
    return Answer::Reply;
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
