// Packets: a command is one header of 256 bytes, or the first 24 of them, with data behind it if there are
// any; a reply is a header, alone or with data. Numbers are little-endian.
#pragma once

#include <cstddef>
#include <cstdint>

namespace wire {

constexpr size_t kShortHeaderBytes = 24;
constexpr size_t kHeaderBytes = 256;
constexpr size_t kBareReplyBytes = 20;        // that a scanner may give to any request for data
constexpr size_t kMostTransferBytes = 196608; // hosts make room for no more
constexpr size_t kMostDataBytes = kMostTransferBytes - kHeaderBytes;

constexpr uint8_t kFreshStatus = 0xFF; // of a command; a reply has the scanner's, 0 for success

// Where the fields of a header lie.
namespace field {
constexpr size_t kCode = 0, kSub = 1, kStatus = 2;
constexpr size_t kWord0 = 8;     // line, block number
constexpr size_t kWord1 = 10;    // lines, length of a reply or a record
constexpr size_t kSequence = 12; // counts the host's packets
constexpr size_t kArguments = 16, kArgumentBytes = 4;
constexpr size_t kValues = 24; // blocks of numbers: parameters, registers
constexpr size_t kDword0 = 44, kDword1 = 52;
constexpr size_t kRecord = 128, kRecordBytes = 128; // a data record, or the text of an event
} // namespace field

// Image packets: progress of the head in lines, where the packet begins with a short header and a whole one.
constexpr size_t kProgressAt = 16, kHiresProgressAt = 20;

// Reply to the request for device information.
namespace information {
constexpr size_t kFirmware = 16; // three bytes
constexpr size_t kFpga = 26;     // 16 bits, the major version in the upper byte
constexpr size_t kHardware = 28;
constexpr size_t kSecondSerialMark = 30; // 16 bits
constexpr size_t kFurther = 34;
constexpr size_t kSecondSerialLow = 44, kSecondSerialHigh = 52;
constexpr size_t kSerial = 56;

constexpr uint16_t kHasSecondSerial = 112;
} // namespace information

// Reply to the mechanism's state.
namespace mechanism {
constexpr size_t kFlags = 42;
constexpr uint16_t kWantsFirmware = 0x10;
} // namespace mechanism

// Blocks at field::kValues: parameters have 32 bits, registers of the analog front end 16.
constexpr int kParameters = 11, kParameterMarkAt = 10, kAfeRegisters = 26;
constexpr uint32_t kParameterMark = 500; // a block without it is none

// The calibration record: length and sum of the responses, then these.
constexpr size_t kResponseLengthAt = 0, kResponseSumAt = 4, kResponsesAt = 8;

// The magnetic tracks: blocks of one byte a bit, and how many of them were read.
constexpr size_t kTrackBits = 1020, kTrackBlockBytes = kTrackBits + 4;
constexpr size_t kTrackReplyBytes = 4096;

constexpr size_t kFlashBlockBytes = 4096;
constexpr size_t kMostImageBytes = 131072; // of firmware or FPGA

} // namespace wire
