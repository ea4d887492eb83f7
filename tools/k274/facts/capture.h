// A copy of everything a finished or loaded scan left in the library.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "include/k274.h"

namespace host {

/// How much of a scan the library holds.
enum class Extent {
    kVisible,    // a scan that ended after the visible-light pass
    kFull,       // all passes
    kFile,       // a loaded file with ultraviolet pages
    kFileNoLast, // a loaded file without them
};

/// One image of the library: where it is, how large, and the file that it goes into.
struct ImageSource {
    const char *name; // key in scan.json; the file is named name + ".png"
    uint8_t *(*address)();
    int width, height, channels;
};

struct CapturedImage {
    const ImageSource *source;
    std::vector<uint8_t> pixels;
};

using ResponseTable = std::array<std::array<uint8_t, K274_RESP_POSITIONS>, K274_RESP_TABLES>;

struct Capture {
    Extent extent;
    std::vector<CapturedImage> images;
    K274_Version version;
    K274_Status status;
    K274_Magnetic stripe;
    K274_Barcode barcode;
    ResponseTable rawResponse, correctedResponse;
    std::array<uint8_t, 256> information; // the head of the scan file; not of this scan with kVisible
    uint32_t transferErrors;
};

/// Called at state 8, while the library waits for the callback to return, or after a file was loaded.
Capture TakeCapture(Extent extent);

} // namespace host
