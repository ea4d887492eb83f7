// The barcode record, laid out in the public header. A scan file stores it up to the decoder's own fields.
#pragma once

#include "include/k274.h"

#include <cstddef>

namespace k274 {

using BarcodeRecord = K274_Barcode;
static_assert(offsetof(BarcodeRecord, linearText) == 16 && offsetof(BarcodeRecord, pdfLength) == 112 &&
                  offsetof(BarcodeRecord, duration) == 120 && offsetof(BarcodeRecord, attempt) == 126 &&
                  offsetof(BarcodeRecord, pdfText) == 128 && offsetof(BarcodeRecord, position) == 3160 &&
                  offsetof(BarcodeRecord, decoderMajor) == 3168 &&
                  offsetof(BarcodeRecord, decoderText) == 3184,
              "layout of the barcode record");

} // namespace k274
