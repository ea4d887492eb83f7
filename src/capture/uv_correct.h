// The ultraviolet pass: the raw image is not transposed, a row of it is a scan line. After the pass its
// brightness is raised, its colour rows are brought together, and it is corrected as the host's options say.
#pragma once

#include "src/capture/uv_tones.h"
#include "src/common/geometry.h"
#include "src/common/view.h"

#include <cstdint>

namespace k274 {

/// Multiplies every byte by 9/5.
void UvBrighten(ColourView raw);

/// Brings the colours of the raw image together and into the order blue, green, red, takes the black level
/// off where the options say so, and makes the corrected image: the raw one, or the raw one times the
/// gains x 64 of its columns. The gains leave the corrected image's columns from 1350 on as they are.
void UvRealign(const UvOptions &options, const uint16_t (&gains)[kSensorRows], ColourView raw,
               ColourView corrected);

/// All corrections in their order: UvRealign, UvWhiteLevel, UvTones.
UvMeasure UvCorrect(const UvOptions &options, const uint16_t (&gains)[kSensorRows], ColourView raw,
                    ColourView corrected);

} // namespace k274
