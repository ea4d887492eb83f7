// Answers the status poll and hands out the event texts.
#include "scanner/firmware/command_table.h"

#include <cstring>
#include <iterator>
#include <optional>

namespace scanner {
namespace {

constexpr size_t kStatusBytes = 80, kEventTextAt = 128;
enum Kind : uint8_t { kPlain = 0, kWasReset = 1, kEventWaits = 2 };

// What the last stage reads, by the last-scan mode.
std::optional<Pass> LastPass(uint32_t mode) {
    constexpr Pass kPassOfMode[] = {Pass::Uv, Pass::Strip, Pass::Full};
    return mode < std::size(kPassOfMode) ? std::optional<Pass>(kPassOfMode[mode]) : std::nullopt;
}
constexpr uint8_t kIsProgramming = 3;

// What a scanner on a desk reports of itself beside the status word. Hosts copy these values and no more.
constexpr uint16_t kReadings[8] = {312, 305, 298, 640,
                                   655, 630, 412, 287}; // temperatures in 0.1 degrees, lamps in mA
constexpr uint16_t kMotorMillivolts = 23950, kLogicMillivolts = 4985;

void DrawWaitingCard(DeviceState &device) {
    if (!device.slot || device.doorOpen || !device.status.ReadyForCard())
        return;
    if (device.programming.Busy() || device.stored.firmwareMissing) // nobody is there to move it
        return;
    device.log.Line("card %s", device.slot->name.c_str());
    const Behaviour behaviour = device.slot->traits.behaviour;
    device.lines.StartScan(std::move(device.slot), GainsUnder(device.afe));
    device.slot.reset();
    device.status.DrawCard(behaviour);
}

void LogChange(DeviceState &device, uint16_t word, Kind kind) {
    const uint32_t shown = word | static_cast<uint32_t>(kind) << 16;
    if (shown != device.lastLogged)
        device.log.Line("status word 0x%04X, reply kind %u", word, unsigned{kind});
    device.lastLogged = shown;
}

} // namespace

Answer StatusPoll(DeviceState &device, const Command &command) {
    device.observed.pollLogin = command.arg[0];
    device.observed.pollScanMode = command.arg[1];
    DrawWaitingCard(device);
    const uint16_t word = device.status.Poll(command.arg[1], LastPass(device.observed.lastScanMode));
    const Kind kind = device.resetNotice ? kWasReset : device.events.Empty() ? kPlain : kEventWaits;
    LogChange(device, word, kind);
    if (device.programming.Busy())
        device.programming.polls++;

    const double uptime = device.clock.Now() - device.poweredOn;
    uint8_t *reply =
        device.reply.Begin(command, kStatusBytes, kind == kWasReset ? Tells::StatusAndReset : Tells::Status);
    reply[4] = kind;
    reply[5] = device.status.Scanning() ? 2 : 1;
    Put16(reply + 6, word);
    reply[17] = device.programming.Busy() ? kIsProgramming : 0;
    reply[18] = device.doorOpen ? 1 : 0;
    for (size_t k = 0; k < 8; k++)
        Put16(reply + 20 + 2 * k, kReadings[k]);
    Put16(reply + 36, kLogicMillivolts);
    Put16(reply + 38, kMotorMillivolts);
    Put16(reply + 40, device.status.Finished() & 0xFFFF);
    Put16(reply + 42, device.status.Cancelled() & 0xFFFF);
    Put32(reply + 44, static_cast<uint32_t>(uptime));
    Put16(reply + 48, device.observed.ejects & 0xFFFF);
    Put16(reply + 50, device.observed.resets & 0xFFFF);
    Put32(reply + 52, device.status.Finished() + device.status.Cancelled());
    Put32(reply + 56, device.observed.rgbBlocks);
    return Answer::Reply;
}

Answer EventRead(DeviceState &device, const Command &command) {
    // A text that comes up after this moment has not been told.
    const Tells tells = device.events.Empty() ? Tells::Nothing : Tells::Event;
    uint8_t *reply = device.reply.Begin(command, kHeaderBytes, tells);
    const char *text = device.events.Front();
    std::memcpy(reply + kEventTextAt, text, std::strlen(text) + 1);
    return Answer::Reply;
}

} // namespace scanner
