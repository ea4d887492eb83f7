// The ultraviolet pass, top to bottom.
#include "src/passes/uv_pass.h"

#include "src/capture/uv_correct.h"
#include "src/capture/uv_crop.h"
#include "src/common/text.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/device_commands.h"
#include "src/passes/line_transfer.h"
#include "src/saved/saved_scan.h"
#include "src/state/capture_state.h"
#include "src/state/flags.h"
#include "src/state/image_set.h"
#include "src/state/line_buffers.h"
#include "src/state/locks.h"
#include "src/state/pass_results.h"
#include "src/state/records.h"
#include "src/state/settings.h"

#include <cstring>

namespace k274 {

namespace {

constexpr int kPassLines = 1100 - 2 * kUvLinesPerPacket;
constexpr int kPreset = 3;

// The packet's pixels begin behind its header, so that a block's last 24 bytes lie behind the packet: they
// are taken as the buffer holds them.
void StoreLines(int index) {
    std::memcpy(RawUltraviolet().Row(index), transport.imagePacketBuffer + kPixelOffset,
                size_t{kUvLinesPerPacket} * kUvLineBytes);
}

UvOptions Options() {
    return {settings.uvOption[0] != 0, settings.illumination[2] != 0, settings.uvOption[1] != 0,
            settings.uvOption[2] != 0};
}

void CutImages() {
    ImageSet &images = imageSet;
    std::lock_guard guard(imageLock);
    UvCropFront(CorrectedUltraviolet(), passResults.position.frontEdgeRow,
                {images.UvFr, K274_UV_HEIGHT, K274_UV_WIDTH});
    UvCropBack(CorrectedUltraviolet(), {images.UvBk, K274_UV_HEIGHT, K274_UV_WIDTH});
}

void CheckLamp() {
    const float lit = UvLedCheck({imageSet.UvBk, K274_UV_HEIGHT, K274_UV_WIDTH});
    if (lit < kUvLedMinPercent)
        log.Write(Format("UV  FPGA LED test %0.1f - Warning Uv %d", static_cast<double>(lit),
                         ++passResults.uvLampWarnings));
}

} // namespace

bool XfrUV() {
    const int scan = state.scanCounter + 1;
    passResults.uvOk = false;
    log.Image(Format("%05d, UV   Xfr[%d]...", scan, static_cast<int>(kUvChannel.packetBytes)));
    std::memset(UVr, kPreset, sizeof UVr);
    os::SleepMs(10);

    const int lines = kUvLinesPerPacket * FetchLines(kUvPass, StoreLines).packets;

    UvBrighten(RawUltraviolet());
    passResults.uvLevels = UvLevels(RawUltraviolet());
    log.Image(Format("%05d, UV   xfr %d lines, %03d, %03d", scan, lines, passResults.uvLevels.front,
                     passResults.uvLevels.back));
    const UvMeasure measure = UvCorrect(Options(), ccdPix.fixUv, RawUltraviolet(), CorrectedUltraviolet());
    {
        std::lock_guard guard(recordLock);
        records.metadata.uvWhiteRatio = measure.whiteRatio;
        records.metadata.uvGain = measure.gain;
    }
    log.FlushDeferred();
    passResults.uvOk = lines >= kPassLines;
    if (passResults.uvOk) {
        CutImages();
        CheckLamp();
        RebuildScanHeader();
    }
    log.FlushDeferred();
    DebugLeds(kTransferLed, 0);
    return passResults.uvOk;
}

} // namespace k274
