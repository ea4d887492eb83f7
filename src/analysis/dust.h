// Dust on the sensor's glass, seen where no card is.
#pragma once

#include "src/state/scan_measures.h"

namespace k274 {

/// Counts the sensor rows that show dust beside the card, by channel.
void DustCheck(ConstColourView rgbr, ConstGreyView irr, ScanMeasures &measures);

} // namespace k274
