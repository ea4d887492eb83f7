// The version of the library. The firmware that it carries and expects the scanner to run has the same one,
// and so have the packages: the build reads it here.
#pragma once

#include <cstdint>

namespace wire {

constexpr uint8_t kVersion[3] = {2, 3, 7};

} // namespace wire
