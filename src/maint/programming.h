// Programming of the scanner's firmware and FPGA. Every function takes the device lock from start to end, so
// that the image in the transport's buffer is never overwritten by another exchange.
#pragma once

#include <cstdint>

namespace k274 {

enum ProgramResult : int32_t {
    kProgrammed = 0,
    kNoImage = 1,        // no such file, or an empty one
    kNotTransferred = 2, // also: the scanner's versions were never read
    kImageRefused = 3
};

/// Programs a firmware image from a file, or with null the one that the library carries.
ProgramResult ProgFlash(const char *path);

/// ProgFlash for hosts and for the check at the start: holds further programming at start off for 60 passes
/// of the monitor thread.
ProgramResult ProgramFirmware(const char *path);

void FormatFlash();
void EraseFpga();
ProgramResult ProgFpga(const char *path, bool eraseFirst);

} // namespace k274
