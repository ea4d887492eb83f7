// Reads card pictures: limits and checksums first, then the decoder, which looks at neither.
#include "scanner/cards/png.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <system_error>

namespace {
// The largest picture within the limits has 8 bytes a pixel and one more a row; a file that unpacks to more
// lies.
constexpr size_t kMaxUnpackedBytes = size_t{8192} * (8 * 8192 + 1);
void *Reallocate(void *block, size_t size) {
    return size <= kMaxUnpackedBytes ? std::realloc(block, size) : nullptr;
}
} // namespace

#define STBI_MALLOC(size) Reallocate(nullptr, size)
#define STBI_REALLOC(block, size) Reallocate(block, size)
#define STBI_FREE(block) std::free(block)
#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#define STBI_MAX_DIMENSIONS 8192
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wshadow"
#include <stb_image.h>
#pragma GCC diagnostic pop

namespace scanner {
namespace {

constexpr std::array<uint8_t, 8> kSignature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr size_t kChunkFrame = 12; // length, type and checksum around a chunk's data
constexpr uint32_t kHeaderLength = 13;

uint32_t BigEndian(const uint8_t *bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

[[noreturn]] void Fail(const std::filesystem::path &path, const std::string &what) {
    throw CardError(path.string() + ": " + what);
}

std::vector<uint8_t> ReadFile(const std::filesystem::path &path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        Fail(path, "no such file; draw this side and save it there as a PNG picture");
    const uintmax_t size = std::filesystem::file_size(path, error);
    if (error || size > static_cast<uintmax_t>(kMaxPngBytes))
        Fail(path, "larger than 64 MB; save it as a smaller PNG picture");
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    std::ifstream stream(path, std::ios::binary);
    if (!stream.read(reinterpret_cast<char *>(bytes.data()), static_cast<std::streamsize>(bytes.size())))
        Fail(path, "cannot be read; check its permissions");
    return bytes;
}

/// Walks the chunks up to the closing one.
void CheckChunks(const PngFile &file) {
    size_t at = kSignature.size();
    while (true) {
        const size_t left = file.bytes.size() - at;
        if (left < kChunkFrame)
            break;
        const uint8_t *chunk = file.bytes.data() + at;
        const uint32_t length = BigEndian(chunk);
        if (length > left - kChunkFrame)
            break;
        if (crc32(0, chunk + 4, length + 4) != BigEndian(chunk + 8 + length))
            Fail(file.path, "damaged (a checksum differs); save or copy it again");
        if (std::memcmp(chunk + 4, "IEND", 4) == 0)
            return;
        at += kChunkFrame + length;
    }
    Fail(file.path, "cut short; save or copy it again");
}

} // namespace

PngFile ReadPng(const std::filesystem::path &path) {
    PngFile file{path, ReadFile(path)};
    const std::vector<uint8_t> &bytes = file.bytes;
    if (bytes.size() < kSignature.size() || !std::equal(kSignature.begin(), kSignature.end(), bytes.begin()))
        Fail(path, "not a PNG picture; save it in that format");

    const uint8_t *header = bytes.data() + kSignature.size();
    if (bytes.size() < kSignature.size() + kChunkFrame + kHeaderLength)
        Fail(path, "cut short; save or copy it again");
    if (BigEndian(header) != kHeaderLength || std::memcmp(header + 4, "IHDR", 4) != 0)
        Fail(path, "damaged (it does not begin with its size); save or copy it again");
    const uint32_t width = BigEndian(header + 8), height = BigEndian(header + 12);
    constexpr auto kMaxSide = static_cast<uint32_t>(kMaxPngSide);
    if (width < 1 || width > kMaxSide || height < 1 || height > kMaxSide)
        Fail(path, std::to_string(width) + " x " + std::to_string(height) +
                       " pixels; a picture has 1 to 8192 pixels a side: draw it at 550 dots per inch");
    file.width = static_cast<int>(width);
    file.height = static_cast<int>(height);
    CheckChunks(file);
    return file;
}

Picture DecodePng(const PngFile &file) {
    int width = 0, height = 0, channels = 0;
    const std::unique_ptr<uint8_t, void (*)(void *)> pixels(
        stbi_load_from_memory(file.bytes.data(), static_cast<int>(file.bytes.size()), &width, &height,
                              &channels, 4),
        stbi_image_free);
    if (!pixels)
        Fail(file.path, std::string("cannot be decoded (") + stbi_failure_reason() +
                            "); save it again as a plain PNG picture");

    Picture picture{width, height, {}};
    const size_t count = static_cast<size_t>(width) * static_cast<size_t>(height);
    picture.rgb.resize(3 * count);
    for (size_t i = 0; i < count; ++i) {
        const uint8_t *from = pixels.get() + 4 * i;
        const int alpha = from[3];
        for (size_t k = 0; k < 3; ++k)
            picture.rgb[3 * i + k] =
                static_cast<uint8_t>((from[k] * alpha + 255 * (255 - alpha) + 127) / 255);
    }
    return picture;
}

} // namespace scanner
