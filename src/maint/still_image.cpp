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

uint8_t capturedBytes[kCapturedLines * kRgbLineBytes];
uint8_t imageBytes[kStillLines * kRgbLineBytes]; // the work copy
StillProfiles stillProfiles;
StillRecord stillRecord;

const ColourView kCaptured{capturedBytes, kCapturedLines, kLinePixels};
const ColourView kImage{imageBytes, kStillLines, kLinePixels};

bool FetchBlock(int line) {
    CmdPkt request(command::kStillLines);
    request.word0 = static_cast<uint16_t>(line);
    request.word1 = kLinesPerRequest;
    if (transport.SendCmd(request) != 0)
        return false;
    // A bare header counts as a complete reply: what it lacks is black, not what the buffer held.
    std::fill_n(transport.transferBuffer + kReplyDataOffset, kBlockBytes, uint8_t{0});
    return transport.ReadPacket(kBlockBytes) == kComplete;
}

bool Capture() {
    std::fill(std::begin(capturedBytes), std::end(capturedBytes), kPreset);
    for (int line = 0; line < kCapturedLines; line += kLinesPerRequest) {
        if (!FetchBlock(line))
            return false;
        std::memcpy(kCaptured.Row(line), transport.ReplyData(), kBlockBytes);
    }
    return true;
}

void Analyse() {
    BuildStillProfiles(kImage, stillProfiles);
    MeasureLevels(stillProfiles, stillRecord);
    CountDark(kImage, stillRecord);
    MeasureSteps(kImage, stillRecord);
    FindTargetEdges(kImage, stillRecord);
    BalanceColours(stillProfiles, stillRecord);
    MeasureRanges(stillRecord);
    MeasureNoise(kImage, stillRecord);
    ScoreStill(stillProfiles, stillRecord);
}

} // namespace

int32_t StillImage(uint8_t *image) {
    DeviceGuard guard(deviceLock);
    CmdPkt mode(command::kStillMode, kStillMode);
    if (transport.SendCmd(mode) != 0) {
        log.Write("Error setting still image test mode");
        return -1;
    }
    transport.ReadPacketHdr(mode); // a scanner that does not answer fails in the capture
    os::SleepMs(kModeWaitMs);
    if (!Capture()) {
        log.Write("Error getting still image data - cylcle port");
        transport.CyclePort();
        return -1;
    }
    SubtractDark(kCaptured);
    ArrangeStill(kCaptured, kImage);
    Analyse();
    std::memcpy(image, imageBytes, sizeof imageBytes);
    return 0;
}

void ReanalyseStill(const uint8_t *image) {
    std::memcpy(imageBytes, image, sizeof imageBytes);
    Analyse();
}

void CopyStillData(void *record) { std::memcpy(record, &stillRecord, sizeof stillRecord); }
void CopyStillProfiles(void *profiles) { std::memcpy(profiles, stillProfiles, sizeof stillProfiles); }

} // namespace k274
