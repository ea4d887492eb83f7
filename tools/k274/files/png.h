// Images as files in memory.
#pragma once

#include <cstdint>
#include <vector>

namespace host {

/// @param channels 1 grey, 3 blue-green-red as the library delivers colours
std::vector<uint8_t> EncodePng(const uint8_t *pixels, int width, int height, int channels);

/// @param channels 1 grey, 3 red-green-blue
/// @param quality 1 to 100
std::vector<uint8_t> EncodeJpeg(const uint8_t *pixels, int width, int height, int channels, int quality);

} // namespace host
