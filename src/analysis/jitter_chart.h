// What the jitter test draws into the back image. Whatever lies outside the image is left out.
#pragma once

#include "src/analysis/jitter.h"

namespace k274 {

// Columns that are charted and scored.
constexpr int kChartMargin = 10;
constexpr int FirstChartColumn(const JitterBand &band) { return band.x0 - kChartMargin; }
constexpr int EndChartColumn(const JitterBand &band) { return band.x1 + kChartMargin; }

/// The frame, and one bar a column.
void DrawJitterChart(const JitterBand &band, const FringeLevels &levels, ColourView natBk);

/// The verdicts below it: on the value and, wider, on the series, which is incomplete while `most` is -1.
void DrawJitterBoxes(const JitterBand &band, int32_t value, int32_t most, ColourView natBk);

/// Tells in the image's corner whether a barcode was read.
void DrawBarcodeBox(bool read, ColourView natBk);

} // namespace k274
