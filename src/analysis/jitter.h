// The jitter test: uneven transport of a card shows as colour fringes at the edges of its back image. A band
// of the image is measured, scored and charted in the image itself; five scores of one test card make a
// series.
#pragma once

#include "include/k274.h"
#include "src/common/view.h"
#include "src/state/barcode_record.h"

#include <array>
#include <cstdint>
#include <optional>

namespace k274 {

/// Length of the text "Jitter Test Card". A read of any other length ends the series.
constexpr int kJitterTextLength = 16;
bool IsJitterCard(const BarcodeRecord &read);

/// Where to measure in the back image and where to draw the chart. Rows may lie outside the image.
struct JitterBand {
    int x0, x1;   ///< columns; ten more on either side are measured, too
    int y0, y1;   ///< rows, the last one excluded
    int chartRow; ///< of the chart's base line
    int divisor;  ///< this part of a column's rows may show more fringe than its level says
};
/// Nothing when the barcode's place is unknown, or leaves no rows.
std::optional<JitterBand> ChooseJitterBand(const BarcodeRecord &read);

/// Fringe level of every column of the back image, over three columns; 0 to 255.
using FringeLevels = std::array<int32_t, K274_NAT_WIDTH>;
FringeLevels MeasureFringes(ConstColourView natBk, const JitterBand &band);

/// The verdict on a band: below 50 good, from 100 on bad.
int32_t JitterScore(const FringeLevels &levels, const JitterBand &band);

} // namespace k274
