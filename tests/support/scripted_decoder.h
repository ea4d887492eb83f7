// A barcode decoder whose findings a test decides, in the place of sd2 in tests that link the library's
// objects. It answers at once, unless the test makes it wait.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace scripted {

struct Symbol {
    int32_t symbology = 0; // 0x10 Code 128, 0x20 Code 39, 0x1000 PDF417, 0 nothing
    std::string text;
    int32_t orientation = 1;
    uint16_t position[2] = {100, 200};
    uint16_t info[8] = {1, 0, 12, 5, 3, 2, 41, 0};
    int32_t claimedLength = -1; // -1: the text's
};

/// What a decode is asked for.
struct DecodeRequest {
    const uint8_t *image;
    int lines, pixels;
    bool linear; // also Code 128 and Code 39
};

struct Decoder {
    /// Called on the decoding thread.
    std::function<Symbol(const DecodeRequest &)> onDecode;
    int32_t major = 1, minor = 5;
};
Decoder &TheDecoder();
/// A decoder that finds nothing.
void ResetDecoder();

} // namespace scripted
