#include "src/scan/status.h"

#include "src/link/transport.h"
#include "src/scan/events.h"
#include "src/scan/startup.h"
#include "src/state/flags.h"
#include "src/state/locks.h"
#include "src/state/monitor_record.h"
#include "src/state/notify.h"
#include "src/state/pass_results.h"
#include "src/state/records.h"
#include "wire/status.h"

namespace k274 {

namespace {

constexpr uint16_t kNoStatus = 0xFFFF; // of the record while no reply has been taken

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
    record.cardWidth = static_cast<uint16_t>(passResults.measure.width);
    record.frontHeight = static_cast<uint16_t>(passResults.measure.frontHeight);
    record.backHeight = static_cast<uint16_t>(passResults.measure.backHeight);
    record.topEdge = static_cast<uint16_t>(passResults.measure.top);
    record.backOffset = static_cast<uint16_t>(passResults.measure.backOffset);
}

void TakeReply(const uint8_t *reply) {
    using namespace wire::status;
    std::lock_guard guard(recordLock);
    K274_Status &record = records.status;
    record.device5 = reply[kActivity];
    record.statusWord = wire::Load16(reply + kWord);
    record.device17 = reply[kJob];
    record.device18 = reply[kDoor];
    for (size_t i = 0; i < kReadingWords; ++i)
        record.device20[i] = wire::Load16(reply + kReadings + 2 * i);
    record.device36 = wire::Load16(reply + kLogicMillivolts);
    record.device38 = wire::Load16(reply + kMotorMillivolts);
    record.device40 = wire::Load16(reply + kFinished);
    record.device42 = wire::Load16(reply + kCancelled);
    record.device44 = wire::Load32(reply + kUptime);
    record.device48 = wire::Load16(reply + kEjects);
    record.device50 = wire::Load16(reply + kResets);
    record.device52 = wire::Load32(reply + kScans);
    record.device56 = wire::Load32(reply + kRgbBlocks);
    CopyMeasure(record);
}

int32_t ReadStatus() {
    {
        std::lock_guard guard(recordLock);
        records.status.statusWord = kNoStatus;
    }
    CmdPkt poll(command::kStatusPoll);
    poll.word1 = wire::kStatusBytes;
    poll.arg0 = state.loginFlag;
    poll.arg1 = state.scanMode;
    if (const Outcome sent = transport.SendCmdData(poll, wire::kStatusBytes); !sent.Ok())
        return sent.kind == Outcome::NoScanner ? kPollFailed : 0;
    if (!transport.ReadStatus().Ok())
        return kPollFailed;
    const uint8_t *reply = transport.transferBuffer;
    TakeReply(reply);
    const uint16_t word = wire::Load16(reply + wire::status::kWord);
    const uint8_t kind = reply[wire::status::kKind]; // the handling below overwrites the buffer
    if (kind == wire::status::kWasReset && Uptime() > 2.0)
        HandleReset();
    if (kind == wire::status::kEventWaits)
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
    CopyMeasure(records.status);
}

} // namespace k274
