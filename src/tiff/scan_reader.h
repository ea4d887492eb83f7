// Reads scan files back: checks first, in the file's buffer, then loads into the library's own images, so
// that a refused file changes nothing.
#pragma once

#include "src/tiff/scan_file.h"

namespace k274 {

enum OpenResult : int32_t { kOpened = 0, kNotAccepted = -1, kTooShort = -2 };

struct OpenedFile {
    OpenResult result;
    uint16_t variant; // as the file says; 0 when it could not be opened or ends before it
    bool loadable;    // its length is one that LoadScan takes; others are opened without loading anything
    size_t length;    // bytes read
};

/// Judges the first `length` bytes of the buffer as a scan file.
OpenedFile CheckScanFile(const uint8_t *file, size_t length);

/// Reads the file into the buffer and judges it.
OpenedFile ReadScanFile(const char *path, ScanFileBuffer &file);

/// Loads a loadable file into the contents and its first bytes into the header area. What the file's length
/// does not cover of an image is cleared; without images on pages 5 and 6 all four that could stand there are
/// cleared.
void LoadScan(const ScanFileBuffer &file, const OpenedFile &opened, const ScanContents &contents,
              uint8_t (&header)[kScanHeaderBytes]);

} // namespace k274
