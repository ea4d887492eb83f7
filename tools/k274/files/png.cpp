// PNG and JPEG through stb_image_write, whose implementation lives in this file alone.
#include "tools/k274/files/png.h"

#include <cstddef>
#include <utility>

#include "tools/k274/base/errors.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#define STBI_WRITE_NO_STDIO
#ifndef __clang_analyzer__ // which is to judge our code alone
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#endif
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace host {

namespace {

// One filter for all rows: trying all five of them for each takes half as long again and saves 1 percent.
constexpr int kPaeth = 4;

void Append(void *context, void *data, int size) {
    auto &file = *static_cast<std::vector<uint8_t> *>(context);
    const auto *bytes = static_cast<const uint8_t *>(data);
    file.insert(file.end(), bytes, bytes + size);
}

} // namespace

std::vector<uint8_t> EncodePng(const uint8_t *pixels, int width, int height, int channels) {
    const size_t count = static_cast<size_t>(width) * static_cast<size_t>(height);
    std::vector<uint8_t> rgb;
    if (channels == 3) {
        rgb.assign(pixels, pixels + count * 3);
        for (size_t i = 0; i < rgb.size(); i += 3)
            std::swap(rgb[i], rgb[i + 2]);
        pixels = rgb.data();
    }
    std::vector<uint8_t> file;
    stbi_write_force_png_filter = kPaeth;
    if (stbi_write_png_to_func(Append, &file, width, height, channels, pixels, width * channels) == 0)
        throw HostError(Exit::kInternal, "an image cannot be packed: there is not enough memory");
    return file;
}

std::vector<uint8_t> EncodeJpeg(const uint8_t *pixels, int width, int height, int channels, int quality) {
    std::vector<uint8_t> file;
    if (stbi_write_jpg_to_func(Append, &file, width, height, channels, pixels, quality) == 0)
        throw HostError(Exit::kInternal, "an image cannot be packed: there is not enough memory");
    return file;
}

} // namespace host
