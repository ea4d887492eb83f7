// How even the responses are. What is counted goes into the summaries, too.
#pragma once

#include "src/state/scan_measures.h"

namespace k274 {

/// Means and grades of the corrected response.
void QualityMeans(const ResponseTable &raw, ResponseTable &corrected, ScanMeasures &measures);

// Dips: entries that lie below their neighbours.
void RawDips(ResponseTable &raw);
void CorDips(ResponseTable &corrected);

} // namespace k274
