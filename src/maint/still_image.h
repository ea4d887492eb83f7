// The factory's still image: the scanner shows a fixed target without moving it, lit in three ways, and the
// library measures and grades what the sensor sees. Image, profiles and record last until the next analysis;
// only the capture takes the device lock, and none of the others may overlap it.
#pragma once

#include <cstdint>

namespace k274 {

/// Captures an image, analyses it and copies it to the host's 1,224,000 bytes, which a failure leaves alone.
/// @return false when the scanner refused or did not deliver the whole image
bool StillImage(uint8_t *image);

/// Analyses an image that StillImage has delivered before.
void ReanalyseStill(const uint8_t *image);

/// Copies the last analysis's record, 296 bytes, or its profiles, 16,200 bytes.
void CopyStillData(void *record);
void CopyStillProfiles(void *profiles);

} // namespace k274
