#include "src/maint/version.h"

#include "src/link/packet.h"
#include "src/state/locks.h"
#include "src/state/records.h"
#include "wire/version.h"

#include <algorithm>

namespace k274 {

bool ReadVersion() {
    // One packet serves all these requests; it lies among the global objects.
    CmdPkt &packet = deviceInfoPacket;
    packet = CmdPkt(command::kDeviceInfo);
    packet.arg0 = wire::kVersion[0];
    packet.arg1 = wire::kVersion[1];
    packet.arg2 = wire::kVersion[2];
    const bool read = FwCmd(packet);

    std::lock_guard guard(recordLock);
    K274_Version &version = records.version;
    if (!read) {
        version.serialNumber = 0;
        return false;
    }
    using namespace wire::information;
    const uint8_t *reply = packet.Bytes();
    std::copy_n(reply + kFirmware, 3, version.firmware);
    version.fpga[0] = reply[kFpga + 1];
    version.fpga[1] = reply[kFpga];
    version.hardware = reply[kHardware];
    version.device38 = reply[kFurther];
    version.serialNumber = wire::Load32(reply + kSerial);
    const bool hasSecond = wire::Load16(reply + kSecondSerialMark) == kHasSecondSerial;
    version.serialNumber2Low = hasSecond ? wire::Load32(reply + kSecondSerialLow) : 0;
    version.serialNumber2High = hasSecond ? wire::Load32(reply + kSecondSerialHigh) : 0;
    return true;
}

} // namespace k274
