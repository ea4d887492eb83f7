// The host's side of the wire, as small as a test needs it, and cards to scan.
#pragma once

#include "scanner/firmware/packet.h"
#include "tests/support/files.h"
#include "wire/bytes.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace wire {

using Bytes = std::vector<uint8_t>;

/// A command with the fields that a test sets; sent as its first `size` bytes, and data behind them.
struct Fields {
    uint8_t code = 0, sub = 0;
    uint16_t word0 = 0, word1 = 0;
    uint8_t arg0 = 0, arg1 = 0;
    uint32_t dword0 = 0;
    size_t size = 256;
    uint32_t dword1 = 0;
    Bytes data{};
};
Bytes Packet(const Fields &fields, uint32_t sequence);
inline Fields PollFields(uint8_t scanMode = 0) { return {0x00, 0, 0, 80, 1, scanMode, 0, 80}; }
/// @param code  1 visible, 2 infrared, 3 ultraviolet
inline Fields LineFields(int code, int first, int lines) {
    return {uint8_t(code), 0, uint16_t(first), uint16_t(lines), 0, 0, 0, 24};
}

inline uint16_t Word(const Bytes &reply, size_t at) {
    return at + 2 <= reply.size() ? wire::Load16(&reply[at]) : 0xFFFF;
}
inline uint32_t Dword(const Bytes &reply, size_t at) {
    return at + 4 <= reply.size() ? wire::Load32(&reply[at]) : 0xFFFFFFFF;
}
/// The event text of a reply.
std::string Text(const Bytes &reply);

/// Makes a folder that is a card with 100 dots per inch.
/// @param grey  of its front, less by 10 in the left half
/// @param text  that card.txt says beside
std::string AddCard(const TempFolder &folder, const std::string &name, uint8_t grey = 200,
                    const std::string &text = "");
void WritePng(const std::string &path, uint8_t grey);

} // namespace wire
