// Start and stop of the library.
#pragma once

#include <cstdint>

namespace k274 {

int32_t StartLibrary();
void StopLibrary();

/// Loads the rig's driver, reads the barcode library's version, opens the link and greets the scanner.
/// @return 0, -1 when no scanner has attached yet, or the driver's status
int32_t OpenLink();

} // namespace k274
