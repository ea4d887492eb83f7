// A copy of everything a finished scan left in the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "include/k274.h"

namespace host {

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

struct Capture {
    std::vector<CapturedImage> images;
    K274_Version version;
    K274_Status status;
    uint32_t transferErrors;
};

/// Called at state 8, while the library waits for the callback to return.
Capture TakeCapture();

} // namespace host
