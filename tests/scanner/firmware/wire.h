// The host's side of the wire, as small as a test needs it, and cards to scan.
#pragma once

#include "scanner/cards/card.h"
#include "scanner/firmware/packet.h"
#include "tests/support/files.h"
#include "wire/bytes.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace wire {

using Bytes = std::vector<uint8_t>;

/// A command with the fields that a test sets; sent as its first `size` bytes, and further data.
struct Fields {
    uint8_t code = 0, sub = 0;
    uint16_t word0 = 0, word1 = 0;
    uint8_t arg0 = 0, arg1 = 0;
    uint32_t dword0 = 0;
    size_t size = 256;
    uint32_t dword1 = 0;
    size_t dataAt = 256;
    Bytes data{};
    uint8_t arg2 = 0;
};
Bytes Packet(const Fields &fields, uint32_t sequence);
inline Fields PollFields(uint8_t scanMode = 0) { return {0x00, 0, 0, 80, 1, scanMode, 0, 80}; }
/// @param code  1 visible, 2 infrared, 3 ultraviolet
inline Fields LineFields(int code, int first, int lines) {
    return {static_cast<uint8_t>(code),
            0,
            static_cast<uint16_t>(first),
            static_cast<uint16_t>(lines),
            0,
            0,
            0,
            24};
}

inline uint16_t Word(const Bytes &reply, size_t at) {
    return at + 2 <= reply.size() ? wire::Load16(&reply[at]) : 0xFFFF;
}
inline uint32_t Dword(const Bytes &reply, size_t at) {
    return at + 4 <= reply.size() ? wire::Load32(&reply[at]) : 0xFFFFFFFF;
}
/// The event text of a reply.
std::string Text(const Bytes &reply);

constexpr int kWidth = 338, kHeight = 213, kDotsPerInch = 100; // of the cards that follow

/// A plain card in memory.
std::shared_ptr<const scanner::Card> PlainCard(const scanner::Traits &traits = {});

/// Makes a folder that is a card. @param grey  of its front, less by 10 in the left half
std::string AddCard(const TempFolder &folder, const std::string &name, uint8_t grey = 200);
void WritePng(const std::string &path, uint8_t grey);

} // namespace wire
