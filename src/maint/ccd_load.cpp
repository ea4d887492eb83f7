#include "src/maint/ccd_load.h"

#include "src/capture/ccd_pix.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/state/capture_state.h"

namespace k274 {

bool LoadCcdTables() {
    CmdPkt &request = transport.FreshHeader();
    request.code = command::kCalibration;
    request.word1 = kCcdReplyBytes;
    if (!transport.WritePacket(0).Ok()) {
        log.Write("CcdPix::Init WritePacket err");
        return false;
    }
    if (!transport.ReadData(kCcdReplyBytes).Ok()) {
        log.Write("CcdPix::Init ReadPacket err");
        return false;
    }
    if (ccdPix.Accept(transport.ReplyData()) == CcdReply::BadLength)
        log.Write("CcdPix::Init Len err");
    return true;
}

} // namespace k274
