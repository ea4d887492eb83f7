// The 1200-dpi passes written as plain loops; see rgb.h.
#pragma once

#include "src/capture/hires.h"

namespace k274::reference {

void HrRealign(HrMode mode, ColourView lines);
void HrGain(HrMode mode, const RgbGains &gains, ColourView lines);
void HrTurn(HrMode mode, ConstColourView lines, ColourView turned);
void HrSplit(ConstColourView turned, ColourView sliFr, ColourView sliBk);

} // namespace k274::reference
