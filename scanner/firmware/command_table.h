// The commands that the scanner knows. A new one is a row in the table and a handler beside its subject.
#pragma once

#include "scanner/firmware/handler.h"

namespace scanner {

struct CommandInfo {
    uint8_t code;
    size_t bytes; // a command cut shorter is refused
    Handler *handle;
};

/// Null when the scanner does not know the code.
const CommandInfo *FindCommand(uint8_t code);

} // namespace scanner
