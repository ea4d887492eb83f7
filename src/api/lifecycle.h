// Start and stop of the library.
#pragma once

#include <cstdint>

namespace k274 {

int32_t StartLibrary();
void StopLibrary();

} // namespace k274
