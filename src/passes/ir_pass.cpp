// The infrared pass, top to bottom.
#include "src/passes/ir_pass.h"

#include "src/analysis/ir_profiles.h"
#include "src/capture/ir_crop.h"
#include "src/capture/ir_gain.h"
#include "src/capture/ir_store.h"
#include "src/common/text.h"
#include "src/decoders/barcode.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/device_commands.h"
#include "src/passes/line_transfer.h"
#include "src/state/capture_state.h"
#include "src/state/flags.h"
#include "src/state/image_set.h"
#include "src/state/line_buffers.h"
#include "src/state/locks.h"
#include "src/state/measures.h"
#include "src/state/pass_results.h"
#include "src/state/settings.h"

#include <cstring>

namespace k274 {

namespace {

constexpr int kPassLines = 2200 - 2 * kIrLinesPerPacket;
constexpr int kPreset = 2;

void StoreLines(int index) { IrLineStore(transport.imagePacketBuffer + kPixelOffset, index, RawInfrared()); }

void Correct() {
    // A late barcode decoder may be reading the corrected image.
    std::lock_guard guard(barcode.lock);
    if (settings.illumination[1])
        IrIllumGain(RawInfrared(), ccdPix.fixIr, CorrectedInfrared());
    else
        std::memcpy(IRc, IRr, sizeof IRc);
}

void CutImages() {
    ImageSet &images = imageSet;
    std::lock_guard guard(imageLock);
    IrCrop(RawInfrared(), CorrectedInfrared(), passResults.position, settings.irEnhance != 0,
           {images.IrFr, K274_IR_HEIGHT, K274_IR_WIDTH}, {images.IrBk, K274_IR_HEIGHT, K274_IR_WIDTH});
}

} // namespace

bool XfrIR() {
    const int scan = state.scanCounter + 1;
    passResults.irOk = false;
    std::memset(IRr, kPreset, sizeof IRr);
    os::SleepMs(10);
    log.Image(Format("%05d, IR   Xfr[%d]...", scan, static_cast<int>(kIrChannel.packetBytes)));

    const int lines = kIrLinesPerPacket * FetchLines(kIrPass, StoreLines).packets;

    passResults.irLevels = IrLevels(RawInfrared());
    log.Image(Format("%05d, IR   xfr %d lines, %03d, %03d", scan, lines, passResults.irLevels.front,
                     passResults.irLevels.back));
    Correct();
    log.FlushDeferred();
    passResults.irOk = lines >= kPassLines;
    if (passResults.irOk) {
        CutImages();
        IrResp(RawInfrared(), CorrectedInfrared(), CcdRawResp, CcdCorResp);
    }
    log.FlushDeferred();
    DebugLeds(kTransferLed, 0);
    return passResults.irOk;
}

} // namespace k274
