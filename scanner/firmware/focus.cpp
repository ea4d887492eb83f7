// Lines of the focus target.
#include "scanner/firmware/focus.h"

#include "scanner/firmware/device_state.h"
#include "scanner/optics/hash.h"

namespace scanner {

Answer FocusLines(DeviceState &device, const Command &command) {
    constexpr uint8_t kLamps = 1, kLines = 2; // up to here the mode moves the lamps and delivers nothing
    if (command.sub <= kLamps) {
        device.reply.Begin(command, wire::kHeaderBytes, Tells::Nothing);
        return Answer::Reply;
    }
    const int first = command.word0, count = command.word1;
    if (command.sub != kLines || count < 1 || first + count > kFocusLines || device.status.Scanning())
        return Answer::Refused;
    constexpr uint32_t kNoiseStream = 0xF0C5u;
    const uint32_t seed = Hash(device.lines.Seed(), kNoiseStream);
    uint8_t *reply = device.reply.Begin(command, wire::kHeaderBytes + size_t{command.word1} * kFocusLineBytes,
                                        Tells::Nothing);
    wire::Store16(reply + wire::field::kWord0, command.word0);
    for (int k = 0; k < count; k++)
        RenderFocusLine(device.lensBlur, seed, first + k,
                        reply + wire::kHeaderBytes + static_cast<size_t>(k) * kFocusLineBytes);
    return Answer::Reply;
}

} // namespace scanner
