// The red image as the barcode reader wants it.
#pragma once

#include "src/common/view.h"

#include <array>
#include <cstdint>

namespace k274 {

using ContrastTable = std::array<uint8_t, 256>;
ContrastTable BuildContrastTable();

/// Smooths the red image along the sensor and stretches its contrast, for the barcode reader. The border
/// and the rows between the two sensor halves are copied as they are.
void RedContrast(const ContrastTable &table, ConstGreyView red0, GreyView red1);

} // namespace k274
