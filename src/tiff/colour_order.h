// The images in memory are blue, green, red; those in a scan file are red, green, blue.
#pragma once

#include <cstddef>
#include <cstdint>

namespace k274 {

/// Copies pixels of three bytes with the bytes of each reversed. The areas do not overlap.
void CopyColoursReversed(const uint8_t *from, uint8_t *to, size_t pixels);

} // namespace k274
