// Checking and loading of scan files.
#include "src/tiff/scan_reader.h"

#include "src/tiff/colour_order.h"
#include "wire/bytes.h"

#include <algorithm>
#include <cstring>

namespace k274 {

namespace {

constexpr size_t kShortestFile = 4194304;
// Besides whole files of ultraviolet scans, those of this length are loaded: they end within the last image.
constexpr size_t kShorterLoadable = 22418936;

/// The text and its terminator; what follows does not count.
template <size_t Size>
bool HoldsText(const uint8_t *at, const char (&text)[Size]) {
    return std::memcmp(at, text, Size) == 0;
}

void LoadBlock(const ScanBlock &block, const uint8_t *file, size_t length) {
    size_t held = std::min(length - std::min<size_t>(length, block.at), block.size);
    if (block.colour) {
        held -= held % 3;
        CopyColoursReversed(file + block.at, block.data, held / 3);
    } else if (held > 0) {
        std::memcpy(block.data, file + block.at, held);
    }
    std::memset(block.data + held, 0, block.size - held);
}

} // namespace

OpenedFile CheckScanFile(const uint8_t *file, size_t length) {
    OpenedFile opened = {kTooShort, 0, false, length};
    if (length >= kVariantAt + 2)
        opened.variant = wire::Load16(file + kVariantAt);
    if (length < kShortestFile)
        return opened;
    opened.result = kNotAccepted;
    if (file[0] == 'I' && wire::Load16(file + 2) == 42 && HoldsText(file + kMakeAt, kMake) &&
        HoldsText(file + kModelAt, kModel) && file[kSoftwareAt] == kSoftware[0]) {
        opened.result = kOpened;
        opened.loadable = length == kUltravioletFileBytes || length == kShorterLoadable;
    }
    return opened;
}

OpenedFile ReadScanFile(const char *path, ScanFileBuffer &file) {
    size_t length = 0;
    if (!os::ReadFileInto(path, file, sizeof file, &length))
        return {kNotAccepted, 0, false, 0};
    return CheckScanFile(file, length);
}

void LoadScan(const ScanFileBuffer &file, const OpenedFile &opened, const ScanContents &contents,
              uint8_t (&header)[kScanHeaderBytes]) {
    const ScanVariant variant = VariantOfLastScan(opened.variant);
    for (const ScanBlock &block : BlocksOf(contents, variant))
        LoadBlock(block, file, opened.length);
    if (variant == ScanVariant::NoImage) {
        ImageSet &images = *contents.images;
        std::memset(images.UvFr, 0, sizeof images.UvFr);
        std::memset(images.UvBk, 0, sizeof images.UvBk);
        std::memset(images.SliFr, 0, sizeof images.SliFr);
        std::memset(images.SliBk, 0, sizeof images.SliBk);
    }
    std::memcpy(header, file, sizeof header);
}

} // namespace k274
