// The factory test rig: digital outputs that mirror the scanner's state. Its driver is loaded at run time;
// without it nothing happens.
#pragma once

#include <cstdint>

namespace k274 {

// Lines that the scan and the device commands drive.
constexpr int32_t kRigLed0 = 0;
constexpr int32_t kRigLed1 = 1;
constexpr int32_t kRigScan = 8; // also LED 2
constexpr int32_t kRigLed3 = 9;
constexpr int32_t kRigSpare = 10;
constexpr int32_t kRigLogIn = 12;

enum RigAction : int32_t { kRigLow = 0, kRigHigh = 1, kRigHighPulse = 2, kRigLowPulse = 3 };

/// Loads the driver and opens the rig; each session start does it again and replaces the handle.
void LabJackOpen();

/// Sets one line; other actions than the four do nothing. Any thread.
void LabJackSet(int32_t channel, int32_t action);

/// The same for a host, with a line in the log.
void LabJack(int32_t channel, int32_t action);

} // namespace k274
