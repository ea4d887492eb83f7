// Writes images as uncompressed BMP files, for diagnosis. Readers show buffer row 0 at the bottom.
#pragma once

#include "src/common/view.h"

namespace k274 {

/// @return false when the file could not be opened or closed; a full disk is not told and leaves a short file
bool WriteBmp24(ConstColourView image, const char *path);

/// Rows have at most 2720 pixels; as in the colour writer, a multiple of 4 bytes.
bool WriteBmp8(ConstGreyView image, const char *path);

} // namespace k274
