// The commands that a host sends: their codes, their names for people, and the sub-codes that both sides
// know.
#pragma once

#include <cstdint>

namespace wire {

namespace command {
constexpr uint8_t kStatusPoll = 0x00;
constexpr uint8_t kRgbLines = 0x01;
constexpr uint8_t kIrLines = 0x02;
constexpr uint8_t kUvLines = 0x03;
constexpr uint8_t kStillLines = 0x04;
constexpr uint8_t kFocusImage = 0x06;
constexpr uint8_t kStripeImage = 0x07;
constexpr uint8_t kHiresLines = 0x08;
constexpr uint8_t kStillMode = 0x09;
constexpr uint8_t kUvOption = 0x0A;
constexpr uint8_t kFlash = 0x10;
constexpr uint8_t kLoopback = 0x11;
constexpr uint8_t kFpga = 0x12;
constexpr uint8_t kCalibration = 0x13;
constexpr uint8_t kOpen = 0x14;
constexpr uint8_t kEvent = 0x15;
constexpr uint8_t kWhiteCardNumber = 0x16;
constexpr uint8_t kClose = 0x17;
constexpr uint8_t kFactoryData = 0x18;
constexpr uint8_t kUserData = 0x19;
constexpr uint8_t kClear = 0x1A;
constexpr uint8_t kStripeTracks = 0x20;
constexpr uint8_t kLogIn = 0x40;
constexpr uint8_t kEject = 0x41;
constexpr uint8_t kUserLed = 0x42;
constexpr uint8_t kAfeRegisters = 0x60;
constexpr uint8_t kParameters = 0x61;
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

struct NamedCommand {
    uint8_t code;
    const char *name;
};
constexpr NamedCommand kCommands[] = {
    {command::kStatusPoll, "status poll"},
    {command::kRgbLines, "RGB line block"},
    {command::kIrLines, "IR line block"},
    {command::kUvLines, "UV line block"},
    {command::kStillLines, "still lines"},
    {command::kFocusImage, "focus lines"},
    {command::kStripeImage, "stripe IR image"},
    {command::kHiresLines, "1200-dpi line block"},
    {command::kStillMode, "still-image test mode"},
    {command::kUvOption, "UV option"},
    {command::kFlash, "firmware image"},
    {command::kLoopback, "loopback"},
    {command::kFpga, "FPGA image"},
    {command::kCalibration, "calibration record"},
    {command::kOpen, "open handshake"},
    {command::kEvent, "event read"},
    {command::kWhiteCardNumber, "white-card number"},
    {command::kClose, "close"},
    {command::kFactoryData, "factory data"},
    {command::kUserData, "user data"},
    {command::kClear, "clear"},
    {command::kStripeTracks, "stripe data"},
    {command::kLogIn, "login"},
    {command::kEject, "eject"},
    {command::kUserLed, "user LED"},
    {command::kAfeRegisters, "AFE registers"},
    {command::kParameters, "parameters"},
    {command::kLastScan, "last-scan mode"},
    {command::kFlashBlock, "flash block"},
    {command::kSecondScan, "second-scan value"},
    {command::kLeds, "LEDs"},
    {command::kMechanism, "mechanism"},
    {command::kDebugLed, "debug LED"},
    {command::kBeep, "beep"},
    {command::kReset, "reset"},
    {command::kGuiScan, "GUI scan"},
    {command::kLedAging, "LED aging"},
    {command::kDeviceInfo, "device information"},
};

/// Null for a code that is no command.
inline const char *CommandName(uint8_t code) {
    for (const NamedCommand &command : kCommands) {
        if (command.code == code)
            return command.name;
    }
    return nullptr;
}

// What the second byte of a packet asks for.
namespace sub {
namespace flash {
constexpr uint8_t kLoad = 1, kProgram = 2, kFormat = 3;
}
namespace fpga {
constexpr uint8_t kEraseAndProgram = 0, kProgramOnly = 1, kErase = 2;
}
namespace calibration {
constexpr uint8_t kRead = 0, kWrite = 1, kWriteVisible = 2;
}
namespace record { // factory and user data
constexpr uint8_t kRead = 'r', kWrite = 'w';
}
namespace parameters {
constexpr uint8_t kRead = 0, kWrite = 1;
}
namespace afe { // any mode but reading sets the registers
constexpr uint8_t kRead = 0, kStore = 2;
}
namespace mechanism {
constexpr uint8_t kState = 1;
}
namespace hires {
constexpr uint8_t kOneWay = 1;
}
namespace logIn {
constexpr uint8_t kSetFlag = 2;
}
} // namespace sub

} // namespace wire
