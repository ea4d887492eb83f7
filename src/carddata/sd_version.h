// Version of the barcode decoder library, read once per session before the scanner is opened.
#pragma once

#include <cstdint>

namespace k274 {

struct BarcodeLibrary {
    int32_t major = 0, minor = 0;
    char text[5] = "";
};
extern BarcodeLibrary barcodeLibrary; // recordLock: K274_Init writes while an earlier thread may still read

/// A decoder is created for the version alone and destroyed again.
void SdVersion();

} // namespace k274
