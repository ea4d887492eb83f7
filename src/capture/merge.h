// Inspection aid for repeated captures: one image out of the last four, so that their differences are seen
// side by side.
#pragma once

#include <cstddef>
#include <cstdint>

namespace k274 {

constexpr int kMergeRows = 1286, kMergePixels = 2048, kMergeStride = 3 * kMergePixels;
constexpr size_t kMergeBytes = size_t{kMergeRows} * kMergeStride;

/// The last four images that were merged, as they came; black at load.
struct MergeHistory {
    uint8_t images[4][kMergeBytes];
    int newest; // the others follow in a ring, from the next one, the oldest, on
};

/// Adds the image to the history and rewrites it: bands of the images before it, the mean of the four with
/// a scale above it, and darkened rows between them.
/// @param image  kMergeBytes bytes, blue, green, red
void MergeImage(MergeHistory &history, uint8_t *image);

} // namespace k274
