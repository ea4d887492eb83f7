// Focus images, by which the lens is adjusted.
#pragma once

#include <cstdint>

namespace k274 {

constexpr uint32_t kFocusBytes = 163200;
constexpr uint8_t kFocusKeep = 2; // the mode whose image is kept

/// One focus request under the device lock.
/// @param image  kFocusBytes, zeros where nothing arrived; null drops the image
/// @return false when a needed exchange failed
bool FocusImage(uint8_t mode, uint8_t parameter, uint8_t *image);

} // namespace k274
