// Barcode decoding of a picture that the host supplies.
#pragma once

#include <cstdint>

namespace k274 {

/// Decodes an image of the host, stored bottom-up.
/// @param format  1: one byte a pixel, else three bytes of which the last counts
/// @return characters found, or -1 for an image larger than 2700 x 2300 or none at all
int32_t ReParse(const uint8_t *image, int32_t rows, int32_t columns, int32_t format);

} // namespace k274
