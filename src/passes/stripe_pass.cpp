// The magnetic-stripe pass: the stripe's infrared image with the bleed image made from it, then the tracks.
#include "src/passes/stripe_pass.h"

#include "src/carddata/magstripe.h"
#include "src/carddata/magstripe_image.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/device_commands.h"
#include "src/state/image_set.h"
#include "src/state/line_buffers.h"
#include "src/state/locks.h"
#include "src/state/pass_results.h"
#include "src/state/records.h"
#include "src/state/settings.h"

#include <cstring>

namespace k274 {

namespace {

constexpr int kLinesPerRequest = 32;
constexpr uint32_t kBlockBytes = kLinesPerRequest * K274_MSIR_WIDTH;

bool SendBlockRequest(int line) {
    CmdPkt request(command::kStripeImage);
    request.word0 = static_cast<uint16_t>(line);
    request.word1 = kLinesPerRequest;
    return transport.SendCmd(request).Ok();
}

// Fetches one block of lines into the transfer buffer.
bool FetchBlock(int line) {
    if (!SendBlockRequest(line)) {
        log.Usb("MsrIrImg USB SendCmd err");
        return false;
    }
    if (transport.ReadData(kBlockBytes).Ok())
        return true;
    ++records.transferErrors;
    transport.ResetDevice();
    if (SendBlockRequest(line) && transport.ReadData(kBlockBytes).Ok()) {
        log.Usb("MsrIrImg USB ReadImgPkt retry ok");
        return true;
    }
    PostUserBeep(0);
    log.Usb("MsrIrImg USB ReadPacket err-2");
    return false;
}

void MsrIrImg() {
    for (int line = 0; line < K274_MSIR_HEIGHT && FetchBlock(line); line += kLinesPerRequest)
        std::memcpy(RawStripe().Row(line), transport.ReplyData(), kBlockBytes);
    {
        std::lock_guard guard(imageLock);
        std::memcpy(imageSet.MsIr, MSIr, sizeof imageSet.MsIr);
        BuildBleedImage(RawStripe(), settings.stripeImageOption,
                        {imageSet.MsBl, K274_MSBL_HEIGHT, K274_MSBL_WIDTH});
    }
    const float contrast = StripeContrast(RawStripe());
    std::lock_guard guard(recordLock);
    records.metadata.contrastRatio = contrast;
}

// A failed exchange leaves the record of the card before.
void ReadMagStripe() {
    CmdPkt request(command::kStripeTracks);
    if (!transport.SendCmd(request).Ok() || !transport.ReadData(wire::kTrackReplyBytes).Ok())
        return;
    uint8_t blocks[kTracksBytes];
    std::memcpy(blocks, transport.ReplyData(), sizeof blocks);
    MagneticRecord record;
    DecodeTracks(blocks, &record);
    std::lock_guard guard(recordLock);
    records.magnetic = record;
}

} // namespace

void XfrMS() {
    MsrIrImg();
    passResults.rgbOk = false;
    passResults.uvOk = false;
    ReadMagStripe();
    DebugLeds(kTransferLed, 0);
}

} // namespace k274
