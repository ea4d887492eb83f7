// What is measured on a scan's images after each transfer: the white-card test, the response profiles and
// what follows from them. The analysis fills these records; state/measures.h names the library's own.
#pragma once

#include "src/common/geometry.h"
#include "src/common/view.h"
#include "src/state/afe_registers.h"

#include <atomic>
#include <cstdint>

namespace k274 {

/// One row of bytes a colour or light, one entry a sensor position.
using ResponseTable = uint8_t[kResponseTables][kSensorRows];

/// Brightness of a white card along its travel: blue, green, red, infrared, ultraviolet blue and green.
/// Points 0 to 498 are the front's, 500 to 998 the back's; point 0 ends as the plane's unevenness.
constexpr int kFtPlanes = 6, kFtPoints = 1000;
using FtProfile = uint8_t[kFtPlanes][kFtPoints];

/// The raw images of one scan.
struct ScanImages {
    ConstColourView rgbr;
    ConstGreyView irr;
    ConstColourView uvr;
};

/// What a white card is for, and which way round it was put in.
enum CardCode : char {
    kFactory = 'F',
    kFactoryReversed = 'f',
    kCalibration = 'C',
    kCalibrationReversed = 'V'
};
constexpr int32_t kMaintenanceClass = 1; ///< of the cards that calibrate or verify

/// The jitter test and its series of scores, under imageLock. Decoder threads restart the count.
constexpr int kJitterSeries = 5;
struct JitterSeries {
    int32_t value = 0, most = 0; ///< the last score, and the largest of the series, -1 while it is incomplete
    std::atomic<int32_t> count{0};
    int32_t samples[kJitterSeries] = {}; ///< a ring
    int32_t device = 0;                  ///< serial number of the scanner that the series belongs to
};

/// The scanning thread's; the card's identity lives here from scan to scan.
struct ScanMeasures {
    int32_t cardCode = 0;    ///< a CardCode as the white card's barcode says; 0 after another card
    int32_t cardClass = -1;  ///< -1 no white card, 0 a white card, else the class digit of its barcode
    int32_t cardVariant = 0; ///< third character of the barcode
    int32_t forwardRead = 0; ///< 1 when the barcode was read in the forward region
    int32_t whiteSamples[2] = {}, whiteDark[2] = {}, whiteMean[2] = {}; ///< front, back
    int32_t cardNumber = 100; ///< of the last white card, UV gain in percent

    int32_t dustPerChannel[4] = {}; ///< blue, green, red, infrared; 0 to 255
    int32_t dustCount = 0;          ///< the largest of them

    int32_t respHigh[2][kResponseTables] = {},
            respLow[2][kResponseTables] = {}; ///< of the raw response by side
    int32_t visibleMax[2] = {};               ///< larger high level of green and red, front and back

    int32_t correctedMeans[6] = {}; ///< blue, green, red, infrared, ultraviolet blue and green
    int32_t gradeSums[5] = {};      ///< rows 0, 1, 2, infrared, ultraviolet; 0 to 255

    // Of the last white card.
    FtProfile ftProfile = {};
    int32_t windowMeans[kFtPlanes][6] = {}; ///< three on the front, three on the back
    int32_t stepMaxima[kFtPlanes][2] = {};  ///< front, back
    int32_t ratios[kFtPlanes][3] = {};      ///< front, back, the larger
    int32_t profileScore = 0, streakScore = 0;

    JitterSeries jitter;
};

/// What the last calibrations and checks found.
struct Calibration {
    float gains[5] = {};   ///< of the response's rows 0, 1 and 2, infrared, ultraviolet
    AfeRegisters newAfe{}; ///< that bring the response to its aim
    int32_t calFlags = 0;  ///< why newAfe is to be written; 0 when the scanner's block is good enough
    int32_t calCheckFlags =
        0;              ///< why the response is to be stored; 0 when the stored one still corrects well
    int32_t flatOk = 0; ///< 1 when the last flatness check passed
};

} // namespace k274
