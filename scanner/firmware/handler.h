// What handles a command, and what becomes of it.
#pragma once

#include "scanner/firmware/packet.h"

namespace scanner {

struct DeviceState;

enum class Answer {
    None,    // the command wants no reply
    Reply,   // the reply is ready
    Lines,   // the reply follows when the lines are there
    Refused, // the command is known, but not with these fields
};

using Handler = Answer(DeviceState &device, const Command &command);

} // namespace scanner
