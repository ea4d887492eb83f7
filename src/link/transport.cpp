#include "src/link/transport.h"

#include "platform/windriver/wdapi.h"
#include "src/common/text.h"
#include "src/link/attach.h"
#include "src/log/log.h"
#include "wire/status.h"

#include <algorithm>
#include <new>

namespace k274 {

namespace {

constexpr uint32_t kTimeoutMs = 999;

constexpr uint32_t kLoggedReplyErrors = 6; // consecutive ones
constexpr int32_t kLoggedErrors = 2;       // since the last attach, whatever the verbosity

struct Transfer {
    uint32_t status, count;
};

Transfer Out(void *device, const void *bytes, uint32_t size) {
    Transfer transfer{0, 0};
    transfer.status = WDU_TransferBulk(device, wire::kOutPipe, 0, 0, const_cast<void *>(bytes), size,
                                       &transfer.count, kTimeoutMs);
    return transfer;
}

Transfer In(void *device, void *bytes, uint32_t size) {
    Transfer transfer{0, 0};
    transfer.status = WDU_TransferBulk(device, wire::kInPipe, 1, 0, bytes, size, &transfer.count, kTimeoutMs);
    return transfer;
}

Outcome Moved(bool complete, uint32_t status) { return {complete ? Outcome::Done : Outcome::Failed, status}; }

} // namespace

CmdPkt &Transport::FreshHeader() { return *new (transferBuffer) CmdPkt; }

// Counts a failure. True when it is to be logged: the first two since an attach, later ones at one verbosity.
bool Transport::CountFailure(uint32_t loggedAtLevel) {
    return deviceLink.transferErrors.fetch_add(1) < kLoggedErrors || verbose_ == loggedAtLevel;
}

Transport::Sent Transport::Send(void *device, CmdPkt &packet, uint32_t size) {
    packet.seq = sendSeq_.fetch_add(1) + 1;
    const Transfer transfer = Out(device, &packet, size);
    lastOutStatus_ = transfer.status;
    return {transfer.status, transfer.status == 0 && transfer.count == size};
}

Outcome Transport::SendCmd(CmdPkt &packet) {
    void *device = deviceLink.device;
    if (!device)
        return {Outcome::NoScanner, kNoDeviceSend};
    const Sent sent = Send(device, packet, wire::kHeaderBytes);
    if (!sent.complete && CountFailure(1))
        log.Usb(Format("WDU_Bulk_Out Err SendCmd(hdr) %s %d", WdStatusText(sent.status).chars,
                       static_cast<int>(wire::kHeaderBytes)));
    return sent;
}

Outcome Transport::SendCmdHeader(CmdPkt &packet) {
    void *device = deviceLink.device;
    if (!device)
        return {Outcome::NoScanner, kNoDeviceSend};
    const Sent sent = Send(device, packet, wire::kShortHeaderBytes);
    if (!sent.complete && CountFailure(0))
        log.Usb(Format("WDU_Bulk_Out Err SendCmd(CMD_HDR) %s %d", WdStatusText(sent.status).chars,
                       static_cast<int>(wire::kShortHeaderBytes)));
    return sent;
}

Outcome Transport::SendCmdData(CmdPkt &packet, uint32_t size) {
    void *device = deviceLink.device;
    if (!device) {
        lastOutStatus_ = wire::driver::kDeviceGone;
        return {Outcome::NoScanner, kNoDeviceSend};
    }
    const Sent sent = Send(device, packet, size);
    if (!sent.complete && CountFailure(1))
        log.Usb(Format("WDU_Bulk_Out Err SendCmd(%d:%02X) %s", size, packet.code,
                       WdStatusText(sent.status).chars));
    return sent;
}

Outcome Transport::ReadPacketHdr(CmdPkt &packet) {
    void *device = deviceLink.device;
    if (!device)
        return {Outcome::NoScanner, kNoDeviceRead};
    const Transfer transfer = In(device, &packet, wire::kHeaderBytes);
    if (transfer.status == 0)
        replyErrorRun_ = 0;
    else if (replyErrorRun_.fetch_add(1) < kLoggedReplyErrors)
        log.Usb(Format("WDU_Bulk_in err ReadPacket(hdr) %s %d:%d", WdStatusText(transfer.status).chars,
                       static_cast<int>(wire::kHeaderBytes), transfer.count));
    return Moved(transfer.status == 0 && transfer.count == wire::kHeaderBytes, transfer.status);
}

Outcome Transport::ReadPacket(uint32_t size) {
    void *device = deviceLink.device;
    if (!device)
        return {Outcome::NoScanner, kNoDeviceRead};
    const auto [status, count] = In(device, transferBuffer, kTransferBufferSize);
    if (status != 0) {
        if (CountFailure(1))
            log.Usb(Format("WDU_Bulk_In err ReadPacket(%d:%d) %s", size, count, WdStatusText(status).chars));
        return Moved(false, status);
    }
    const bool whole = count == size + kReplyDataOffset;
    if (!whole && count != size && count != wire::kBareReplyBytes) {
        // A bare status record of 80 bytes, too, is complete for the poll alone, where it is the size itself.
        log.Usb(Format("ReadPacket err pktsz %d, xfred %d, sn %d:%d", size, count, sendSeq_.load(),
                       wire::Load32(transferBuffer + offsetof(CmdPkt, seq))));
        return Moved(false, status);
    }
    if (!whole && count != wire::kStatusBytes && count != wire::kBareReplyBytes) {
        log.Usb("ReadPacket  ?");
        return Moved(false, status);
    }
    return Moved(true, status);
}

Outcome Transport::ReadData(uint32_t size) {
    std::fill_n(DataToWrite(), size, uint8_t{0});
    return ReadPacket(size);
}

Outcome Transport::ReadStatus() {
    std::fill_n(transferBuffer, wire::kStatusBytes, uint8_t{0});
    return ReadPacket(wire::kStatusBytes);
}

Outcome Transport::ReadImgPkt(uint8_t *buffer, uint32_t size) {
    void *device = deviceLink.device;
    if (!device)
        return {Outcome::NoScanner, kNoDeviceRead};
    const auto [status, count] = In(device, buffer, size);
    if (status != 0)
        log.Usb(Format("WDU_Bulk_In err ReadImgPkt(%d:%d) %s ", size, count, WdStatusText(status).chars));
    else if (count != size)
        log.Usb(Format("ReadImgPkt err ln %d, pktsz %d, xfred %d, sn %d:%d",
                       wire::Load16(buffer + wire::field::kWord0), size, count, sendSeq_.load() - 1,
                       wire::Load32(transferBuffer + offsetof(CmdPkt, seq))));
    return Moved(status == 0 && count == size, status);
}

Outcome Transport::WritePacket(uint32_t size) {
    void *device = deviceLink.device;
    if (!device)
        return {Outcome::NoScanner, kNoDeviceRead};
    const auto [status, count] = Out(device, transferBuffer, size + kReplyDataOffset);
    return Moved(status == 0 && count == size + kReplyDataOffset, status);
}

StatusText WdStatusText(uint32_t status) {
    StatusText text;
    if (const char *symbol = wire::driver::NamesOf(status).symbol) {
        CopyText(text.chars, sizeof text.chars, symbol);
        return text;
    }
    std::snprintf(text.chars, sizeof text.chars, "%X", status);
    return text;
}

} // namespace k274
