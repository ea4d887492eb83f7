// Calibration with a maintenance card: new settings of the scanner's analogue front end from the response
// of a white card, and the judgement of a response. The scanning thread calls it once a scan is analysed.
#pragma once

#include "src/state/afe_registers.h"
#include "src/state/measures.h"

#include <cstdint>

namespace k274 {

/// Computes gains, newAfe and calFlags from the raw response, whose levels it renews.
/// @param current  the scanner's block at the time of the scan
void AfeCalibrate(const AfeRegisters &current);

/// Sets calCheckFlags by the corrected means.
void CheckMeans();

/// Both of these, for a card that was read forward; nothing for another.
void FactoryCalibrate(const AfeRegisters &current);

/// Moves the back's visible and infrared responses by 24 positions, as a card of variant S needs it.
void ShiftForS(ResponseTable &raw);

/// Judges the corrected means and the grades, and logs the judgement.
/// @return 1 flat, 0 not
int32_t FlatnessCheck();

} // namespace k274
