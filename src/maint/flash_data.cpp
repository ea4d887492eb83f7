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

uint8_t *Data() { return transport.transferBuffer + kReplyDataOffset; }

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
    std::fill_n(Data(), kFlashBlockBytes, uint8_t{0});
    CmdPkt request(command::kFlashBlock);
    request.word0 = number;
    transport.SendCmdHeader(request);
    transport.ReadPacket(kFlashBlockBytes);
    std::copy_n(Data(), kFlashBlockBytes, block);
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
    const bool read = transport.ReadPacketHdr(packet) == kComplete;
    std::copy_n(packet.Record(), kRecordBytes, record);
    return read ? RecordRead::Done : RecordRead::Failed;
}

bool WriteRecord(DataRecord which, const uint8_t (&record)[kRecordBytes]) {
    CmdPkt packet(CodeOf(which), wire::sub::record::kWrite);
    std::copy_n(record, kRecordBytes, packet.Record());
    DeviceGuard guard(deviceLock);
    const bool sent = transport.SendCmd(packet) == 0;
    transport.ReadPacketHdr(packet);
    return sent;
}

int32_t SaveWcc(const uint8_t *response) {
    log.Image("White Card  Calbiration...");
    uint32_t written;
    {
        DeviceGuard guard(deviceLock);
        CmdPkt &header = transport.FreshHeader();
        header.code = command::kCalibration;
        header.sub = state.scanMode == wire::kVisibleLightOnly ? wire::sub::calibration::kWriteVisible
                                                               : wire::sub::calibration::kWrite;
        header.word1 = kResponseBytes;
        std::fill(std::copy_n(response, kResponseBytes, Data()), Data() + kResponseWrite, uint8_t{0});
        written = transport.WritePacket(kResponseWrite);
        os::SleepMs(kResponseWriteMs);
    }
    // Without a scanner the transport's result is not 0 either.
    if (written != kIncomplete) {
        log.Image("WCC Done");
        return 0;
    }
    log.Image("WCC Error");
    return kWccNotSaved;
}

} // namespace k274
