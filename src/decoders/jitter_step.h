// The jitter test of the last scan, and the series of its scores.
#pragma once

#include <cstdint>

namespace k274 {

/// Measures the last scan and draws into its back image. Any thread.
/// @return the largest of the last five values above the value itself, 16 bits each; 0 when there is
///         nothing to measure
int32_t JitterTest();

/// Starts the series anew. Any thread.
void ResetJitterSeries();

} // namespace k274
