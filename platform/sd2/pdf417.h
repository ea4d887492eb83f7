// Reads PDF417 symbols at the places where the locator saw them.
#pragma once

#include "platform/sd2/budget.h"
#include "platform/sd2/decode.h"
#include "platform/sd2/pdf417_locator.h"

namespace sd2 {

/// Tries the areas, those with most support first, until one is read or the time is used up.
/// @param scale  pixels of the caller's image in one of this one
bool ReadPdf417(const Engine &engine, const GreyImage &image, int scale, std::vector<SymbolArea> areas,
                Attempts &attempts, Result *result);

} // namespace sd2
