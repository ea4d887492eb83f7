// Stripes of the infrared images, taken away.
#pragma once

#include "src/common/view.h"

namespace k274 {

/// Replaces every second column, of those that are darker on the whole, by the mean of its neighbours.
void IrDestripe(GreyView image);

} // namespace k274
