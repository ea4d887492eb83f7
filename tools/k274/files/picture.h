// Pictures from PNG files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host {

struct Picture {
    int width = 0, height = 0, channels = 0; // 1 grey, 3 red-green-blue
    std::vector<uint8_t> pixels;             // rows from the top
};

struct PictureSize {
    int width, height;
};

/// From the head of the file, without unpacking it. Throws HostError(kBadFile) when it is no PNG.
PictureSize ReadPngSize(const std::vector<uint8_t> &file, const std::string &name);

/// Transparent pixels are laid on white. Throws HostError(kBadFile).
Picture DecodePng(const std::vector<uint8_t> &file, const std::string &name);

} // namespace host
