// The USB transport: moves packets over the two bulk pipes, stamps sequence numbers, checks lengths, logs
// and counts failures, and offers the recovery steps. It has no lock: callers hold the device lock around
// an exchange, except the few that are documented to send without it; the small values are atomic for them.
#pragma once

#include "src/link/packet.h"
#include "wire/driver.h"

#include <atomic>
#include <cstdint>

namespace k274 {

// Results of the operations beside the driver's statuses.
constexpr uint32_t kComplete = 1;
constexpr uint32_t kIncomplete = 0;
constexpr uint32_t kNoDeviceSend = 0xFFFFFFFF;                   // a send without a scanner
constexpr uint32_t kNoDeviceRead = wire::driver::kInvalidHandle; // a read without a scanner
constexpr uint32_t kReadFailed = 0xFFFFFFFF;                     // ReadPacket: the transfer failed

constexpr uint32_t kTransferBufferSize = wire::kMostTransferBytes;
constexpr uint32_t kReplyDataOffset = wire::kHeaderBytes; // data replies: header, then data

class Transport {
public:
    // ---- sends: the driver's status, 0 for success; kNoDeviceSend without a scanner ----
    uint32_t SendCmd(CmdPkt &packet);
    uint32_t SendCmdHeader(CmdPkt &packet);
    uint32_t SendCmdData(CmdPkt &packet, uint32_t size);

    // ---- reads and packet writes: kComplete or kIncomplete; kNoDeviceRead without a scanner ----
    uint32_t ReadPacketHdr(CmdPkt &packet);
    /// A data reply of `size` data bytes into transferBuffer; kReadFailed when the transfer itself failed.
    uint32_t ReadPacket(uint32_t size);
    /// An image packet of exactly `size` bytes, at most kTransferBufferSize.
    uint32_t ReadImgPkt(uint8_t *buffer, uint32_t size);
    /// Sends transferBuffer: the header and `size` data bytes.
    uint32_t WritePacket(uint32_t size);

    // ---- recovery ----
    bool ResetPipes();
    bool HardReset();
    void CyclePort();
    void ResetDevice();

    void SetVerbose(uint32_t level) { verbose_ = level; }
    uint32_t LastOutStatus() const { return lastOutStatus_; }

    /// Makes the header of transferBuffer a fresh packet.
    CmdPkt &FreshHeader();
    const uint8_t *ReplyData() const { return transferBuffer + kReplyDataOffset; }

    alignas(16) uint8_t transferBuffer[kTransferBufferSize];
    alignas(16) uint8_t imagePacketBuffer[kTransferBufferSize];

    Transport() { FreshHeader(); }

private:
    struct Sent {
        uint32_t status;
        bool complete;
    };
    Sent Send(void *device, CmdPkt &packet, uint32_t size);
    bool CountFailure(uint32_t loggedAtLevel);

    std::atomic<uint32_t> lastOutStatus_{0}, lastResetStatus_{0};
    std::atomic<uint32_t> replyErrorRun_{0}; // consecutive failed ReadPacketHdr transfers
    std::atomic<uint32_t> sendSeq_{0};
    std::atomic<uint32_t> verbose_{0};
};
extern Transport transport;

/// The driver's name of a status, or its digits in upper-case hexadecimal.
struct StatusText {
    char chars[40];
    operator const char *() const { return chars; }
};
StatusText WdStatusText(uint32_t status);

} // namespace k274
