// The decoding engine behind the locator: one upright symbol, or one stack of line images, at a time. Only
// the file behind this header knows which barcode library it is; where none is packaged, there is no engine
// and nothing is ever read.
#pragma once

#include "platform/sd2/image.h"

#include <string>

namespace sd2 {

struct EngineRead {
    Symbology symbology = kNone;
    std::string bytes; // as encoded, no character set applied
    int correctionLevel = 0;
    // Ends of the symbol in the image handed over, in reading direction; all zero when the engine does not
    // tell.
    Point topLeft, topRight, bottomLeft, bottomRight;
};

/// Grey has a local threshold of the engine's own; of a two-level image dark is below 128.
enum class Levels { kGrey, kTwo };

/// Never throws; a read has at least one byte. @param turned  also look for symbols turned by quarters
bool EngineReadPdf417(const GreyImage &image, Levels levels, bool turned, EngineRead *read);
bool EngineReadLinear(const GreyImage &image, bool code128, bool code39, EngineRead *read);

} // namespace sd2
