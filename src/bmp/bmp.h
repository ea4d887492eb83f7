// Writes images as uncompressed BMP files, for diagnosis. Readers show buffer row 0 at the bottom.
#pragma once

#include "src/common/view.h"

namespace k274 {

/// @return the error number of the failed open, nothing being written then; else the result of closing the
/// file: a write that fails leaves a short file
int WriteBmp24(ConstColourView image, const char *path);

/// Rows have at most 2720 pixels; as in the colour writer, a multiple of 4 bytes.
int WriteBmp8(ConstGreyView image, const char *path);

} // namespace k274
