// Reads PDF417 symbols at the places where the locator saw them.
#pragma once

#include "platform/sd2/budget.h"
#include "platform/sd2/decode.h"
#include "platform/sd2/pdf417_locator.h"

namespace sd2 {

/// Tries the areas, those with most support first, until one is read or the time is used up.
bool ReadPdf417(const GreyImage &image, std::vector<SymbolArea> areas, Attempts &attempts, Result *result);

} // namespace sd2
