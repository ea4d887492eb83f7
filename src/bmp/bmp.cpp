// The two BMP writers.
#include "src/bmp/bmp.h"

#include "platform/os/os.h"
#include "wire/bytes.h"

#include <cstdio>

namespace k274 {

namespace {

constexpr size_t kHeaderBytes = 54;
constexpr size_t kPaletteBytes = 1024;
constexpr uint32_t kPixelsPerMetre = 22600;

bool WriteFile(const char *path, const uint8_t *header, size_t headerBytes, const uint8_t *pixels,
               size_t size) {
    char native[os::kMaxPath];
    if (!os::NativePath(path, native, sizeof native))
        return false;
    std::FILE *file = std::fopen(native, "wb");
    if (file == nullptr)
        return false;
    // A full disk is not told: the file is then short.
    std::fwrite(header, 1, headerBytes, file);
    std::fwrite(pixels, 1, size, file);
    return std::fclose(file) == 0;
}

/// The palette stands between the header and the pixels of grey images.
void PutHeader(uint8_t *at, int rows, int columns, size_t pixelBytes, uint16_t bits, size_t pixelsAt,
               uint32_t colours) {
    at[0] = 'B';
    at[1] = 'M';
    wire::Store32(at + 2, static_cast<uint32_t>(pixelsAt + pixelBytes));
    wire::Store32(at + 10, static_cast<uint32_t>(pixelsAt));
    wire::Store32(at + 14, 40);
    wire::Store32(at + 18, static_cast<uint32_t>(columns));
    wire::Store32(at + 22, static_cast<uint32_t>(rows));
    wire::Store16(at + 26, 1); // planes
    wire::Store16(at + 28, bits);
    wire::Store32(at + 38, kPixelsPerMetre);
    wire::Store32(at + 42, kPixelsPerMetre);
    wire::Store32(at + 46, colours);
    wire::Store32(at + 50, colours);
}

} // namespace

bool WriteBmp24(ConstColourView image, const char *path) {
    uint8_t header[kHeaderBytes] = {};
    // 256 colours are named although there is no palette; readers ignore it.
    PutHeader(header, image.rows, image.columns, image.Size(), 24, sizeof header, 256);
    return WriteFile(path, header, sizeof header, image.data, image.Size());
}

bool WriteBmp8(ConstGreyView image, const char *path) {
    uint8_t header[kHeaderBytes + kPaletteBytes] = {};
    PutHeader(header, image.rows, image.columns, image.Size(), 8, sizeof header, 0);
    for (int i = 0; i < 256; ++i)
        for (int colour = 0; colour < 3; ++colour)
            header[kHeaderBytes + static_cast<size_t>(4 * i + colour)] = static_cast<uint8_t>(i);
    return WriteFile(path, header, sizeof header, image.data, image.Size());
}

} // namespace k274
