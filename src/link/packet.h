// The command packet. It is built fresh on the caller's stack; the reply overwrites it. Its first 24 bytes
// are the header, which some exchanges send alone.
#pragma once

#include "wire/bytes.h"
#include "wire/commands.h"
#include "wire/packet.h"

#include <cstddef>
#include <cstdint>

namespace k274 {

namespace command = wire::command;

struct CmdPkt {
    uint8_t code = 0;
    uint8_t sub = 0; // sub-code or mode byte
    uint8_t status = wire::kFreshStatus;
    uint8_t reserved3[5] = {};
    uint16_t word0 = 0; // line index, block number, start line
    uint16_t word1 = 0; // lines per block, reply length, record length
    uint32_t seq = 0;   // stamped by the transport at every send
    uint8_t arg0 = 0, arg1 = 0, arg2 = 0, arg3 = 0;
    uint8_t reserved20[4] = {};
    uint8_t payload[wire::kHeaderBytes - wire::field::kValues] = {};

    CmdPkt() = default;
    explicit CmdPkt(uint8_t command, uint8_t subCode = 0) : code(command), sub(subCode) {}

    uint8_t *Bytes() { return reinterpret_cast<uint8_t *>(this); }
    uint8_t *Record() { return Bytes() + wire::field::kRecord; }
    void SetDword0(uint32_t value) { wire::Store32(Bytes() + wire::field::kDword0, value); }
    void SetDword1(uint32_t value) { wire::Store32(Bytes() + wire::field::kDword1, value); }
    uint16_t Word(size_t offset) { return wire::Load16(Bytes() + offset); }
    uint32_t Dword(size_t offset) { return wire::Load32(Bytes() + offset); }
};
static_assert(sizeof(CmdPkt) == wire::kHeaderBytes && offsetof(CmdPkt, word0) == wire::field::kWord0 &&
              offsetof(CmdPkt, seq) == wire::field::kSequence &&
              offsetof(CmdPkt, arg0) == wire::field::kArguments &&
              offsetof(CmdPkt, payload) == wire::field::kValues);

/// Serves every device-information request; used under the device lock.
extern CmdPkt deviceInfoPacket;

/// One command and its reply, with one ResetDevice and retry when the reply does not come. The caller holds
/// the device lock.
/// @return false when the send failed, or the reply did not come twice; the packet is then not to be read
bool FwCmd(CmdPkt &packet);

} // namespace k274
