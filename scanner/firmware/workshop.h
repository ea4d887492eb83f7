// What a workshop asks for.
#pragma once

#include "scanner/firmware/handler.h"

namespace scanner {

Handler SetLeds, LedAging, Mechanism, Loopback;

} // namespace scanner
