// Option setters that also tell the scanner.
#pragma once

#include <cstdint>

namespace k274 {

void SetIllumOpt(int32_t flags);

// These exchange a command under the device lock.
void SetUvOpt(int32_t flags);
void SecondScan(int32_t value);
void LastScan(int32_t mode, int32_t lines);

} // namespace k274
