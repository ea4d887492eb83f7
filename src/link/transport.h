// The USB transport: moves packets over the two bulk pipes, stamps sequence numbers, checks lengths, logs
// and counts failures, and offers the recovery steps. It has no lock: callers hold the device lock around
// an exchange, except the few that are documented to send without it; the small values are atomic for them.
#pragma once

#include "src/link/packet.h"
#include "wire/driver.h"

#include <atomic>
#include <cstdint>

namespace k274 {

/// What an operation came to. A send is done when the driver took it, a read or a packet write when all of it
/// was transferred.
struct Outcome {
    enum Kind { Done, Failed, NoScanner };
    Kind kind;
    uint32_t status; // the driver's, or one of the two below
    bool Ok() const { return kind == Done; }
};
constexpr uint32_t kNoDeviceSend = 0xFFFFFFFF;                   // a send without a scanner
constexpr uint32_t kNoDeviceRead = wire::driver::kInvalidHandle; // a read without a scanner

constexpr uint32_t kTransferBufferSize = wire::kMostTransferBytes;
constexpr uint32_t kReplyDataOffset = wire::kHeaderBytes; // data replies: header, then data

class Transport {
public:
    Outcome SendCmd(CmdPkt &packet);
    Outcome SendCmdHeader(CmdPkt &packet);
    Outcome SendCmdData(CmdPkt &packet, uint32_t size);
    /// Sends transferBuffer: the header and `size` data bytes.
    Outcome WritePacket(uint32_t size);

    Outcome ReadPacketHdr(CmdPkt &packet);
    /// A data reply of `size` data bytes into transferBuffer. A bare reply counts as complete: what it lacks
    /// reads as zero, never as what an earlier reply left.
    Outcome ReadData(uint32_t size);
    /// The reply to a status poll at the start of transferBuffer; what a bare one lacks reads as zero.
    Outcome ReadStatus();
    /// An image packet of exactly `size` bytes, at most kTransferBufferSize.
    Outcome ReadImgPkt(uint8_t *buffer, uint32_t size);

    // ---- recovery ----
    bool ResetPipes();
    bool HardReset();
    void CyclePort();
    void ResetDevice();

    void SetVerbose(uint32_t level) { verbose_ = level; }
    /// Whether the last packet, sent or refused for want of a scanner, went out.
    bool LastSendWentOut() const { return lastOutStatus_ == wire::driver::kSuccess; }

    /// Makes the header of transferBuffer a fresh packet.
    CmdPkt &FreshHeader();
    const uint8_t *ReplyData() const { return transferBuffer + kReplyDataOffset; }
    uint8_t *DataToWrite() { return transferBuffer + kReplyDataOffset; }

    alignas(16) uint8_t transferBuffer[kTransferBufferSize];
    alignas(16) uint8_t imagePacketBuffer[kTransferBufferSize];

    Transport() { FreshHeader(); }

private:
    struct Sent {
        uint32_t status;
        bool complete;
        operator Outcome() const { return {status == 0 ? Outcome::Done : Outcome::Failed, status}; }
    };
    Sent Send(void *device, CmdPkt &packet, uint32_t size);
    Outcome ReadPacket(uint32_t size);
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
