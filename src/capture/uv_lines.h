// The ultraviolet pass: the raw image is not transposed, a row of it is a scan line. After the pass its
// brightness is raised, its colour rows are brought together, it is corrected as the host's options say and
// the images are cut from it. The transfer loop calls these in this order.
#pragma once

#include "src/common/byte_map.h"
#include "src/common/geometry.h"
#include "src/common/view.h"

#include <cstdint>

namespace k274 {

/// Multiplies every byte by 9/5.
void UvBrighten(ColourView raw);

struct UvOptions {
    bool blackSub, illumGain, gain, blackTable;
};

/// What the white level says of the last ultraviolet pass.
struct UvMeasure {
    int32_t uvWhite;     ///< 0 to 255
    int32_t medianLevel; ///< 0 to 255
    float whiteRatio;    ///< white level / 255
    float gain;          ///< 1 to 3
};

/// Brings the colours of the raw image together and into the order blue, green, red, takes the black level
/// off where the options say so, and makes the corrected image: the raw one, or the raw one times the
/// gains x 64 of its columns. The gains leave the corrected image's columns from 1350 on as they are.
void UvRealign(const UvOptions &options, const uint16_t (&gains)[kSensorRows], ColourView raw,
               ColourView corrected);

UvMeasure UvWhiteLevel(ConstColourView corrected);

/// What lies below half the median is pressed together, the rest spread.
ByteMap UvBlackTable(int32_t medianLevel, float gain);

/// Multiplies the corrected image by the measured gain and applies the black-level table to its columns
/// below 1350, as the options say.
void UvTones(const UvOptions &options, const UvMeasure &measure, ColourView corrected);

/// All corrections in their order: UvRealign, UvWhiteLevel, UvTones.
UvMeasure UvCorrect(const UvOptions &options, const uint16_t (&gains)[kSensorRows], ColourView raw,
                    ColourView corrected);

/// Cuts and stretches one side.
/// @param frontEdgeRow  as the visible-light pass found it
void UvCropFront(ConstColourView corrected, int32_t frontEdgeRow, ColourView uvFr);
void UvCropBack(ConstColourView corrected, ColourView uvBk);

/// Share of the back image that shows any light at all, percent.
float UvLedCheck(ConstColourView uvBk);
constexpr float kUvLedMinPercent = 5.0F; ///< the lamp is suspect below

} // namespace k274
