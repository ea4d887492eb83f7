// Assembly and writing of a scan file.
#include "src/tiff/scan_file.h"

#include "src/tiff/colour_order.h"

#include <cstring>

namespace k274 {

size_t AssembleScanFile(const uint8_t (&header)[kScanHeaderBytes], const ScanContents &contents,
                        ScanVariant variant, ScanFileBuffer &file) {
    uint8_t area[kScanHeaderBytes];
    std::memcpy(area, header, sizeof area);
    SetVariant(variant, area);
    std::memcpy(file, area, sizeof area);
    size_t end = sizeof area;
    for (const ScanBlock &block : BlocksOf(contents, variant)) {
        std::memset(file + end, 0, block.at - end);
        if (block.colour)
            CopyColoursReversed(block.data, file + block.at, block.size / 3);
        else
            std::memcpy(file + block.at, block.data, block.size);
        end = block.at + block.size;
    }
    return end;
}

SaveResult WriteScanFile(const char *path, const ScanFileBuffer &file, size_t size) {
    switch (os::WriteWholeFile(path, file, size)) {
    case os::FileWrite::Done:
        return kSaved;
    case os::FileWrite::NotCreated:
        return kNotCreated;
    case os::FileWrite::Incomplete:
        break;
    }
    return kNotComplete;
}

} // namespace k274
