// Response profiles of the infrared pass.
#pragma once

#include "src/state/scan_measures.h"

namespace k274 {

/// Row 3 of both responses.
void IrResp(ConstGreyView irr, ConstGreyView irc, ResponseTable &raw, ResponseTable &corrected);

} // namespace k274
