// The FT profile of a white card, its brightness along the travel in every light, and the scores of its
// unevenness.
#pragma once

#include "src/state/scan_measures.h"

namespace k274 {

void ProfileAnalysis(const ScanImages &images, ScanMeasures &measures, ResponseTable &raw);

} // namespace k274
