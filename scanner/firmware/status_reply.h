// The status poll and the event texts.
#pragma once

#include "scanner/firmware/handler.h"

namespace scanner {

Handler StatusPoll, EventRead;

} // namespace scanner
