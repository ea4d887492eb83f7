// The magnetic stripe of the last card: its infrared picture and what the head has read of its tracks.
#include "scanner/cards/flux.h"
#include "scanner/firmware/command_table.h"

#include <algorithm>

namespace scanner {
namespace {

constexpr size_t kTracksBytes = 4096;

} // namespace

Answer StripeLines(DeviceState &device, const Command &command) {
    constexpr size_t kLineBytes = kStripeLinePixels;
    constexpr size_t kMaxLines = (kMaxReplyBytes - kHeaderBytes) / kLineBytes;
    if (command.sub != 0 || command.word1 < 1 || command.word1 > kMaxLines)
        return Answer::Refused;
    uint8_t *reply = device.reply.Begin(command, kHeaderBytes + command.word1 * kLineBytes, Tells::Stripe);
    Put16(reply + 8, command.word0);
    Put16(reply + 10, command.word1);
    // Lines beyond the far end, and all without a card, are black.
    const Scene *scene = device.lines.LastScene();
    const int end = std::min(command.word0 + command.word1, kStripeLines);
    for (int line = command.word0; scene != nullptr && line < end; line++)
        RenderStripeLine(*scene, line,
                         reply + kHeaderBytes + static_cast<size_t>(line - command.word0) * kLineBytes);
    return Answer::Reply;
}

Answer StripeTracks(DeviceState &device, const Command &command) {
    if (command.sub != 0)
        return Answer::Refused;
    uint8_t *reply = device.reply.Begin(command, kHeaderBytes + kTracksBytes, Tells::Tracks);
    const Scene *scene = device.lines.LastScene();
    static const Traits kNothing;
    const Traits &traits = scene != nullptr ? scene->card->traits : kNothing;
    for (size_t i = 0; i < traits.tracks.size(); i++) {
        // One byte a bit: the head delivers the bits inverted and the one read last first. Behind them, as in
        // a blank track, nothing is magnetised.
        uint8_t *block = reply + kHeaderBytes + i * kTrackBlockBytes;
        std::vector<uint8_t> bits = RecordTrack(traits.tracks[i], i);
        if (!traits.swipedBackward)
            std::reverse(bits.begin(), bits.end());
        std::fill_n(block, kMaxTrackBits, uint8_t{1});
        std::transform(bits.begin(), bits.end(), block, [](uint8_t bit) -> uint8_t { return bit == 0; });
        Put32(block + kMaxTrackBits, static_cast<uint32_t>(bits.size()));
    }
    return Answer::Reply;
}

} // namespace scanner
