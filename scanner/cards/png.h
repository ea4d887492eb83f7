// PNG files on their way into a card: checked before they are decoded, so that a damaged or monstrous file
// is refused by name instead of costing memory or showing half a picture.
#pragma once

#include "scanner/cards/card.h"

#include <filesystem>

namespace scanner {

constexpr int kMaxPngBytes = 64 << 20;
constexpr int kMaxPngSide = 8192;

/// A whole PNG file in memory: every chunk's checksum is right and the size in its header is within the
/// limits.
struct PngFile {
    std::filesystem::path path;
    std::vector<uint8_t> bytes;
    int width = 0, height = 0;
};

/// Reads and checks a file. Throws CardError with a text that names the file and the cure.
PngFile ReadPng(const std::filesystem::path &path);

/// The picture in a checked file; what is transparent shows white card.
Picture DecodePng(const PngFile &file);

} // namespace scanner
