// Small commands to the scanner that the host and the scan send alike.
#pragma once

#include <cstdint>

namespace k274 {

constexpr uint8_t kTransferLed = 2; // switched off when a pass has ended
constexpr uint8_t kStateLed = 7;

/// Debug LED and its twin on the rig. Takes the device lock, then waits 10 ms.
void DebugLeds(uint8_t led, uint8_t on);

/// @return 1 when the flag was sent, else 0; the flag is kept either way. Takes the device lock.
uint8_t LogIn(uint8_t flag);

/// Posts a request for the next status poll and waits 20 ms.
void PostUserLed(int32_t value);
void PostUserBeep(uint8_t value);
void PostEject();

constexpr int kAfeWords = 26;
struct AfeRegisters {
    uint16_t words[kAfeWords];
};

/// Reads the AFE register block. Takes the device lock.
bool ReadAfeRegisters(AfeRegisters &registers);

} // namespace k274
