// The command packet and the codes of the commands that the library sends. A packet is built fresh on the
// caller's stack; the reply overwrites it. Its first 24 bytes are the header, which some exchanges send
// alone.
#pragma once

#include "src/common/bytes.h"

#include <cstddef>
#include <cstdint>

namespace k274 {

constexpr size_t kPacketSize = 256;
constexpr size_t kHeaderSize = 24;

// Offsets of the fields that lie inside the payload area.
constexpr size_t kPayloadOffset = 24;
constexpr size_t kDword0Offset = 44;
constexpr size_t kDword1Offset = 52;
constexpr size_t kRecordOffset = 128;

struct CmdPkt {
    static constexpr uint8_t kFresh = 0xFF;

    uint8_t code = 0;
    uint8_t sub = 0;         // sub-code or mode byte
    uint8_t status = kFresh; // in a reply: the scanner's status, 0 for success
    uint8_t reserved3[5] = {};
    uint16_t word0 = 0; // line index, block number, start line
    uint16_t word1 = 0; // lines per block, reply length, record length
    uint32_t seq = 0;   // stamped by the transport at every send
    uint8_t arg0 = 0, arg1 = 0, arg2 = 0, arg3 = 0;
    uint8_t reserved20[4] = {};
    uint8_t payload[kPacketSize - kPayloadOffset] = {};

    CmdPkt() = default;
    explicit CmdPkt(uint8_t command, uint8_t subCode = 0) : code(command), sub(subCode) {}

    uint8_t *Bytes() { return reinterpret_cast<uint8_t *>(this); }
    uint8_t *Record() { return Bytes() + kRecordOffset; }
    void SetDword0(uint32_t value) { Store32(Bytes() + kDword0Offset, value); }
    void SetDword1(uint32_t value) { Store32(Bytes() + kDword1Offset, value); }
    uint16_t Word(size_t offset) { return Load16(Bytes() + offset); }
    uint32_t Dword(size_t offset) { return Load32(Bytes() + offset); }
};
static_assert(sizeof(CmdPkt) == kPacketSize && offsetof(CmdPkt, word0) == 8 && offsetof(CmdPkt, seq) == 12 &&
              offsetof(CmdPkt, arg0) == 16 && offsetof(CmdPkt, payload) == kPayloadOffset);

namespace command {
constexpr uint8_t kStatusPoll = 0x00;
constexpr uint8_t kRgbLines = 0x01;
constexpr uint8_t kIrLines = 0x02;
constexpr uint8_t kUvLines = 0x03;
constexpr uint8_t kStillLines = 0x04;
constexpr uint8_t kFocusImage = 0x06;
constexpr uint8_t kStripeImage = 0x07;
constexpr uint8_t kHiresLines = 0x08; // sub 1
constexpr uint8_t kStillMode = 0x09;
constexpr uint8_t kUvOption = 0x0A;
constexpr uint8_t kFlash = 0x10; // sub 1 loads an image, 2 programs it, 3 formats
constexpr uint8_t kLoopback = 0x11;
constexpr uint8_t kFpga = 0x12;        // sub 0 erases and programs, 1 programs, 2 erases
constexpr uint8_t kCalibration = 0x13; // sub 0 reads the white-card response, 1 and 2 write it
constexpr uint8_t kOpen = 0x14;
constexpr uint8_t kEvent = 0x15;
constexpr uint8_t kWhiteCardNumber = 0x16;
constexpr uint8_t kClose = 0x17;
constexpr uint8_t kFactoryData = 0x18; // sub 'r', 'w'
constexpr uint8_t kUserData = 0x19;
constexpr uint8_t kClear = 0x1A;
constexpr uint8_t kStripeTracks = 0x20;
constexpr uint8_t kLogIn = 0x40; // sub 2
constexpr uint8_t kEject = 0x41;
constexpr uint8_t kUserLed = 0x42;
constexpr uint8_t kAfeRegisters = 0x60; // sub 0 reads
constexpr uint8_t kParameters = 0x61;   // sub 0 reads, 1 writes
constexpr uint8_t kLastScan = 0x62;
constexpr uint8_t kFlashBlock = 0x65;
constexpr uint8_t kSecondScan = 0x66;
constexpr uint8_t kLeds = 0x70;
constexpr uint8_t kMechanism = 0x72;
constexpr uint8_t kDebugLed = 0x73;
constexpr uint8_t kBeep = 0x74;
constexpr uint8_t kReset = 0x75;
constexpr uint8_t kGuiScan = 0x78;
constexpr uint8_t kLedAging = 0x79;
constexpr uint8_t kDeviceInfo = 0x7F;
} // namespace command

/// Serves every device-information request; used under the device lock.
extern CmdPkt deviceInfoPacket;

/// Version of the firmware that the library carries and expects the scanner to run.
constexpr uint8_t kLibraryFirmwareVersion[3] = {2, 3, 7};

/// One command and its reply, with one ResetDevice and retry when the reply does not come. The caller holds
/// the device lock.
/// @return false when the send failed, or the reply did not come twice; the packet is then not to be read
bool FwCmd(CmdPkt &packet);

} // namespace k274
