#include "src/link/packet.h"

#include "src/link/transport.h"
#include "src/log/log.h"

namespace k274 {

bool FwCmd(CmdPkt &packet) {
    if (transport.SendCmd(packet) != 0)
        return false;
    if (transport.ReadPacketHdr(packet) == kComplete)
        return true;
    transport.ResetDevice();
    const bool sent = transport.SendCmd(packet) == 0;
    const bool read = transport.ReadPacketHdr(packet) == kComplete;
    if (sent && read)
        return true;
    log.Usb("ReadPacket ERR in FwCmd(), ResetDevice");
    return false;
}

} // namespace k274
