// Tells a white card by its brightness.
#pragma once

#include "src/state/scan_measures.h"

namespace k274 {

/// Sets the card's class and clears what an earlier card left; an ordinary card also clears its code.
bool WhiteTest(ConstColourView rgbr, ScanMeasures &measures);

} // namespace k274
