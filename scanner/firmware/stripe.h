// The magnetic stripe of the last card.
#pragma once

#include "scanner/firmware/handler.h"

namespace scanner {

Handler StripeLines, StripeTracks;

} // namespace scanner
