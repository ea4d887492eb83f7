// Calibration with a maintenance card: new settings of the scanner's analogue front end from the response
// of a white card, and the judgement of a response. The scanning thread calls it once a scan is analysed.
#pragma once

#include "src/state/scan_measures.h"

namespace k274 {

/// Computes gains, newAfe and calFlags from the raw response, whose levels it renews.
/// @param current  the scanner's block at the time of the scan
void AfeCalibrate(const AfeRegisters &current, const ResponseTable &raw, ScanMeasures &measures,
                  Calibration &calibration);

/// Why the response is to be stored, by the corrected means: the calibration's calCheckFlags.
int32_t CheckMeans(const ScanMeasures &measures);

/// Both of these, for a card that was read forward; nothing for another.
void FactoryCalibrate(const AfeRegisters &current, const ResponseTable &raw, ScanMeasures &measures,
                      Calibration &calibration);

/// Moves the back's visible and infrared responses by 24 positions, as a card of variant S needs it.
void ShiftForS(ResponseTable &raw);

/// Judges the corrected means and the grades.
/// @return 0 flat, otherwise why not
int32_t FlatnessCheck(const ScanMeasures &measures);

} // namespace k274
