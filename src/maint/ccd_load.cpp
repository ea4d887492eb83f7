#include "src/maint/ccd_load.h"

#include "src/capture/ccd_pix.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/state/capture_state.h"

#include <algorithm>

namespace k274 {

bool LoadCcdTables() {
    CmdPkt &request = transport.FreshHeader();
    request.code = command::kCalibration;
    request.word1 = kCcdReplyBytes;
    if (transport.WritePacket(0) != kComplete) {
        log.Write("CcdPix::Init WritePacket err");
        return false;
    }
    // A bare reply counts as complete but carries no record: what lay there before must not pass for one.
    std::fill_n(transport.transferBuffer + kReplyDataOffset, 8, uint8_t{0});
    if (transport.ReadPacket(kCcdReplyBytes) != kComplete) {
        log.Write("CcdPix::Init ReadPacket err");
        return false;
    }
    if (ccdPix.Accept(transport.ReplyData()) == CcdReply::BadLength)
        log.Write("CcdPix::Init Len err");
    return true;
}

} // namespace k274
