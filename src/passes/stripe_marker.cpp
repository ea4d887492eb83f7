#include "src/passes/stripe_marker.h"

#include "src/state/image_set.h"
#include "src/state/locks.h"
#include "src/state/records.h"

namespace k274 {

namespace {

constexpr int kCodes = 40;
constexpr uint8_t kHighCode = 10, kLowCode = 15;

// Digits are themselves. Of the others only those from ';' upwards are told from those below.
uint8_t CodeOf(uint8_t character) {
    if (character >= '0' && character <= '9')
        return static_cast<uint8_t>(character - '0');
    return character >= ';' ? kHighCode : kLowCode;
}

} // namespace

void WriteStripeMarker() {
    const MagneticTrack track = CopyMagnetic().tracks[1];
    std::lock_guard guard(imageLock);
    uint8_t *mark = imageSet.IrFr;
    *mark++ = 1;
    *mark++ = 2;
    *mark++ = 5;
    *mark++ = track.count;
    *mark++ = track.error;
    for (int i = 0; i < kCodes; ++i)
        *mark++ = CodeOf(track.text[i]);
}

} // namespace k274
