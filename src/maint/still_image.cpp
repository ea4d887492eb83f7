#include "src/maint/still_image.h"

#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/still_analysis.h"
#include "src/state/locks.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace k274 {

namespace {

constexpr uint8_t kStillMode = 0;
constexpr uint32_t kModeWaitMs = 125;
constexpr int kLinesPerRequest = 5;
constexpr uint32_t kBlockBytes = kLinesPerRequest * kRgbLineBytes;
constexpr uint8_t kPreset = 63; // of lines that have not arrived

const ColourView kCaptured{still.captured, kCapturedLines, kLinePixels};
const ColourView kImage{still.image, kStillLines, kLinePixels};

bool FetchBlock(int line) {
    CmdPkt request(command::kStillLines);
    request.word0 = static_cast<uint16_t>(line);
    request.word1 = kLinesPerRequest;
    return transport.SendCmd(request).Ok() && transport.ReadData(kBlockBytes).Ok();
}

bool Capture() {
    std::fill(std::begin(still.captured), std::end(still.captured), kPreset);
    for (int line = 0; line < kCapturedLines; line += kLinesPerRequest) {
        if (!FetchBlock(line))
            return false;
        std::memcpy(kCaptured.Row(line), transport.ReplyData(), kBlockBytes);
    }
    return true;
}

void Analyse() {
    BuildStillProfiles(kImage, still.profiles);
    MeasureLevels(still.profiles, still.record);
    CountDark(kImage, still.record);
    MeasureSteps(kImage, still.record);
    FindTargetEdges(kImage, still.record);
    BalanceColours(still.profiles, still.record);
    MeasureRanges(still.record);
    MeasureNoise(kImage, still.record);
    ScoreStill(still.profiles, still.record);
}

} // namespace

bool StillImage(uint8_t *image) {
    DeviceGuard guard(deviceLock);
    CmdPkt mode(command::kStillMode, kStillMode);
    if (!transport.SendCmd(mode).Ok()) {
        log.Write("Error setting still image test mode");
        return false;
    }
    transport.ReadPacketHdr(mode); // a scanner that does not answer fails in the capture
    os::SleepMs(kModeWaitMs);
    if (!Capture()) {
        log.Write("Error getting still image data - cylcle port");
        transport.CyclePort();
        return false;
    }
    SubtractDark(kCaptured);
    ArrangeStill(kCaptured, kImage);
    Analyse();
    std::memcpy(image, still.image, sizeof still.image);
    return true;
}

void ReanalyseStill(const uint8_t *image) {
    std::memcpy(still.image, image, sizeof still.image);
    Analyse();
}

void CopyStillData(void *record) { std::memcpy(record, &still.record, sizeof still.record); }
void CopyStillProfiles(void *profiles) { std::memcpy(profiles, still.profiles, sizeof still.profiles); }

} // namespace k274
