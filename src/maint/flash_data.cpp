#include "src/maint/flash_data.h"

#include "src/common/geometry.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/state/flags.h"
#include "src/state/locks.h"
#include "wire/status.h"

#include <algorithm>
#include <cstring>

namespace k274 {

namespace {

constexpr int kBlockTries = 2;
constexpr uint32_t kBlockWaitMs = 100;

constexpr uint32_t kResponseWrite = 20000; // the response and zeros behind it
constexpr uint32_t kResponseWriteMs = 700; // that the scanner takes to store it

uint8_t CodeOf(DataRecord which) {
    return which == DataRecord::Factory ? command::kFactoryData : command::kUserData;
}

} // namespace

bool ReadFlashBlock(uint8_t (&block)[kFlashBlockBytes], uint16_t number) {
    std::unique_lock lock(deviceLock, std::defer_lock);
    for (int i = 0; i < kBlockTries && !lock.try_lock(); ++i)
        os::SleepMs(kBlockWaitMs);
    if (!lock)
        return false;
    CmdPkt request(command::kFlashBlock);
    request.word0 = number;
    transport.SendCmdHeader(request);
    transport.ReadData(kFlashBlockBytes);
    std::copy_n(transport.ReplyData(), kFlashBlockBytes, block);
    return true;
}

RecordRead ReadRecord(DataRecord which, uint8_t (&record)[kRecordBytes]) {
    std::unique_lock lock(deviceLock, std::defer_lock);
    if (which == DataRecord::Factory)
        lock.lock();
    else if (!lock.try_lock())
        return RecordRead::Busy;
    CmdPkt packet(CodeOf(which), wire::sub::record::kRead);
    transport.SendCmd(packet);
    const bool read = transport.ReadPacketHdr(packet).Ok();
    std::copy_n(packet.Record(), kRecordBytes, record);
    return read ? RecordRead::Done : RecordRead::Failed;
}

bool WriteRecord(DataRecord which, const uint8_t (&record)[kRecordBytes]) {
    CmdPkt packet(CodeOf(which), wire::sub::record::kWrite);
    std::copy_n(record, kRecordBytes, packet.Record());
    DeviceGuard guard(deviceLock);
    const bool sent = transport.SendCmd(packet).Ok();
    transport.ReadPacketHdr(packet);
    return sent;
}

bool SaveWcc(const uint8_t *response) {
    log.Image("White Card  Calbiration...");
    bool failed; // without a scanner nothing does
    {
        DeviceGuard guard(deviceLock);
        CmdPkt &header = transport.FreshHeader();
        header.code = command::kCalibration;
        header.sub = state.scanMode == wire::kVisibleLightOnly ? wire::sub::calibration::kWriteVisible
                                                               : wire::sub::calibration::kWrite;
        header.word1 = kResponseBytes;
        uint8_t *data = transport.DataToWrite();
        std::fill(std::copy_n(response, kResponseBytes, data), data + kResponseWrite, uint8_t{0});
        failed = transport.WritePacket(kResponseWrite).kind == Outcome::Failed;
        os::SleepMs(kResponseWriteMs);
    }
    log.Image(failed ? "WCC Error" : "WCC Done");
    return !failed;
}

} // namespace k274
