// Writes a whole scan as one multi-page TIFF file of fixed layout, assembled in one buffer.
#pragma once

#include "src/tiff/scan_contents.h"
#include "src/tiff/scan_header.h"

namespace k274 {

enum SaveResult : int32_t { kSaved = 0, kNotCreated = -1, kNotComplete = -2 };

/// Puts the file together, gaps cleared.
/// @return the file's length
size_t AssembleScanFile(const uint8_t (&header)[kScanHeaderBytes], const ScanContents &contents,
                        ScanVariant variant, ScanFileBuffer &file);

/// Writes an assembled file. A file of that name stays as it was unless all went well.
SaveResult WriteScanFile(const char *path, const ScanFileBuffer &file, size_t size);

} // namespace k274
