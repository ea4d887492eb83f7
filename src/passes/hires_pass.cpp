#include "src/passes/hires_pass.h"

#include "src/bmp/bmp.h"
#include "src/capture/hires.h"
#include "src/common/running.h"
#include "src/common/text.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/device_commands.h"
#include "src/state/capture_state.h"
#include "src/state/flags.h"
#include "src/state/image_set.h"
#include "src/state/line_buffers.h"
#include "src/state/locks.h"
#include "src/state/settings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace k274 {

namespace {

constexpr int kLinesPerPacket = 5;
constexpr uint32_t kLineBytes = 3 * kHrPixels;
constexpr uint32_t kPacketBytes = kLinesPerPacket * kLineBytes;

ColourView Lines() { return {hiresStore, kHrLines, kHrPixels}; }
ColourView Turned() { return {hiresStore + kHrImageBytes, kHrPixels, kHrLines}; }

// The device lock is held.
bool AllocateStore() {
    if (!hiresStore)
        hiresStore = static_cast<uint8_t *>(std::calloc(2, kHrImageBytes));
    return hiresStore != nullptr;
}

bool SendRequest(int index) {
    CmdPkt request(command::kHiresLines, wire::sub::hires::kOneWay);
    request.word0 = static_cast<uint16_t>(index);
    request.word1 = kLinesPerPacket;
    return transport.SendCmd(request).Ok();
}

bool ReadLines() { return transport.ReadData(kPacketBytes).Ok(); }

// Takes the lines of the reply; the first of them is row 0 of the packet.
void StoreLines(int row) { std::memcpy(Lines().Row(row), transport.ReplyData(), kPacketBytes); }

// ---- the full capture: no retry and no pacing

constexpr int kFullFirstIndex = 4010, kFullOffset = 10;

bool Xfr12() {
    log.Image(Format("12F Xfr[%d]...", static_cast<int>(kPacketBytes)));
    int index = kFullFirstIndex;
    do {
        index -= kLinesPerPacket;
        if (!SendRequest(index)) {
            log.Usb("Xfr12 USB SendCmd err");
            break;
        }
        if (!ReadLines()) {
            log.Usb("Xfr12 USB ReadPacket err");
            break;
        }
        StoreLines(index - kFullOffset);
    } while (index - kFullOffset >= kLinesPerPacket && Running());
    const int lines = kFullFirstIndex - index;
    log.Image(Format("12F xfr %d lines", lines));
    return lines == kHrLines;
}

// ---- the short capture

constexpr int kShortFirstIndex = 4400, kShortOffset = 3350;
constexpr int kShortPassLines = 1000; // the capture is whole with more
constexpr int kHeadLines = 4000 - kLinesPerPacket + 400;

// How far host and head have come.
struct Pace {
    int done = 0, gap = 0;
};

bool FetchShort(int index, const Pace &pace) {
    if (!SendRequest(index)) {
        log.Usb("Xfr12S USB SendCmd err");
        return false;
    }
    if (ReadLines())
        return true;
    log.Usb(Format("Xfr12S USB ReadPacket err-1, ln %d:%d", pace.done, pace.gap));
    transport.ResetDevice();
    SendRequest(index);
    if (ReadLines()) {
        log.Usb("Xfr12S USB ReadPacket retry OK");
        return true;
    }
    PostUserBeep(0);
    log.Usb("Xfr12S USB ReadPacket retry FAIL");
    return false;
}

// The automatic name in the log's directory, or a fixed one in the current folder. Without a log the name
// stands in the current folder as well.
FixedText<Log::kPathSize + Settings::kNameSize + 8> PicturePath() {
    FixedText<Log::kPathSize + Settings::kNameSize + 8> path;
    char name[Settings::kNameSize], folder[Log::kPathSize];
    if (!settings.AutoSaveFileName(name)) {
        CopyText(path.chars, sizeof path.chars, "K274_1100FR.bmp");
        return path;
    }
    log.CopyWorkingDirectory(folder, sizeof folder);
    const size_t length = std::strlen(folder);
    const bool separated = length > 0 && (folder[length - 1] == '\\' || folder[length - 1] == '/');
    std::snprintf(path.chars, sizeof path.chars, "%s%s.bmp", separated ? folder : "", name);
    return path;
}

} // namespace

bool Xfr12S() {
    if (!AllocateStore())
        return false;
    const int scan = state.scanCounter + 1;
    log.Image(Format("%05d, 12S  Xfr[%d]...", scan, static_cast<int>(kPacketBytes)));
    os::SleepMs(10);
    int index = kShortFirstIndex;
    Pace pace;
    do {
        index -= kLinesPerPacket;
        if (!FetchShort(index, pace))
            break;
        StoreLines(index - kShortOffset);
        pace.done = kHeadLines - index;
        pace.gap = wire::Load16(transport.transferBuffer + wire::kHiresProgressAt) - pace.done;
        if (pace.gap < 2 * kLinesPerPacket)
            os::SleepMs(10);
    } while (index - kShortOffset >= kLinesPerPacket && Running());
    const int lines = kShortFirstIndex - index;
    log.Image(Format("%05d, 12S  xfr %d lines", scan, lines));
    return lines > kShortPassLines;
}

void Process1200S() {
    if (!hiresStore)
        return;
    HrRealign(HrMode::Short, Lines());
    HrGain(HrMode::Short, ccdPix.fixRgb, Lines());
    HrTurn(HrMode::Short, Lines(), Turned());
    {
        std::lock_guard guard(imageLock);
        HrSplit(Turned(), {imageSet.SliFr, K274_SLI_HEIGHT, K274_SLI_WIDTH},
                {imageSet.SliBk, K274_SLI_HEIGHT, K274_SLI_WIDTH});
    }
    log.Write(Format("%05d, 12S  ready", state.scanCounter + 1));
}

void Capture1200F() {
    os::SleepMs(500);
    {
        DeviceGuard guard(deviceLock);
        if (!AllocateStore())
            return;
        Xfr12();
    }
    HrRealign(HrMode::Full, Lines());
    HrGain(HrMode::Full, ccdPix.fixRgb, Lines());
    HrTurn(HrMode::Full, Lines(), Turned());

    WriteBmp24(Turned(), PicturePath());
    log.Write("12F Saved");
}

} // namespace k274
