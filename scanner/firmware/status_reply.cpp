// Answers the status poll and hands out the event texts.
#include "scanner/firmware/status_reply.h"

#include "scanner/firmware/device_state.h"
#include "wire/status.h"

#include <cstring>
#include <iterator>
#include <optional>

namespace scanner {
namespace {

namespace status = wire::status;

// What the last stage reads, by the last-scan mode.
std::optional<Pass> LastPass(uint32_t mode) {
    constexpr Pass kPassOfMode[] = {Pass::Uv, Pass::Strip, Pass::Full};
    return mode < std::size(kPassOfMode) ? std::optional<Pass>(kPassOfMode[mode]) : std::nullopt;
}

// What a scanner on a desk reports of itself beside the status word. Hosts copy these values and no more.
constexpr uint16_t kReadings[status::kReadingWords] = {
    312, 305, 298, 640, 655, 630, 412, 287}; // temperatures in 0.1 degrees, lamps in mA
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

void LogChange(DeviceState &device, uint16_t word, uint8_t kind) {
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
    const uint8_t kind = device.resetNotice      ? status::kWasReset
                         : device.events.Empty() ? status::kPlain
                                                 : status::kEventWaits;
    LogChange(device, word, kind);
    if (device.programming.Busy())
        device.programming.polls++;

    const double uptime = device.clock.Now() - device.poweredOn;
    uint8_t *reply = device.reply.Begin(command, wire::kStatusBytes,
                                        kind == status::kWasReset ? Tells::StatusAndReset : Tells::Status);
    reply[status::kKind] = kind;
    reply[status::kActivity] = device.status.Scanning() ? 2 : 1;
    wire::Store16(reply + status::kWord, word);
    reply[status::kJob] = device.programming.Busy() ? status::kProgramming : 0;
    reply[status::kDoor] = device.doorOpen ? 1 : 0;
    for (size_t k = 0; k < status::kReadingWords; k++)
        wire::Store16(reply + status::kReadings + 2 * k, kReadings[k]);
    wire::Store16(reply + status::kLogicMillivolts, kLogicMillivolts);
    wire::Store16(reply + status::kMotorMillivolts, kMotorMillivolts);
    wire::Store16(reply + status::kFinished, static_cast<uint16_t>(device.status.Finished()));
    wire::Store16(reply + status::kCancelled, static_cast<uint16_t>(device.status.Cancelled()));
    wire::Store32(reply + status::kUptime, static_cast<uint32_t>(uptime));
    wire::Store16(reply + status::kEjects, static_cast<uint16_t>(device.observed.ejects));
    wire::Store16(reply + status::kResets, static_cast<uint16_t>(device.observed.resets));
    wire::Store32(reply + status::kScans, device.status.Finished() + device.status.Cancelled());
    wire::Store32(reply + status::kRgbBlocks, device.observed.rgbBlocks);
    return Answer::Reply;
}

Answer EventRead(DeviceState &device, const Command &command) {
    // A text that comes up after this moment has not been told.
    const Tells tells = device.events.Empty() ? Tells::Nothing : Tells::Event;
    uint8_t *reply = device.reply.Begin(command, wire::kHeaderBytes, tells);
    const char *text = device.events.Front();
    std::memcpy(reply + wire::field::kRecord, text, std::strlen(text) + 1);
    return Answer::Reply;
}

} // namespace scanner
