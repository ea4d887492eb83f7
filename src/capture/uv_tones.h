// White level, gain and tones of the corrected ultraviolet image.
#pragma once

#include "src/common/byte_map.h"
#include "src/common/view.h"

#include <cstdint>

namespace k274 {

/// Which corrections the host wants.
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

UvMeasure UvWhiteLevel(ConstColourView corrected);

/// What lies below half the median is pressed together, the rest spread.
ByteMap UvBlackTable(int32_t medianLevel, float gain);

/// Multiplies the corrected image by the measured gain and applies the black-level table to its columns
/// below 1350, as the options say.
void UvTones(const UvOptions &options, const UvMeasure &measure, ColourView corrected);

} // namespace k274
