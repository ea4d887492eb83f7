#include "src/state/records.h"

#include "src/state/locks.h"

namespace k274 {

MagneticRecord CopyMagnetic() {
    std::lock_guard guard(recordLock);
    return records.magnetic;
}

void ClearMagnetic() {
    std::lock_guard guard(recordLock);
    for (MagneticTrack &track : records.magnetic.tracks) {
        const uint8_t error = track.error;
        track = {};
        track.error = error;
    }
}

} // namespace k274
