// Which device stands behind the driver: the environment variable K274_DEVICE says so, and
// K274_RECORD, whether the traffic with it is recorded.
#pragma once

#include "platform/windriver/base/backend.h"

#include <memory>

namespace wdapi {

/// Throws std::runtime_error with a text for people when the variable names no device of this build or the
/// recording cannot be made.
std::shared_ptr<Backend> MakeBackend(const WDU_MATCH_TABLE *tables, uint32_t count,
                                     const WDU_EVENT_TABLE &events);

} // namespace wdapi
