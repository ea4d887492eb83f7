// Small commands to the scanner that the host and the scan send alike.
#pragma once

#include "include/k274.h"
#include "src/state/afe_registers.h"

#include <cstdint>

namespace k274 {

constexpr uint8_t kTransferLed = 2; // switched off when a pass has ended
constexpr uint8_t kStateLed = 7;

/// Debug LED and its twin on the rig. Takes the device lock, then waits 10 ms.
void DebugLeds(uint8_t led, uint8_t on);

/// Restarts the scanner. Takes no lock.
void ResetScanner();

/// @return whether the flag was sent; it is kept either way. Takes the device lock.
bool LogIn(uint8_t flag);

/// Posts a request for the next status poll and waits 20 ms.
void PostUserLed(int32_t value);
void PostUserBeep(uint8_t value);
void PostEject();

// Maintenance commands; the aging command alone takes no device lock.
void SetLeds(uint8_t a, uint8_t b, uint8_t c);
void GuiLedAging(uint8_t mode);
void MechTest(uint8_t test, uint32_t first, uint32_t second);

constexpr uint8_t kReadBlock = 0, kWriteParameters = 1, kWriteAfe = 2;

/// Exchanges the parameter block; mode kReadBlock keeps the words that a scan header tells. Never waits for
/// the device lock.
/// @return false with an untouched block
bool ExchangeParameters(K274_Parameters &block, uint8_t mode);

/// Exchanges the AFE register block; the records keep the scanner's answer. Takes the device lock.
/// @return false, with untouched registers, when the exchange failed
bool ExchangeAfe(AfeRegisters &registers, uint8_t mode);
bool ReadAfeRegisters(AfeRegisters &registers);
/// ExchangeAfe, and the time that the scanner takes to settle.
bool AfeRegs(AfeRegisters &registers, uint8_t mode);

} // namespace k274
