// Response profiles of the ultraviolet pass.
#pragma once

#include "src/state/scan_measures.h"

namespace k274 {

/// Rows 4 to 6 (red, green, blue) of both responses, times the gain of the last white card's number.
void UvResp(ConstColourView uvr, ConstColourView uvc, const ScanMeasures &card, ResponseTable &raw,
            ResponseTable &corrected);

} // namespace k274
