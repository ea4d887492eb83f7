// The status poll: where its request and its reply hold what, and what the status word says.
#pragma once

#include <cstddef>
#include <cstdint>

namespace wire {

constexpr size_t kStatusBytes = 80; // of request and reply

namespace status {
constexpr size_t kKind = 4, kActivity = 5, kWord = 6, kJob = 17, kDoor = 18;
constexpr size_t kReadings = 20, kReadingWords = 8; // temperatures, lamps
constexpr size_t kLogicMillivolts = 36, kMotorMillivolts = 38;
constexpr size_t kFinished = 40, kCancelled = 42, kUptime = 44; // the last of 32 bits
constexpr size_t kEjects = 48, kResets = 50;
constexpr size_t kScans = 52, kRgbBlocks = 56; // 32 bits

// Kinds of replies.
constexpr uint8_t kPlain = 0, kWasReset = 1, kEventWaits = 2;

// Of kJob.
constexpr uint8_t kProgramming = 3;

// Bits of the word; idle is 0.
constexpr uint16_t kCard = 0x0001;
constexpr uint16_t kFirst = 0x0002; // the first stage is ready
constexpr uint16_t kRgb = 0x0004;   // lines of visible light are ready
constexpr uint16_t kRgbOver = 0x0008;
constexpr uint16_t kIr = 0x0010;   // infrared lines are ready
constexpr uint16_t kLast = 0x0040; // lines of the last pass are ready
constexpr uint16_t kJam = 0x1000;
constexpr uint16_t kCleaning = 0x2000;
constexpr uint16_t kEnd = 0x8000; // ends every wait

struct NamedBit {
    uint16_t bit;
    const char *name;
};
constexpr NamedBit kNamedBits[] = {
    {kCard, "card"}, {kFirst, "first stage"}, {kRgb, "RGB"},           {kIr, "IR"},
    {kLast, "last"}, {kJam, "jam"},           {kCleaning, "cleaning"}, {kEnd, "end"}};

constexpr const char *KindName(uint8_t kind) {
    return kind == kWasReset ? "reset" : kind == kEventWaits ? "event waiting" : "status";
}
} // namespace status

// The scan mode of a poll that wants visible light alone: the scan ends after that pass.
constexpr uint8_t kVisibleLightOnly = 'R';

} // namespace wire
