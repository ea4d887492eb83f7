// What follows a whole scan: levels, quality and, for a white card, the FT profile; their summary goes into
// the ends of both tables.
#pragma once

#include "src/state/scan_measures.h"

namespace k274 {

void ScanAnalysis(const ScanImages &images, ScanMeasures &measures, ResponseTable &raw,
                  ResponseTable &corrected);

} // namespace k274
