// The barcode record: what the decoders found on the last card. The host copies it whole and a scan file
// stores it up to the decoder's own fields.
#pragma once

#include <cstddef>
#include <cstdint>

namespace k274 {

struct BarcodeRecord {
    // Linear code
    int16_t linearLength; // 0 to 90
    uint16_t linearCode;  // 4 Code 128, 5 Code 39
    uint16_t linearInfo;
    uint8_t reserved6[10];
    uint8_t linearText[90]; // not terminated
    uint8_t reserved106[6];
    // PDF417
    int16_t pdfLength; // 0 to 2000
    uint16_t pdfCode;  // 12
    uint16_t pdfInfo;  // 0: the read was not accepted
    uint16_t reserved118;
    uint16_t duration; // milliseconds
    uint8_t rc1, rc2;  // values that the log names so
    uint8_t info4;
    uint8_t w, m;
    uint8_t reserved127;
    uint8_t pdfText[3032]; // not terminated; also the short text of a white card
    // Decode
    uint16_t position[2];
    uint32_t reserved3164;
    int32_t decoderMajor, decoderMinor;
    int32_t orientation; // 0 to 4
    int32_t decoder;     // 1, 2 or 3
    char decoderText[5]; // four characters, terminated
    uint8_t reserved3189[3];
};

static_assert(sizeof(BarcodeRecord) == 3192, "layout of the barcode record");
static_assert(offsetof(BarcodeRecord, linearText) == 16 && offsetof(BarcodeRecord, pdfLength) == 112 &&
                  offsetof(BarcodeRecord, duration) == 120 && offsetof(BarcodeRecord, w) == 125 &&
                  offsetof(BarcodeRecord, pdfText) == 128 && offsetof(BarcodeRecord, position) == 3160 &&
                  offsetof(BarcodeRecord, decoderMajor) == 3168 &&
                  offsetof(BarcodeRecord, decoderText) == 3184,
              "layout of the barcode record");

} // namespace k274
