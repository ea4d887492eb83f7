// The commands that the scanner knows. A new one is a row in the table and a handler beside its subject.
#pragma once

#include "scanner/firmware/device_state.h"

namespace scanner {

enum class Answer {
    None,    // the command wants no reply
    Reply,   // the reply is ready
    Lines,   // the reply follows when the lines are there
    Refused, // the command is known, but not with these fields
};

struct CommandInfo {
    uint8_t code;
    const char *name;
    size_t bytes; // a command cut shorter is refused
    Answer (*handle)(DeviceState &device, const Command &command);
};

/// Null when the scanner does not know the code.
const CommandInfo *FindCommand(uint8_t code);

// status_reply.cpp
Answer StatusPoll(DeviceState &, const Command &);
Answer EventRead(DeviceState &, const Command &);
// line_server.cpp
Answer RgbLines(DeviceState &, const Command &);
Answer IrLines(DeviceState &, const Command &);
Answer UvLines(DeviceState &, const Command &);
Answer HiresLines(DeviceState &, const Command &);
// still.cpp
Answer StillMode(DeviceState &, const Command &);
Answer StillLines(DeviceState &, const Command &);
// focus.cpp
Answer FocusLines(DeviceState &, const Command &);
// stripe.cpp
Answer StripeLines(DeviceState &, const Command &);
Answer StripeTracks(DeviceState &, const Command &);
// calibration.cpp
Answer CalibrationExchange(DeviceState &, const Command &);
// programming.cpp
Answer FirmwareImage(DeviceState &, const Command &);
Answer FpgaImage(DeviceState &, const Command &);
// data_areas.cpp
Answer FactoryData(DeviceState &, const Command &);
Answer UserData(DeviceState &, const Command &);
Answer FlashBlock(DeviceState &, const Command &);
Answer ParameterExchange(DeviceState &, const Command &);
Answer AfeExchange(DeviceState &, const Command &);
// workshop.cpp
Answer SetLeds(DeviceState &, const Command &);
Answer LedAging(DeviceState &, const Command &);
Answer Mechanism(DeviceState &, const Command &);
Answer Loopback(DeviceState &, const Command &);
// session.cpp
Answer Handshake(DeviceState &, const Command &);
Answer CloseSession(DeviceState &, const Command &);
Answer ClearLastScan(DeviceState &, const Command &);
Answer EjectCard(DeviceState &, const Command &);
Answer ResetScanner(DeviceState &, const Command &);
Answer GuiScan(DeviceState &, const Command &);
Answer Information(DeviceState &, const Command &);
// registers.cpp
Answer UvOption(DeviceState &, const Command &);
Answer WhiteCardNumber(DeviceState &, const Command &);
Answer LogIn(DeviceState &, const Command &);
Answer UserLed(DeviceState &, const Command &);
Answer LastScanMode(DeviceState &, const Command &);
Answer SecondScan(DeviceState &, const Command &);
Answer DebugLed(DeviceState &, const Command &);
Answer Beep(DeviceState &, const Command &);

} // namespace scanner
