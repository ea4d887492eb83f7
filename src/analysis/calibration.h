// Calibration with a maintenance card: new settings of the scanner's analogue front end from the response
// of a white card, and the judgement of a response. The scanning thread calls it once a scan is analysed.
#pragma once

#include "src/analysis/image_processor.h"
#include "src/maint/device_commands.h"

#include <cstdint>

namespace k274 {

/// What the last calibrations and checks found.
struct Calibration {
    float gains[5] = {};   ///< of the response's rows 0, 1 and 2, infrared, ultraviolet
    AfeRegisters newAfe{}; ///< that bring the response to its aim
    int32_t calFlags = 0;  ///< why newAfe is to be written; 0 when the scanner's block is good enough
    int32_t calCheckFlags =
        0;              ///< why the response is to be stored; 0 when the stored one still corrects well
    int32_t flatOk = 0; ///< 1 when the last flatness check passed
};
extern Calibration calibration;

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

/// A card read forward: stores the raw response in the scanner. A card read backward: only checks.
/// @return what SaveWcc or FlatnessCheck returned
int32_t Verify(int32_t variant);

} // namespace k274
