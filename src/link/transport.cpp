#include "src/link/transport.h"

#include "platform/windriver/wdapi.h"
#include "src/common/text.h"
#include "src/link/attach.h"
#include "src/log/log.h"

#include <new>

namespace k274 {

namespace {

constexpr uint32_t kOutPipe = 2;
constexpr uint32_t kInPipe = 0x81;
constexpr uint32_t kTimeoutMs = 999;

// A bare header-less reply that the scanner gives to any data request.
constexpr uint32_t kBareReply = 20;
// A bare status record, the reply to a status poll.
constexpr uint32_t kBareStatus = 80;

constexpr uint32_t kLoggedReplyErrors = 6; // consecutive ones
constexpr int32_t kLoggedErrors = 2;       // since the last attach, whatever the verbosity

struct Transfer {
    uint32_t status, count;
};

Transfer Out(void *device, const void *bytes, uint32_t size) {
    Transfer transfer{0, 0};
    transfer.status = WDU_TransferBulk(device, kOutPipe, 0, 0, const_cast<void *>(bytes), size,
                                       &transfer.count, kTimeoutMs);
    return transfer;
}

Transfer In(void *device, void *bytes, uint32_t size) {
    Transfer transfer{0, 0};
    transfer.status = WDU_TransferBulk(device, kInPipe, 1, 0, bytes, size, &transfer.count, kTimeoutMs);
    return transfer;
}

} // namespace

CmdPkt &Transport::FreshHeader() { return *new (transferBuffer) CmdPkt; }

// Counts a failure. True when it is to be logged: the first two since an attach, later ones at one verbosity.
bool Transport::CountFailure(uint32_t loggedAtLevel) {
    return deviceLink.transferErrors.fetch_add(1) < kLoggedErrors || verbose_ == loggedAtLevel;
}

Transport::Sent Transport::Send(void *device, CmdPkt &packet, uint32_t size) {
    packet.seq = sendSeq_.fetch_add(1) + 1;
    const Transfer transfer = Out(device, &packet, size);
    transferred_ = transfer.count;
    lastOutStatus_ = transfer.status;
    return {transfer.status, transfer.status == 0 && transfer.count == size};
}

uint32_t Transport::SendCmd(CmdPkt &packet) {
    void *device = deviceLink.device;
    if (!device)
        return kNoDeviceSend;
    const Sent sent = Send(device, packet, kPacketSize);
    if (!sent.complete && CountFailure(1))
        log.Usb(Format("WDU_Bulk_Out Err SendCmd(hdr) %s %d", WdStatusText(sent.status).chars,
                       static_cast<int>(kPacketSize)));
    return sent.status;
}

uint32_t Transport::SendCmdHeader(CmdPkt &packet) {
    void *device = deviceLink.device;
    if (!device)
        return kNoDeviceSend;
    const Sent sent = Send(device, packet, kHeaderSize);
    if (!sent.complete && CountFailure(0))
        log.Usb(Format("WDU_Bulk_Out Err SendCmd(CMD_HDR) %s %d", WdStatusText(sent.status).chars,
                       static_cast<int>(kHeaderSize)));
    return sent.status;
}

uint32_t Transport::SendCmdData(CmdPkt &packet, uint32_t size) {
    void *device = deviceLink.device;
    if (!device) {
        lastOutStatus_ = kStatusDeviceGone;
        return kNoDeviceSend;
    }
    const Sent sent = Send(device, packet, size);
    if (!sent.complete && CountFailure(1))
        log.Usb(Format("WDU_Bulk_Out Err SendCmd(%d:%02X) %s", size, packet.code,
                       WdStatusText(sent.status).chars));
    return sent.status;
}

uint32_t Transport::ReadPacketHdr(CmdPkt &packet) {
    transferred_ = 0;
    void *device = deviceLink.device;
    if (!device)
        return kNoDeviceRead;
    const Transfer transfer = In(device, &packet, kPacketSize);
    transferred_ = transfer.count;
    lastInStatus_ = transfer.status;
    if (transfer.status == 0)
        replyErrorRun_ = 0;
    else if (replyErrorRun_.fetch_add(1) < kLoggedReplyErrors)
        log.Usb(Format("WDU_Bulk_in err ReadPacket(hdr) %s %d:%d", WdStatusText(transfer.status).chars,
                       static_cast<int>(kPacketSize), transfer.count));
    return transfer.status == 0 && transfer.count == kPacketSize ? kComplete : kIncomplete;
}

uint32_t Transport::ReadPacket(uint32_t size) {
    transferred_ = 0;
    void *device = deviceLink.device;
    if (!device)
        return kNoDeviceRead;
    const auto [status, count] = In(device, transferBuffer, kTransferBufferSize);
    transferred_ = count;
    lastInStatus_ = status;
    if (status != 0) {
        if (CountFailure(1))
            log.Usb(Format("WDU_Bulk_In err ReadPacket(%d:%d) %s", size, count, WdStatusText(status).chars));
        return kReadFailed;
    }
    const bool whole = count == size + kReplyDataOffset;
    if (!whole && count != size && count != kBareReply) {
        // A bare status record of 80 bytes, too, is complete for the poll alone, where it is the size itself.
        log.Usb(Format("ReadPacket err pktsz %d, xfred %d, sn %d:%d", size, count, sendSeq_.load(),
                       Load32(transferBuffer + offsetof(CmdPkt, seq))));
        return kIncomplete;
    }
    if (!whole && count != kBareStatus && count != kBareReply) {
        log.Usb("ReadPacket  ?");
        return kIncomplete;
    }
    return kComplete;
}

uint32_t Transport::ReadImgPkt(uint8_t *buffer, uint32_t size) {
    transferred_ = 0;
    void *device = deviceLink.device;
    if (!device)
        return kNoDeviceRead;
    const auto [status, count] = In(device, buffer, size);
    transferred_ = count;
    lastInStatus_ = status;
    if (status != 0)
        log.Usb(Format("WDU_Bulk_In err ReadImgPkt(%d:%d) %s ", size, count, WdStatusText(status).chars));
    else if (count != size)
        log.Usb(Format("ReadImgPkt err ln %d, pktsz %d, xfred %d, sn %d:%d", Load16(buffer + 8), size, count,
                       sendSeq_.load() - 1, Load32(transferBuffer + offsetof(CmdPkt, seq))));
    return status == 0 && count == size ? kComplete : kIncomplete;
}

uint32_t Transport::WritePacket(uint32_t size) {
    void *device = deviceLink.device;
    if (!device)
        return kNoDeviceRead;
    const auto [status, count] = Out(device, transferBuffer, size + kReplyDataOffset);
    transferred_ = count;
    return status == 0 && count == size + kReplyDataOffset ? kComplete : kIncomplete;
}

StatusText WdStatusText(uint32_t status) {
    static constexpr struct {
        uint32_t status;
        const char *text;
    } kNames[] = {
        {0, "WD_STATUS_SUCCESS"},
        {0x20000015, "TIMEOUT_EXPIRED"},
        {0xC0000011, "USBD_STATUS_XACT_ERROR"},
        {0xC0010000, "USBD_STATUS_CANCELED"},
        {0xC0007000, "USBD_STATUS_DEVICE_GONE"},
        {0xC0000012, "USBD_STATUS_BABBLE_DETECTED"},
        {0x20000002, "WD_INVALID_PIPE_NUMBER"},
        {0x20000020, "WD_OPERATION_FAILED"},
        {0x80000600, "WD_USBD_STA_INV_PIPE_HANDLE"},
        {0x80000300, "WD_USBD_STATUS_INVALID_PARAMETER"},
    };
    StatusText text;
    for (const auto &name : kNames) {
        if (name.status == status) {
            CopyText(text.chars, sizeof text.chars, name.text);
            return text;
        }
    }
    std::snprintf(text.chars, sizeof text.chars, "%X", status);
    return text;
}

} // namespace k274
