// The sensor's test: lines of a white target at rest.
#include "scanner/firmware/still.h"

#include "scanner/firmware/device_state.h"
#include "scanner/optics/hash.h"

namespace scanner {

Answer StillMode(DeviceState &device, const Command &command) {
    constexpr uint8_t kStart = 0;
    // A card in the transport hides the target.
    if (command.sub != kStart || device.status.Scanning())
        return Answer::Refused;
    device.still.on = true;
    device.still.captures++;
    device.reply.Begin(command, wire::kHeaderBytes, Tells::Nothing);
    return Answer::Reply;
}

Answer StillLines(DeviceState &device, const Command &command) {
    constexpr size_t kMost = wire::kMostDataBytes / kStillLineBytes;
    const int first = command.word0, count = command.word1;
    if (device.status.Scanning())
        device.still.on = false;
    if (!device.still.on || count < 1 || static_cast<size_t>(count) > kMost || first + count > kStillLines)
        return Answer::Refused;
    uint8_t *reply = device.reply.Begin(command, wire::kHeaderBytes + size_t{command.word1} * kStillLineBytes,
                                        Tells::Nothing);
    wire::Store16(reply + wire::field::kWord0, command.word0);
    const SensorGains gains = GainsUnder(device.afe);
    constexpr uint32_t kNoiseStream = 0x5711u;
    const uint32_t seed = Hash(Hash(device.lines.Seed(), kNoiseStream), device.still.captures);
    for (int k = 0; k < count; k++)
        RenderStillLine(device.lines.Lamps(), gains, device.still.defects, seed, first + k,
                        reply + wire::kHeaderBytes + static_cast<size_t>(k) * kStillLineBytes);
    return Answer::Reply;
}

} // namespace scanner
