#include "src/state/session.h"

#include "src/state/line_buffers.h"
#include "src/state/locks.h"

#include <cstring>

namespace k274 {

namespace {

constexpr int kRestingValue = 192; // of the raw line buffers between scans

} // namespace

DeviceSession::DeviceSession() { ClearCapture(); }

void DeviceSession::ClearMagnetic() {
    std::lock_guard guard(recordLock);
    for (MagneticTrack &track : magnetic.tracks) {
        const uint8_t error = track.error;
        track = {};
        track.error = error;
    }
}

void DeviceSession::ClearCapture() {
    rgbOk = irOk = uvOk = false;
    std::memset(MSIr, kRestingValue, sizeof MSIr);
    std::memset(RGBr, kRestingValue, sizeof RGBr);
    std::memset(IRr, kRestingValue, sizeof IRr);
    std::memset(UVr, kRestingValue, sizeof UVr);
}

} // namespace k274
