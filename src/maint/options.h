// Options of the host: kept for the scans, and most of them told to the scanner.
#pragma once

#include <cstdint>

namespace k274 {

void SetIllumOpt(int32_t flags);

// These exchange a command with the scanner under the device lock.
void SetUvOpt(int32_t flags);
void SecondScan(int32_t value);
void LastScan(int32_t mode, int32_t lines);

} // namespace k274
