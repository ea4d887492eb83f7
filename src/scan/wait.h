// Waiting for the scanner to reach a stage.
#pragma once

#include <cstdint>

namespace k274 {

constexpr int32_t kWaitFailed = -1;

/// Polls the status up to 200 times, 10 ms apart, until every bit of `mask` is set, the end bit is set, or,
/// with `acceptIdle`, the scanner is idle. A condition that comes after the 180th poll comes too late.
/// @return the status word, or kWaitFailed
int32_t WaitForStatus(uint32_t mask, bool acceptIdle);

} // namespace k274
