// What the passes of a scan found; the monitor thread's alone.
#pragma once

#include "src/capture/card_search.h"
#include "src/capture/measure.h"

#include <cstdint>

namespace k274 {

struct PassResults {
    bool rgbOk = false, irOk = false, uvOk = false; // pass flags: enough lines arrived
    Levels rgbLevels{}, irLevels{}, uvLevels{};
    CardPosition position{};
    CardMeasure measure{};
    LengthResults length{}; // a check of the visible pass alone leaves the others
    int32_t uvLampWarnings = 0;

    /// Fills the raw line buffers with their resting value.
    PassResults();
};
extern PassResults passResults;

/// Before a capture: pass flags off, raw line buffers filled with their resting value.
void ClearCapture();

} // namespace k274
