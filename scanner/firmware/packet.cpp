// Reads the fields of a command and keeps the reply until the host takes it.
#include "scanner/firmware/packet.h"

#include <algorithm>
#include <cstring>

namespace scanner {

namespace field = wire::field;

Command ParseCommand(const uint8_t *bytes, size_t size) {
    Command command;
    std::copy_n(bytes, std::min(size, wire::kHeaderBytes), command.bytes.begin());
    const uint8_t *header = command.bytes.data();
    command.size = size;
    command.code = header[field::kCode];
    command.sub = header[field::kSub];
    command.word0 = wire::Load16(header + field::kWord0);
    command.word1 = wire::Load16(header + field::kWord1);
    command.sequence = wire::Load32(header + field::kSequence);
    std::copy_n(header + field::kArguments, field::kArgumentBytes, command.arg);
    command.dword0 = wire::Load32(header + field::kDword0);
    command.dword1 = wire::Load32(header + field::kDword1);
    if (size > wire::kHeaderBytes) {
        command.data = bytes + wire::kHeaderBytes;
        command.dataBytes = size - wire::kHeaderBytes;
    }
    return command;
}

Reply::Reply() : bytes_(kMaxReplyBytes + wire::kShortHeaderBytes) {}

uint8_t *Reply::Begin(const Command &command, size_t size, Tells tells) {
    std::fill_n(bytes_.begin(), size, uint8_t{0});
    return BeginData(command, size, tells);
}

uint8_t *Reply::BeginData(const Command &command, size_t size, Tells tells) {
    next_ = 0;
    left_ = size;
    tells_ = tells;
    uint8_t *reply = bytes_.data();
    std::fill_n(reply, wire::kShortHeaderBytes, uint8_t{0});
    reply[field::kCode] = command.code;
    reply[field::kSub] = command.sub;
    wire::Store32(reply + field::kSequence, command.sequence); // the status stays 0: done
    return reply;
}

void Reply::Take(uint8_t *bytes, size_t count) {
    std::memcpy(bytes, bytes_.data() + next_, count);
    next_ += count;
    left_ -= count;
}

} // namespace scanner
