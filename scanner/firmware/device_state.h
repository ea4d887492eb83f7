// Everything that the scanner knows, in one place, for the handlers of its commands.
#pragma once

#include "scanner/firmware/calibration.h"
#include "scanner/firmware/clock.h"
#include "scanner/firmware/device_log.h"
#include "scanner/firmware/event_queue.h"
#include "scanner/firmware/flash.h"
#include "scanner/firmware/general.h"
#include "scanner/firmware/line_server.h"
#include "scanner/firmware/packet.h"
#include "scanner/firmware/programming.h"
#include "scanner/firmware/status_machine.h"
#include "scanner/virtual_scanner.h"

#include <memory>

namespace scanner {

/// The sensor's test on a target at rest.
struct StillTest {
    bool on = false;       // the host has asked for it since the last card
    uint32_t captures = 0; // each with noise of its own
    StillDefects defects;
};

struct DeviceState {
    DeviceState(const Clock &deviceClock, DeviceLog &deviceLog) : clock(deviceClock), log(deviceLog) {}

    const Clock &clock;
    DeviceLog &log;
    EventQueue events;
    StatusMachine status{clock, events, log};
    LineServer lines;
    CalibrationRecord calibration{lines.Lamps()};
    AfeRegisters afe = kFactoryAfe; // as they are now; the flash may hold others
    StillTest still;
    int lensBlur = 0; // how far the lens is from sharp, in pixels of a focus line
    VS_Identity identity = kFactoryIdentity;
    Stored stored;
    FlashFile flashFile;
    Programming programming;
    VS_Observed observed{};
    std::shared_ptr<const Card> slot; // waits to be drawn in
    bool doorOpen = false;
    bool resetNotice = false;  // the host has not been told of the last reset
    double poweredOn = 0;      // scanner's time
    uint32_t lastLogged = ~0u; // word and reply kind of the last poll in the log
    Reply reply;
};

} // namespace scanner
