#include "src/maint/version.h"

#include "src/link/packet.h"
#include "src/state/locks.h"
#include "src/state/session.h"

#include <algorithm>

namespace k274 {

namespace {

// Offsets of the device information reply.
constexpr size_t kFirmwareOffset = 16;
constexpr size_t kFpgaOffset = 26; // high byte is the major version
constexpr size_t kHardwareOffset = 28;
constexpr size_t kSecondSerialMarkOffset = 30;
constexpr uint16_t kSecondSerialMark = 112;
constexpr size_t kFurtherOffset = 34;
constexpr size_t kSecondSerialLowOffset = 44;
constexpr size_t kSecondSerialHighOffset = 52;
constexpr size_t kSerialOffset = 56;

} // namespace

bool ReadVersion() {
    // One packet serves all these requests; it lies among the global objects.
    CmdPkt &packet = deviceInfoPacket;
    packet = CmdPkt(command::kDeviceInfo);
    packet.arg0 = kLibraryFirmwareVersion[0];
    packet.arg1 = kLibraryFirmwareVersion[1];
    packet.arg2 = kLibraryFirmwareVersion[2];
    const bool read = FwCmd(packet);

    std::lock_guard guard(recordLock);
    K274_Version &version = session.version;
    if (!read) {
        version.serialNumber = 0;
        return false;
    }
    const uint8_t *reply = packet.Bytes();
    std::copy_n(reply + kFirmwareOffset, 3, version.firmware);
    version.fpga[0] = reply[kFpgaOffset + 1];
    version.fpga[1] = reply[kFpgaOffset];
    version.hardware = reply[kHardwareOffset];
    version.device38 = reply[kFurtherOffset];
    version.serialNumber = Load32(reply + kSerialOffset);
    const bool hasSecond = Load16(reply + kSecondSerialMarkOffset) == kSecondSerialMark;
    version.serialNumber2Low = hasSecond ? Load32(reply + kSecondSerialLowOffset) : 0;
    version.serialNumber2High = hasSecond ? Load32(reply + kSecondSerialHighOffset) : 0;
    return true;
}

} // namespace k274
