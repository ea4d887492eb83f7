// Reads the fields of a command and keeps the reply until the host takes it.
#include "scanner/firmware/packet.h"

#include <algorithm>
#include <cstring>

namespace scanner {

Command ParseCommand(const uint8_t *bytes, size_t size) {
    Command command;
    std::copy_n(bytes, std::min(size, kHeaderBytes), command.bytes.begin());
    const uint8_t *field = command.bytes.data();
    command.size = size;
    command.code = field[0];
    command.sub = field[1];
    command.word0 = Get16(field + 8);
    command.word1 = Get16(field + 10);
    command.sequence = Get32(field + 12);
    std::copy_n(field + 16, 4, command.arg);
    command.dword0 = Get32(field + 44);
    command.dword1 = Get32(field + 52);
    if (size > kHeaderBytes) {
        command.data = bytes + kHeaderBytes;
        command.dataBytes = size - kHeaderBytes;
    }
    return command;
}

Reply::Reply() : bytes_(kMaxReplyBytes + kShortHeaderBytes) {}

uint8_t *Reply::Begin(const Command &command, size_t size, Tells tells) {
    std::fill_n(bytes_.begin(), size, uint8_t{0});
    return BeginData(command, size, tells);
}

uint8_t *Reply::BeginData(const Command &command, size_t size, Tells tells) {
    next_ = 0;
    left_ = size;
    tells_ = tells;
    uint8_t *reply = bytes_.data();
    std::fill_n(reply, kShortHeaderBytes, uint8_t{0});
    reply[0] = command.code;
    reply[1] = command.sub;
    Put32(reply + 12, command.sequence); // byte 2, the status, stays 0: done
    return reply;
}

void Reply::Take(uint8_t *bytes, size_t count) {
    std::memcpy(bytes, bytes_.data() + next_, count);
    next_ += count;
    left_ -= count;
}

} // namespace scanner
