// The header of the scan as the next saved file will carry it. Built at start and after each last pass.
#pragma once

#include "src/tiff/scan_header.h"

namespace k274 {

extern uint8_t scanHeader[kScanHeaderBytes];

} // namespace k274
