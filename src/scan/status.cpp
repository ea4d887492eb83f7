#include "src/scan/status.h"

#include "src/link/transport.h"
#include "src/scan/startup.h"
#include "src/state/flags.h"
#include "src/state/locks.h"
#include "src/state/monitor_record.h"
#include "src/state/notify.h"
#include "src/state/session.h"

#include <algorithm>

namespace k274 {

namespace {

constexpr uint32_t kStatusSize = 80;
constexpr uint16_t kNoStatus = 0xFFFF; // of the record while no reply has been taken

enum ReplyKind : uint8_t { kReplyReset = 1, kReplyEvent = 2 };

// Sends one mailbox's request when it lies in its range, and empties the mailbox either way.
void Flush(std::atomic<int32_t> &mailbox, int32_t last, uint8_t code) {
    const int32_t request = mailbox.exchange(0);
    if (request < 0x100 || request > last)
        return;
    CmdPkt packet(code);
    packet.arg0 = static_cast<uint8_t>(request);
    transport.SendCmd(packet);
}

void FlushRequests() {
    if (state.ejectRequest.exchange(0) != 0) {
        CmdPkt packet(command::kEject);
        transport.SendCmd(packet);
    }
    Flush(state.ledRequest, 0x104, command::kUserLed);
    Flush(state.beepRequest, 0x105, command::kBeep);
}

// recordLock is held.
void CopyMeasure(K274_Status &record) {
    record.cardWidth = static_cast<uint16_t>(session.measure.width);
    record.frontHeight = static_cast<uint16_t>(session.measure.frontHeight);
    record.backHeight = static_cast<uint16_t>(session.measure.backHeight);
    record.topEdge = static_cast<uint16_t>(session.measure.top);
    record.backOffset = static_cast<uint16_t>(session.measure.backOffset);
}

void TakeReply(const uint8_t *reply) {
    std::lock_guard guard(recordLock);
    K274_Status &record = session.status;
    record.device5 = reply[5];
    record.statusWord = Load16(reply + 6);
    record.device17 = reply[17];
    record.device18 = reply[18];
    for (int i = 0; i < 8; ++i)
        record.device20[i] = Load16(reply + 20 + 2 * i);
    record.device36 = Load16(reply + 36);
    record.device38 = Load16(reply + 38);
    record.device40 = Load16(reply + 40);
    record.device42 = Load16(reply + 42);
    record.device44 = Load32(reply + 44);
    record.device48 = Load16(reply + 48);
    record.device50 = Load16(reply + 50);
    record.device52 = Load32(reply + 52);
    record.device56 = Load32(reply + 56);
    CopyMeasure(record);
}

int32_t ReadStatus() {
    {
        std::lock_guard guard(recordLock);
        session.status.statusWord = kNoStatus;
    }
    CmdPkt poll(command::kStatusPoll);
    poll.word1 = kStatusSize;
    poll.arg0 = state.loginFlag;
    poll.arg1 = state.scanMode;
    if (const uint32_t status = transport.SendCmdData(poll, kStatusSize))
        return status == kNoDeviceSend ? kPollFailed : 0;

    // A short reply counts as complete; the fields that it lacks are zero rather than left from before.
    uint8_t *reply = transport.transferBuffer;
    std::fill_n(reply, kStatusSize, uint8_t{0});
    if (transport.ReadPacket(kStatusSize) != kComplete)
        return kPollFailed;
    TakeReply(reply);
    const uint16_t word = Load16(reply + 6);
    const uint8_t kind = reply[4]; // the handling below overwrites the buffer
    if (kind == kReplyReset && Uptime() > 2.0)
        HandleReset();
    if (kind == kReplyEvent)
        ReadEvent();
    return word;
}

} // namespace

int32_t PollStatus() {
    int32_t word;
    {
        DeviceGuard guard(deviceLock);
        FlushRequests();
        word = ReadStatus();
        state.statusWord = static_cast<uint32_t>(word);
    }
    DeliverRaisedStates();
    return word;
}

void PublishMeasure() {
    std::lock_guard guard(recordLock);
    CopyMeasure(session.status);
}

} // namespace k274
