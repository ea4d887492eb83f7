// One call of the barcode decoder library, whose answers are bounded before anyone relies on them.
#pragma once

#include "src/common/view.h"

#include <cstdint>

namespace k274 {

struct Decoded {
    int32_t symbology = 0; // one of SD_CODE_128, SD_CODE_39, SD_PDF417
    int32_t length = 0;    // of the text, 0 to 4000
    int32_t orientation = 0;
    uint16_t info[8] = {};
    uint16_t position[2] = {};
    uint8_t text[4000] = {};
    uint16_t milliseconds = 0; // that it took
};

enum class Symbologies { Pdf417, All };

/// Decodes an image on the calling thread; nothing found leaves everything 0. Rows without padding.
Decoded DecodeImage(ConstGreyView image, Symbologies wanted);

} // namespace k274
