#include "src/passes/line_transfer.h"

#include "platform/os/os.h"
#include "src/common/running.h"
#include "src/common/text.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/device_commands.h"
#include "src/state/flags.h"
#include "src/state/records.h"
#include "wire/status.h"

namespace k274 {

namespace {

constexpr int kPacePackets = 4; // the host keeps this distance from the scanning head
constexpr int kFarAway = 1 << 16;

Outcome SendRequest(const LineChannel &channel, int index, uint16_t lines) {
    CmdPkt request(channel.code);
    request.status = channel.status;
    request.word0 = static_cast<uint16_t>(index);
    request.word1 = lines;
    return transport.SendCmdHeader(request);
}

// A failed attempt counts once, then the device is reset for the repetition.
void Recover() {
    ++records.transferErrors;
    transport.ResetDevice();
}

bool Send(const LineChannel &channel, int index) {
    constexpr int kAttempts = 2;
    for (int attempt = 1; attempt <= kAttempts; ++attempt) {
        if (SendRequest(channel, index, channel.linesPerPacket).Ok())
            return true;
        if (attempt <= channel.recoveries)
            Recover();
    }
    return false;
}

bool ReadPixels(const LineChannel &channel) {
    return transport.ReadImgPkt(transport.imagePacketBuffer, channel.packetBytes).Ok();
}

// A failed send or read is repeated once after a reset of the device. False: the pass ends.
bool FetchLinePacket(const LineChannel &channel, int index) {
    if (!Send(channel, index)) {
        log.Usb(Format("Xfr%s USB SendCmd err", channel.name));
        return false;
    }
    if (ReadPixels(channel))
        return true;
    Recover();
    SendRequest(channel, index, channel.linesPerPacket);
    if (ReadPixels(channel)) {
        log.Usb(Format("Xfr%s USB ReadImgPkt retry OK, ln %d%s", channel.name, index, channel.lineEnd));
        return true;
    }
    PostUserBeep(0);
    log.Usb(Format("Xfr%s USB ReadImgPkt retry FAIL, ln %d%s", channel.name, index, channel.lineEnd));
    return false;
}

int LinesTo(const LinePass &pass, int index) {
    const int progress = wire::Load16(transport.imagePacketBuffer + wire::kProgressAt);
    if (progress <= 0 || progress >= pass.span)
        return kFarAway;
    return pass.step > 0 ? progress - index : index - (pass.span - progress);
}

// Waits when the host has come close to the scanning head.
void Pace(const LinePass &pass, int index) {
    if (LinesTo(pass, index) < kPacePackets * pass.channel.linesPerPacket)
        os::SleepMs(pass.paceMs);
}

// A re-send fetches lines of a scan that has ended.
bool ScanHasEnded() { return state.statusWord & wire::status::kEnd && !state.resendRequest; }

bool IsLast(const LinePass &pass, int index) {
    return pass.step > 0 ? index + pass.step > pass.last : index + pass.step < pass.last;
}

} // namespace

LinesFetched FetchLines(const LinePass &pass, void (*store)(int index)) {
    LinesFetched fetched{pass.first, 0};
    if (pass.heedsCloseAtStart && !Running())
        return fetched;
    for (;; fetched.index += pass.step) {
        if (!FetchLinePacket(pass.channel, fetched.index))
            break;
        store(fetched.index);
        Pace(pass, fetched.index);
        log.FlushDeferred();
        ++fetched.packets;
        if (IsLast(pass, fetched.index) || !Running() || (pass.endsWithScan && ScanHasEnded()))
            break;
    }
    return fetched;
}

uint32_t ReadFirstRgbPixels() {
    constexpr uint32_t kFailed = 0;
    log.Image("RGB get 1st line");
    if (const Outcome sent = SendRequest(kRgbChannel, 0, 1); !sent.Ok())
        return sent.status;
    // A buffer of its own: this runs without the device lock, beside a scan that fills the shared one.
    uint8_t line[kRgbLineBytes];
    const Outcome read = transport.ReadImgPkt(line, sizeof line);
    if (read.Ok())
        return wire::Load32(line + kPixelOffset);
    return read.kind == Outcome::NoScanner ? read.status : kFailed;
}

} // namespace k274
