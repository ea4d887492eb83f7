#include "src/link/session.h"

#include "src/capture/line_buffers.h"
#include "src/carddata/barcode.h"
#include "src/common/locks.h"
#include "src/link/attach.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/rig.h"

#include <cstring>

namespace k274 {

namespace {

constexpr int kRestingValue = 192; // of the raw line buffers between scans

} // namespace

DeviceSession::DeviceSession() { ClearCapture(); }

int32_t DeviceSession::Start() {
    LabJackOpen();
    SdVersion();
    const auto opened = static_cast<int32_t>(DriverInit());
    const int32_t result = opened == 0 ? Handshake() : opened;
    contrastTable = BuildContrastTable();
    return result;
}

int32_t DeviceSession::Handshake() {
    CmdPkt packet(command::kOpen);
    const uint32_t sent = transport.SendCmd(packet);
    transport.ReadPacketHdr(packet); // a missing or wrong reply is no error
    return static_cast<int32_t>(sent);
}

void DeviceSession::Reset() {
    CmdPkt packet(command::kReset);
    transport.SendCmd(packet);
    log.Blank();
    log.Write("Reset    K274...");
}

void DeviceSession::Close() { DriverUninit(); }

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
