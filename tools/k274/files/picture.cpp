// PNG through stb_image, whose implementation lives in this file alone.
#include "tools/k274/files/picture.h"

#include <climits>
#include <memory>

#include "tools/k274/base/errors.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#define STBI_NO_STDIO
#define STBI_ONLY_PNG
#ifndef __clang_analyzer__ // which is to judge our code alone
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#endif
#include <stb/stb_image.h>
#pragma GCC diagnostic pop

namespace host {

namespace {

[[noreturn]] void Refuse(const std::string &name) {
    throw HostError(Exit::kBadFile, name + " cannot be read: it is damaged, or not a PNG file");
}

int Length(const std::vector<uint8_t> &file, const std::string &name) {
    if (file.size() > INT_MAX)
        Refuse(name);
    return static_cast<int>(file.size());
}

uint8_t OnWhite(uint8_t value, uint8_t alpha) {
    return static_cast<uint8_t>((value * alpha + 255 * (255 - alpha)) / 255);
}

} // namespace

PictureSize ReadPngSize(const std::vector<uint8_t> &file, const std::string &name) {
    PictureSize size = {};
    int channels = 0;
    if (stbi_info_from_memory(file.data(), Length(file, name), &size.width, &size.height, &channels) == 0)
        Refuse(name);
    return size;
}

Picture DecodePng(const std::vector<uint8_t> &file, const std::string &name) {
    Picture picture;
    int stored = 0;
    const std::unique_ptr<stbi_uc, void (*)(void *)> decoded(
        stbi_load_from_memory(file.data(), Length(file, name), &picture.width, &picture.height, &stored, 0),
        stbi_image_free);
    if (!decoded || stored < 1 || stored > 4)
        Refuse(name);
    const bool alpha = stored % 2 == 0;
    picture.channels = stored <= 2 ? 1 : 3;
    const size_t count = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height);
    picture.pixels.reserve(count * static_cast<size_t>(picture.channels));
    const stbi_uc *pixel = decoded.get();
    for (size_t i = 0; i < count; ++i, pixel += stored) {
        for (int channel = 0; channel < picture.channels; ++channel)
            picture.pixels.push_back(alpha ? OnWhite(pixel[channel], pixel[stored - 1]) : pixel[channel]);
    }
    return picture;
}

} // namespace host
