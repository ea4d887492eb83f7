// The sensor's test on a target at rest.
#pragma once

#include "scanner/firmware/handler.h"

namespace scanner {

Handler StillMode, StillLines;

} // namespace scanner
