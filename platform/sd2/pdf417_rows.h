// Finds the rows of a located PDF417 symbol. The rows' codewords come from three clusters in turn, and a
// codeword's cluster shows in its bar widths; so the clusters down the symbol give the rows' height, number
// and order, and from side to side the tilt that start and stop pattern could not show.
#pragma once

#include "platform/sd2/pdf417_locator.h"

namespace sd2 {

struct RowLayout {
    int rows = 0;
    double first = 0; // where row 0 begins, modules along `down` from the area's origin
    double pitch = 0; // modules per row; negative when the rows are numbered against `down`
};

/// Straightens the area's axes, and extends it, as the rows show.
/// @param sharpness  see Sharpen; blurred symbols show more rows when it is high, noisy ones when it is low
/// @return false when the codewords are not clear enough
bool FindRows(const GreyImage &image, SymbolArea &area, double sharpness, RowLayout *layout);

} // namespace sd2
