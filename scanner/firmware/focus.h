// Lines of the focus target.
#pragma once

#include "scanner/firmware/handler.h"

namespace scanner {

Handler FocusLines;

} // namespace scanner
