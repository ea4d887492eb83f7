#include "src/passes/line_transfer.h"

#include "src/common/text.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/device_commands.h"
#include "src/state/session.h"

namespace k274 {

namespace {

uint32_t SendRequest(const LineChannel &channel, int index, uint16_t lines) {
    CmdPkt request(channel.code);
    request.status = channel.status;
    request.word0 = static_cast<uint16_t>(index);
    request.word1 = lines;
    return transport.SendCmdHeader(request);
}

// A failed attempt counts once, then the device is reset for the repetition.
void Recover() {
    ++session.transferErrors;
    transport.ResetDevice();
}

bool Send(const LineChannel &channel, int index) {
    constexpr int kAttempts = 2;
    for (int attempt = 1; attempt <= kAttempts; ++attempt) {
        if (SendRequest(channel, index, channel.linesPerPacket) == 0)
            return true;
        if (attempt <= channel.recoveries)
            Recover();
    }
    return false;
}

bool ReadPixels(const LineChannel &channel) {
    return transport.ReadImgPkt(transport.imagePacketBuffer, channel.packetBytes) == kComplete;
}

} // namespace

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

int PacketProgress() { return wire::Load16(transport.imagePacketBuffer + kProgressOffset); }

uint32_t ReadFirstRgbPixels() {
    log.Image("RGB get 1st line");
    if (const uint32_t status = SendRequest(kRgbChannel, 0, 1))
        return status;
    // A buffer of its own: this runs without the device lock, beside a scan that fills the shared one.
    uint8_t line[kRgbLineBytes];
    const uint32_t result = transport.ReadImgPkt(line, sizeof line);
    return result == kComplete ? wire::Load32(line + kPixelOffset) : result;
}

} // namespace k274
