// Packets on the wire: numbers are little-endian at fixed offsets, a command is at most one header of 256
// bytes, a reply is put together in one buffer that lives as long as the scanner.
#pragma once

#include "wire/bytes.h"
#include "wire/packet.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace scanner {

constexpr size_t kMaxReplyBytes = wire::kMostTransferBytes;

/// A command as it came in. Bytes that did not come are zero.
struct Command {
    std::array<uint8_t, wire::kHeaderBytes> bytes{};
    size_t size = 0; // of the whole transfer, data included
    uint8_t code = 0, sub = 0;
    uint16_t word0 = 0, word1 = 0;
    uint32_t sequence = 0;
    uint8_t arg[wire::field::kArgumentBytes] = {};
    uint32_t dword0 = 0, dword1 = 0;
    const uint8_t *data = nullptr; // behind the header, for as long as the command is handled
    size_t dataBytes = 0;
};
Command ParseCommand(const uint8_t *bytes, size_t size);

/// What the host learns from a reply; it counts as said only when the reply has been taken.
enum class Tells {
    Nothing,
    Status,
    StatusAndReset,
    Event,
    RgbBlock,
    IrBlock,
    UvBlock,
    HiresBlock,
    Stripe,
    Tracks
};

/// The reply that waits to be read. There is at most one: a new command drops an unread reply.
class Reply {
public:
    Reply();
    /// Begins a reply of `size` zero bytes that names its command; `size` is at most kMaxReplyBytes.
    uint8_t *Begin(const Command &command, size_t size, Tells tells);
    /// As Begin, without zeroing what follows the short header: the caller writes every byte.
    /// Room for wire::kShortHeaderBytes beyond `size` is there.
    uint8_t *BeginData(const Command &command, size_t size, Tells tells);
    void Drop() { left_ = 0; }
    bool Waiting() const { return left_ > 0; }
    size_t Left() const { return left_; }
    /// Moves the next `count` bytes to the host.
    void Take(uint8_t *bytes, size_t count);
    Tells What() const { return tells_; }

private:
    std::vector<uint8_t> bytes_;
    size_t next_ = 0, left_ = 0;
    Tells tells_ = Tells::Nothing;
};

} // namespace scanner
