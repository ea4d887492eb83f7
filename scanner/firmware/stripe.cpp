// The magnetic stripe of the last card: its infrared picture and what the head has read of its tracks.
#include "scanner/firmware/stripe.h"

#include "scanner/cards/flux.h"
#include "scanner/firmware/device_state.h"

#include <algorithm>

namespace scanner {
Answer StripeLines(DeviceState &device, const Command &command) {
    constexpr size_t kLineBytes = kStripeLinePixels;
    constexpr size_t kMaxLines = wire::kMostDataBytes / kLineBytes;
    if (command.sub != 0 || command.word1 < 1 || command.word1 > kMaxLines)
        return Answer::Refused;
    uint8_t *reply =
        device.reply.Begin(command, wire::kHeaderBytes + command.word1 * kLineBytes, Tells::Stripe);
    wire::Store16(reply + wire::field::kWord0, command.word0);
    wire::Store16(reply + wire::field::kWord1, command.word1);
    // Lines beyond the far end, and all without a card, are black.
    const Scene *scene = device.lines.LastScene();
    const int end = std::min(command.word0 + command.word1, kStripeLines);
    for (int line = command.word0; scene != nullptr && line < end; line++)
        RenderStripeLine(*scene, line,
                         reply + wire::kHeaderBytes + static_cast<size_t>(line - command.word0) * kLineBytes);
    return Answer::Reply;
}

Answer StripeTracks(DeviceState &device, const Command &command) {
    if (command.sub != 0)
        return Answer::Refused;
    uint8_t *reply = device.reply.Begin(command, wire::kHeaderBytes + wire::kTrackReplyBytes, Tells::Tracks);
    const Scene *scene = device.lines.LastScene();
    static const Traits kNothing;
    const Traits &traits = scene != nullptr ? scene->card->traits : kNothing;
    for (size_t i = 0; i < traits.tracks.size(); i++) {
        // One byte a bit: the head delivers the bits inverted and the one read last first. Behind them, as in
        // a blank track, nothing is magnetised.
        uint8_t *block = reply + wire::kHeaderBytes + i * wire::kTrackBlockBytes;
        std::vector<uint8_t> bits = RecordTrack(traits.tracks[i], i);
        if (!traits.swipedBackward)
            std::reverse(bits.begin(), bits.end());
        std::fill_n(block, wire::kTrackBits, uint8_t{1});
        std::transform(bits.begin(), bits.end(), block, [](uint8_t bit) -> uint8_t { return bit == 0; });
        wire::Store32(block + wire::kTrackBits, static_cast<uint32_t>(bits.size()));
    }
    return Answer::Reply;
}

} // namespace scanner
