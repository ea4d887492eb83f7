// The visible-light pass, top to bottom.
#include "src/passes/rgb_pass.h"

#include "src/analysis/rgb_profiles.h"
#include "src/analysis/white_test.h"
#include "src/capture/measure.h"
#include "src/capture/rgb_crop.h"
#include "src/capture/rgb_gain.h"
#include "src/capture/rgb_store.h"
#include "src/common/text.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/device_commands.h"
#include "src/passes/line_transfer.h"
#include "src/passes/white_card.h"
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

constexpr int kPassIndex = 2 * kRgbLinesPerPacket + 200; // the pass counts as whole when it came this far
constexpr int kPreset = 1;                               // of columns that never arrive

// The last line's end lies behind the packet: the buffer is longer, and what it holds there belongs to pixels
// of the line that no sensor position uses.
void StoreLines(int index) { RgbLineStore(transport.imagePacketBuffer + kPixelOffset, index, RawColour()); }

// The corrected image is the raw one with its gains, or a plain copy; either way in one pass. A reversed
// white card has a correction of its own; one whose barcode is not read keeps the kind of the white card
// before.
void Correct(bool recognised) {
    const int32_t kind = measures.cardCode;
    const bool reversed = kind == kFactoryReversed || kind == kCalibrationReversed;
    if (settings.illumination[0] && !reversed)
        RgbIllumGain(RawColour(), ccdPix.fixRgb, CorrectedColour());
    else
        CopyImage(RawColour(), CorrectedColour());
    if (recognised && reversed)
        RgbWccGain(static_cast<char>(kind), ccdPix.fixRgb, CorrectedColour());
}

void CutImages() {
    ImageSet &images = imageSet;
    std::lock_guard guard(imageLock);
    RgbCrop(RawColour(), CorrectedColour(), passResults.position,
            {images.NatFr, K274_NAT_HEIGHT, K274_NAT_WIDTH}, {images.NatBk, K274_NAT_HEIGHT, K274_NAT_WIDTH},
            {images.Edge, K274_EDGE_HEIGHT, K274_EDGE_WIDTH});
}

} // namespace

bool XfrRgb() {
    const int scan = state.scanCounter + 1;
    passResults.rgbOk = false;
    log.Image(Format("%05d, RGB  Xfr[%d]...", scan, static_cast<int>(kRgbChannel.packetBytes)));
    std::memset(RGBr, kPreset, sizeof RGBr);
    os::SleepMs(10);

    const LinesFetched pass = FetchLines(kRgbPass, StoreLines);

    passResults.rgbLevels = RgbLevels(RawColour());
    log.Image(Format("%05d, RGB  xfr %d lines, %03d, %03d", scan, kRgbLinesPerPacket * pass.packets,
                     passResults.rgbLevels.front, passResults.rgbLevels.back));
    const bool recognised = WhiteTest(RawColour(), measures) && RecogniseWhiteCard();
    Correct(recognised);
    if (recognised)
        LogWhiteCard();

    passResults.rgbOk = pass.index <= kPassIndex;
    if (passResults.rgbOk) {
        CutImages();
        RgbResp(RawColour(), CcdRawResp);
        RgbCorResp(CorrectedColour(), CcdCorResp);
    }
    DebugLeds(kTransferLed, 0);
    return passResults.rgbOk;
}

} // namespace k274
