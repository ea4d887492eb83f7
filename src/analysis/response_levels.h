// The highest and lowest levels of the raw response, outliers left out.
#pragma once

#include "src/state/scan_measures.h"

namespace k274 {

void ResponseLevels(const ResponseTable &raw, ScanMeasures &measures);

} // namespace k274
