#include "src/link/packet.h"

#include "src/link/transport.h"
#include "src/log/log.h"

namespace k274 {

bool FwCmd(CmdPkt &packet) {
    if (!transport.SendCmd(packet).Ok())
        return false;
    if (transport.ReadPacketHdr(packet).Ok())
        return true;
    transport.ResetDevice();
    const bool sent = transport.SendCmd(packet).Ok();
    const bool read = transport.ReadPacketHdr(packet).Ok();
    if (sent && read)
        return true;
    log.Usb("ReadPacket ERR in FwCmd(), ResetDevice");
    return false;
}

} // namespace k274
